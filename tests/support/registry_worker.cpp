// A process that works on the registry until it is done or killed.
//
//   registry_worker write KEY COUNT      writes the numbers below COUNT as values of their own name
//                                        and prints each one when its call has returned
//   registry_worker read KEY COUNT       reads the values back; the number found is printed
//   registry_worker count KEY ROUNDS     replaces and removes a value of its own ROUNDS times
#include <kxcore7/kxcore7.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "support/scratch_registry.h"

namespace {

std::u16string Wide(const std::string& text) {
    return {text.begin(), text.end()};
}

KXResult Write(const std::u16string& key, const std::u16string& name, std::uint32_t number) {
    return KXRegistrySetValue(KX_HKEY_USER, key.c_str(), name.c_str(), KX_REG_DWORD, &number,
                              sizeof number);
}

bool Holds(const std::u16string& key, std::uint32_t number) {
    std::uint32_t type = 0;
    std::uint32_t read = 0;
    std::uint32_t bytes = sizeof read;
    const KXResult result = KXRegistryGetValue(
        KX_HKEY_USER, key.c_str(), Wide(std::to_string(number)).c_str(), &type, &read, &bytes);
    return result == 0 && type == KX_REG_DWORD && read == number;
}

int WriteAll(const std::u16string& key, std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; ++i) {
        if (const KXResult result = Write(key, Wide(std::to_string(i)), i); result != 0) {
            std::fprintf(stderr, "write %u: 0x%08X\n", i, static_cast<unsigned>(result));
            return 1;
        }
        std::printf("%u\n", i);
        std::fflush(stdout);
    }
    return 0;
}

int ReadAll(const std::u16string& key, std::uint32_t count) {
    std::uint32_t found = 0;
    for (std::uint32_t i = 0; i < count; ++i) found += Holds(key, i) ? 1 : 0;
    std::printf("%u\n", found);
    return 0;
}

int ReplaceAndRemove(const std::u16string& key, std::uint32_t rounds) {
    const std::u16string name = u"p" + Wide(std::to_string(KXThreadGetID()));
    for (std::uint32_t i = 0; i < rounds; ++i) {
        if (Write(key, name, i) != 0 || Write(key, name, i + 1) != 0) return 1;
        if (KXRegistryDeleteValue(KX_HKEY_USER, key.c_str(), name.c_str()) != 0) return 2;
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    kx::test::JoinScratchRegistry();
    if (argc != 4) return 64;
    const std::string command = argv[1];
    const std::u16string key = Wide(argv[2]);
    const auto count = static_cast<std::uint32_t>(std::strtoul(argv[3], nullptr, 10));
    if (command == "write") return WriteAll(key, count);
    if (command == "read") return ReadAll(key, count);
    if (command == "count") return ReplaceAndRemove(key, count);
    return 64;
}
