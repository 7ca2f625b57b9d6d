#include <kxcore7/str.h>

#include <algorithm>
#include <string>

size_t KXStrLenW(const char16_t* str) {
    return std::char_traits<char16_t>::length(str);
}

char16_t* KXStrNCpyW(char16_t* dst, const char16_t* src, size_t count) {
    size_t copied = 0;
    for (; copied < count && src[copied] != 0; ++copied) dst[copied] = src[copied];
    std::fill(dst + copied, dst + count, u'\0');
    return dst;
}
