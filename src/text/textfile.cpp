#include <kxcore7/textfile.h>
#include <unicode/ustdio.h>

#include "platform/textfiles.h"

using namespace kx;

namespace {

UFILE* FileOf(KXTextFileHandle file) {
    return reinterpret_cast<UFILE*>(file);
}

void CutLineEnd(char16_t* line) {
    while (*line != u'\r' && *line != u'\n' && *line != 0) ++line;
    *line = 0;
}

}  // namespace

KXTextFileHandle KXFileOpenUTF16(const char* path, const char* mode) {
    return reinterpret_cast<KXTextFileHandle>(u_fopen(path, mode, nullptr, "UTF-16"));
}

void KXFileCloseUTF16(KXTextFileHandle file) {
    if (file != 0) u_fclose(FileOf(file));
}

char16_t* KXFileGetLineUTF16(char16_t* buffer, int count, KXTextFileHandle file) {
    if (u_fgets(buffer, count, FileOf(file)) == nullptr) return nullptr;
    CutLineEnd(buffer);
    return buffer;
}

int KXFileWriteLineUTF16(const char16_t* line, KXTextFileHandle file) {
    return platform::PutLine(line, FileOf(file));
}
