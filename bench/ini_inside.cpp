#include "ini_inside.h"

#include "registry/ini_file.h"

namespace {

IniFile& FileOf(void* file) {
    return *static_cast<IniFile*>(file);
}

}  // namespace

void* BenchIniOpen(const char16_t* path) noexcept try { return new IniFile(path); } catch (...) {
    return nullptr;
}

void BenchIniClose(void* file) noexcept {
    delete &FileOf(file);
}

void BenchIniLoad(void* file) noexcept {
    FileOf(file).Load();
}

bool BenchIniSave(void* file, const char16_t* path) noexcept {
    return FileOf(file).Save(path) == 0;
}

bool BenchIniGet(void* file, const char16_t* section, const char16_t* name,
                 char16_t* text) noexcept {
    return FileOf(file).GetValue(section, name, text) == 0;
}

std::size_t BenchIniSections(void* file) noexcept {
    return FileOf(file).Image().size();
}
