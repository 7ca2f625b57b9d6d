// Expansion counts what it would write, whatever room it has.
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "fuzz/fuzz.h"
#include "platform/environment.h"

using namespace kx::test;
using kx::platform::ExpandEnvironment;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const int set = setenv("A", "a value", 1) + setenv("B", "", 1);
    Require(set == 0);
    const std::u16string text(data, data + size);
    const std::size_t needed = ExpandEnvironment(text.c_str(), nullptr, 0);
    std::vector<char16_t> exact(needed);
    Require(ExpandEnvironment(text.c_str(), exact.data(), needed) == needed);
    Require(needed != 0 && exact.back() == 0);
    std::vector<char16_t> less(needed / 2);
    Require(ExpandEnvironment(text.c_str(), less.data(), less.size()) == needed);
    Require(std::equal(less.begin(), less.end(), exact.begin()));
    return 0;
}
