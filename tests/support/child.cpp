// A program that the tests start by the library, and that says what it finds.
//
//   child arguments ...   how it was called and with what, each in brackets and a line of its own
//   child directory       where it began
//   child environment     its environment, a variable a line, in the order in which it stands there
//   child exit CODE       ends with that code
//   child copy            copies its input to its output
//   child both            the same to its standard error as well
//   child answer          answers each byte with the same, at once
//   child wait            reads its input to the end
//
// Without a word it ends with 7.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "support/text_mode.h"

namespace {

int Copy(bool twice) {
    char buffer[16'384];
    while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, stdin)) {
        std::fwrite(buffer, 1, count, stdout);
        if (twice) std::fwrite(buffer, 1, count, stderr);
    }
    return 0;
}

int Answer() {
    for (int byte = 0; (byte = std::getchar()) != EOF; std::fflush(stdout)) std::putchar(byte);
    return 0;
}

}  // namespace

int main(int argc, char** argv, char** environment) {
    kx::test::LeaveBytesAlone();
    const std::string command = argc > 1 ? argv[1] : "";
    if (command.empty()) return 7;
    if (command == "exit" && argc == 3) return static_cast<int>(std::strtoul(argv[2], nullptr, 0));
    if (command == "copy") return Copy(false);
    if (command == "both") return Copy(true);
    if (command == "answer") return Answer();
    if (command == "wait") {
        while (std::getchar() != EOF) {
        }
    } else if (command == "arguments") {
        std::printf("[%s]\n", argv[0]);
        for (int i = 2; i < argc; ++i) std::printf("[%s]\n", argv[i]);
    } else if (command == "directory") {
        std::printf("%s\n", std::filesystem::current_path().string().c_str());
    } else if (command == "environment") {
        for (; *environment != nullptr; ++environment) std::printf("%s\n", *environment);
    } else {
        return 64;
    }
    return 0;
}
