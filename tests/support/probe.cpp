// Asks the library one thing in a process of its own, under the environment that the test gave it.
//
//   probe open NAME    the result of opening a library
//   probe locale       how many wide units "caf\u00E9" has in UTF-8
//   probe fold         whether the registry finds a name beyond ASCII in another case
//   probe "report here" DIRECTORY   the result of a report on locks, without title and file
//   probe reports FILE NAME REPORTS LOCKS
//                      prints "ready", waits for the file, and reports on so many locks so often,
//                      all under one name
//   probe "threads grow"      by how many bytes threads, started and joined from eight at once,
//   make
//                      the process larger
//   probe "threads at the end"   ends while threads do
//   probe temporary PATH   makes a temporary file, says whether it is there, and ends without
//   closing
//                      it
//
// and about encodings, whose initialisation is for the process:
//
//   probe "encoding before"       what an object without a name converts and flushes with
//   probe "encoding after"        the same, initialised, with the units that it gave
//   probe "encoding around"       what it converts with afterwards, and what a new one does
//   probe "encoding count"        the number of converters
//   probe "encoding count twice"  the same from a second initialisation
#include <kxcore7/kxcore7.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "support/scratch_registry.h"

namespace {

std::u16string Wide(const std::string& ascii) {
    return {ascii.begin(), ascii.end()};
}

KXResult Open(const std::string& name) {
    KXLibraryHandle library = KX_INVALID_HANDLE;
    return KXLibOpen(Wide(name).c_str(), &library);
}

KXResult ReportHere(const char* directory) {
    std::filesystem::current_path(directory);
    return KXDumpLockStats(nullptr, nullptr);
}

int ReportOften(const std::string& file, const char* name, int reports, int locks) {
    for (KXMutexHandle lock = 0; locks > 0; --locks) KXMutexCreate(name, KX_MUTEX_STATS, &lock);
    std::puts("ready");
    std::fflush(stdout);
    while (!std::filesystem::exists(file)) std::this_thread::yield();
    KXResult result = KX_S_OK;
    for (; reports > 0; --reports) result |= KXDumpLockStats(name, Wide(file).c_str());
    return result == KX_S_OK ? 0 : 1;
}

KXResult FindInAnotherCase() {
    KXRegistrySetValue(KX_HKEY_USER, u"\u00C4pfel", u"", KX_REG_SZ, u"x", 4);
    return KXRegistryGetValue(KX_HKEY_USER, u"\u00E4PFEL", u"", nullptr, nullptr, nullptr);
}

void LeaveTemporaryFile(const char* path) {
    KXFileHandle file = KX_INVALID_HANDLE;
    KXFileOpen(std::filesystem::path(path).u16string().c_str(), KX_FILE_WRITE | KX_FILE_TEMPORARY,
               0, &file);
    std::puts(std::filesystem::exists(path) ? "there" : "missing");
}

std::uint32_t DoNothing(void*) {
    return 0;
}

void JoinThreads(int count) {
    for (; count > 0; --count) {
        KXThreadHandle thread = 0;
        std::uint32_t id = 0;
        KXThreadCreate(DoNothing, nullptr, 0, 0, &thread, &id);
        KXThreadJoin(thread, nullptr);
    }
}

// The pages that the process has in memory, in bytes.
long Resident() {
    long all = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> all >> resident;
    return resident * 4096;
}

void PrintGrowth() {
    const auto run = [] {
        std::vector<std::thread> threads;
        for (int i = 0; i < 8; ++i) threads.emplace_back(JoinThreads, 1250);
        for (std::thread& thread : threads) thread.join();
    };
    run();
    const long before = Resident();
    run();
    std::printf("%ld\n", Resident() - before);
}

void EndAmongThreads() {
    for (int i = 0; i < 50; ++i) {
        KXThreadHandle thread = 0;
        std::uint32_t id = 0;
        KXThreadCreate(DoNothing, nullptr, 0, 0, &thread, &id);
        KXThreadDetach(thread);
    }
}

// What converting a letter gives; units becomes the number of wide units.
KXResult ConvertLetter(KXEncHandle handle, int* units) {
    const char* source = "a";
    char16_t wide[8];
    char16_t* target = wide;
    const KXResult result = KXEncToW_Convert(handle, &source, source + 1, &target, wide + 8);
    *units = static_cast<int>(target - wide);
    return result;
}

KXResult FlushNothing(KXEncHandle handle) {
    char16_t wide[8];
    char16_t* target = wide;
    return KXEncToW_Flush(handle, &target, wide + 8);
}

void PrintResults(KXResult first, KXResult second) {
    std::printf("0x%08X 0x%08X\n", static_cast<unsigned>(first), static_cast<unsigned>(second));
}

bool AnswerAboutEncodings(const std::string& question) {
    int units = 0;
    const KXEncHandle early = KXEncToW_Open(nullptr);
    if (question == "encoding before") {
        PrintResults(ConvertLetter(early, &units), FlushNothing(early));
        KXEncToW_Close(early);
        return true;
    }
    const std::uint32_t count = KXEncUtilInit(nullptr);
    const KXEncHandle late = KXEncToW_Open(nullptr);
    if (question == "encoding after") {
        const KXResult result = ConvertLetter(late, &units);
        std::printf("0x%08X %d\n", static_cast<unsigned>(result), units);
    } else if (question == "encoding around") {
        PrintResults(ConvertLetter(early, &units), ConvertLetter(late, &units));
    } else if (question == "encoding count") {
        std::printf("%u\n", static_cast<unsigned>(count));
    } else if (question == "encoding count twice") {
        std::printf("%u\n", static_cast<unsigned>(KXEncUtilInit("")));
    } else {
        return false;
    }
    KXEncToW_Close(late);
    KXEncToW_Close(early);
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    kx::test::JoinScratchRegistry();
    const std::string command = argc > 1 ? argv[1] : "";
    if (command == "open" && argc == 3) {
        std::printf("0x%08X\n", static_cast<unsigned>(Open(argv[2])));
    } else if (command == "locale") {
        std::printf("%zu\n", KXAnsiToUnicode(nullptr, "caf\xC3\xA9", 0));
    } else if (command == "fold") {
        std::printf("0x%08X\n", static_cast<unsigned>(FindInAnotherCase()));
    } else if (command == "report here" && argc == 3) {
        std::printf("0x%08X\n", static_cast<unsigned>(ReportHere(argv[2])));
    } else if (command == "threads grow") {
        PrintGrowth();
    } else if (command == "threads at the end") {
        EndAmongThreads();
    } else if (command == "temporary" && argc == 3) {
        LeaveTemporaryFile(argv[2]);
    } else if (command == "reports" && argc == 6) {
        return ReportOften(argv[2], argv[3], std::stoi(argv[4]), std::stoi(argv[5]));
    } else if (!AnswerAboutEncodings(command)) {
        return 64;
    }
    return 0;
}
