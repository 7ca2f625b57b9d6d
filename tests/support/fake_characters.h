// A floor whose tables of characters keep a record of who asks. Linked in place of the system's
// characters.cpp.
#ifndef KXCORE7_TESTS_SUPPORT_FAKE_CHARACTERS_H
#define KXCORE7_TESTS_SUPPORT_FAKE_CHARACTERS_H

#include <cstddef>
#include <string>
#include <vector>

namespace kx::test {

struct CharacterCall {
    std::string function;
    int unit = 0;                // of a single character, with the sign that its type has
    const void* text = nullptr;  // of a string
    const void* other = nullptr;
    std::size_t count = 0;
};

struct FakeCharacters {
    std::vector<CharacterCall> calls;
    int answer = 0;  // a class, a comparison, or the character in the other case
};

extern FakeCharacters g_characters;

}  // namespace kx::test

#endif
