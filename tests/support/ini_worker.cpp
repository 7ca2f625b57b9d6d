// A process that works on an INI file, or on the lock of all of them, until it is done or killed.
//
//   ini_worker set PATH SECTION COUNT    sets COUNT values of the section, one after the other
//   ini_worker hold                      takes the lock, prints "held" and sleeps for ever
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "platform/entry.h"
#include "registry/ini_file.h"
#include "support/write_time.h"

namespace {

constexpr std::int64_t kThen = 1'000'000'000;

std::u16string Wide(const std::string& text) {
    return {text.begin(), text.end()};
}

KXSemaphoreHandle OpenLock() {
    KXSemaphoreHandle lock = KX_INVALID_HANDLE;
    KXNamedSemOpen("KXCore_IniFileLock", 1, &lock);
    return lock;
}

// A change is seen by its time in whole seconds, and many are made in one. So time is turned: who
// has written notes, under the lock, that the file is from the very beginning, and then lets it be
// from later. Whoever comes next finds the file newer than what it noted itself.
int Set(const std::filesystem::path& path, const std::u16string& section, int count) {
    IniFile file(path.u16string().c_str());
    const KXSemaphoreHandle lock = OpenLock();
    for (int i = 0; i < count; ++i) {
        const std::u16string name = Wide(std::to_string(i));
        if (file.SetValue(section.c_str(), name.c_str(), u"set", true) != 0) return 1;
        const IniFile::Lock turn(lock);
        kx::test::SetWriteTime(path, 1);
        file.Refresh();
        kx::test::SetWriteTime(path, kThen);
    }
    return KXNamedSemClose(lock);
}

int Hold() {
    const KXSemaphoreHandle lock = OpenLock();
    KXSemaphoreWait(lock);
    std::puts("held");
    std::fflush(stdout);
    return KXSemaphoreWait(lock);
}

}  // namespace

int main(int argc, char** argv) {
    kx::core::LibraryMain(nullptr, kx::core::kProcessAttach);
    const std::string command = argc > 1 ? argv[1] : "";
    if (command == "hold") return Hold();
    if (command == "set" && argc == 5) return Set(argv[2], Wide(argv[3]), std::atoi(argv[4]));
    return 64;
}
