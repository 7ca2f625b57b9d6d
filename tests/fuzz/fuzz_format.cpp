// No format overruns its output or leaves it without a terminator.
#include <algorithm>

#include "frame/format.h"
#include "fuzz/fuzz.h"

using namespace kx::test;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::u16string format(data + 1, data + size);
    // A conversion takes at most three arguments, and each may be taken for anything: a number, or
    // a text that is good as narrow and as wide.
    if (std::count(format.begin(), format.end(), u'%') > 4) return 0;
    alignas(16) static const char text[] = "text\0\0\0";
    const std::size_t capacity = data[0] + 1u;
    std::u16string out(capacity + 1, u'#');
    kx::core::Format(out.data(), capacity, format.c_str(), text, text, text, text, text, text, text,
                     text, text, text, text, text, text, text, text, text);
    Require(out[capacity] == u'#');
    Require(out.find(u'\0') < capacity);
    return 0;
}
