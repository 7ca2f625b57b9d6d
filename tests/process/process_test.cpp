#include <kxcore7/process.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/current_dir.h"
#include "support/environment.h"
#include "support/started_child.h"
#include "support/waiting_thread.h"
#include "support/wine.h"

using kx::test::InheritableFile;
using kx::test::InScratchDirectory;
using kx::test::StartedChild;
using kx::test::Store;
using kx::test::Stored;
namespace fs = std::filesystem;

namespace {

const fs::path kChild = KXTEST_CHILD;

// The start of a program that is to fail.
KXResult Refusal(const char16_t* program, const char16_t* directory = nullptr) {
    KXProcessHandle process = 0;
    KXProcessStdHandles ends{KX_INVALID_HANDLE, KX_INVALID_HANDLE, KX_INVALID_HANDLE};
    const KXResult result =
        KXProcessCreate(program, nullptr, directory, nullptr, 0, ends, &process);
    EXPECT_EQ(KX_INVALID_HANDLE, process);
    return result;
}

// What a program ends with that is started without anything.
std::uint32_t ExitCodeOf(const char16_t* program) {
    return StartedChild(program, nullptr).Join();
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t start = 0; start < text.size();) {
        std::size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

// How the child is told its arguments, behind the name that it is called by.
std::vector<std::string> Arguments(const std::u16string& arguments) {
    StartedChild child(kChild, (u"arguments " + arguments).c_str());
    child.CloseInput();
    std::vector<std::string> lines = Lines(child.Output());
    EXPECT_EQ(0u, child.Join());
    EXPECT_FALSE(lines.empty());
    if (!lines.empty()) lines.erase(lines.begin());
    return lines;
}

using Strings = std::vector<std::string>;

}  // namespace

// --- The program -------------------------------------------------------------------------------

TEST(ProcessCreate, AddsTheSuffixWhereThereIsNone) {
    const InScratchDirectory here;
    fs::copy_file(kChild, here / "calc.exe");
    EXPECT_EQ(7u, ExitCodeOf(u"calc"));
    EXPECT_EQ(7u, ExitCodeOf(u"calc.exe")) << "and leaves one alone";
}

TEST(ProcessCreate, LeavesAPathOfThreeCharactersAsItIs) {
    const InScratchDirectory here;
    for (const char* name : {"cmd.exe", "ab.exe", "a.exe"}) fs::copy_file(kChild, here / name);
    EXPECT_RESULT(0x80070002, Refusal(u"cmd"));
    EXPECT_EQ(7u, ExitCodeOf(u"ab"));
    EXPECT_EQ(7u, ExitCodeOf(u"a"));
    fs::copy_file(kChild, here / "run");
    EXPECT_EQ(7u, ExitCodeOf(u"run"));
}

TEST(ProcessCreate, KnowsTheSuffixInLowerCaseAndAtTheVeryEndAlone) {
    const InScratchDirectory here;
    for (const char* name : {"app.exe.old.exe", "FOO.EXE.exe", ".exe"})
        fs::copy_file(kChild, here / name);
    EXPECT_EQ(7u, ExitCodeOf(u"app.exe.old"));
    EXPECT_EQ(7u, ExitCodeOf(u"FOO.EXE"));
    EXPECT_EQ(7u, ExitCodeOf(u".exe"));
    EXPECT_EQ(7u, ExitCodeOf(u"")) << "an empty path is none of three characters";
}

TEST(ProcessCreate, OfAMissingProgramIsNotFound) {
    const InScratchDirectory here;
    EXPECT_RESULT(0x80070002, Refusal(u"nothing"));
    EXPECT_RESULT(0x80070002, Refusal(u"nowhere/nothing"));
}

TEST(ProcessCreate, OfAFolderIsRefused) {
    SKIP_UNDER_WINE("a folder is a handle that is not valid");
    const InScratchDirectory here;
    fs::create_directory(here / "folder.exe");
    EXPECT_RESULT(0x80070005, Refusal(u"folder.exe"));
}

TEST(ProcessCreate, OfWhatIsNoProgramFails) {
    const InScratchDirectory here;
    Store(here / "text.exe", "neither one kind of program nor another");
    fs::permissions(here / "text.exe", fs::perms::owner_all);
    EXPECT_RESULT(0x80004005, Refusal(u"text.exe"));
}

// --- Its arguments -----------------------------------------------------------------------------

TEST(ProcessCreate, PassesArgumentsAsTheyStand) {
    EXPECT_EQ(Strings({"[one]", "[two]"}), Arguments(u"one two"));
    EXPECT_EQ(Strings({"[a b]", "[c]"}), Arguments(u"\"a b\" c"));
    EXPECT_EQ(Strings({"[say \"hi\"]"}), Arguments(u"\"say \\\"hi\\\"\""));
    EXPECT_EQ(Strings({"[back\\slash\\]"}), Arguments(u"back\\slash\\"));
    EXPECT_EQ(Strings({"[]", "[x]"}), Arguments(u"\"\" x"));
}

TEST(ProcessCreate, WithoutArgumentsCallsTheProgramAlone) {
    EXPECT_EQ(7u, StartedChild(kChild, nullptr).Join());
    EXPECT_EQ(7u, StartedChild(kChild, u"").Join()) << "a blank alone is no argument";
}

TEST(ProcessCreate, IgnoresItsReservedArgument) {
    KXProcessHandle process = 0;
    ASSERT_RESULT(KX_S_OK, KXProcessCreate(kChild.u16string().c_str(), nullptr, nullptr, nullptr,
                                           0xFFFFFFFF, nullptr, &process));
    std::uint32_t exitCode = 0;
    EXPECT_RESULT(KX_S_OK, KXProcessJoin(process, &exitCode));
    EXPECT_EQ(7u, exitCode);
}

// --- Where it begins -----------------------------------------------------------------------------

TEST(ProcessCreate, BeginsInTheDirectoryThatIsGiven) {
    const kx::test::ScratchDir scratch;
    const std::u16string there = scratch.Path().u16string();
    StartedChild child(kChild, u"directory", {.directory = there.c_str()});
    child.CloseInput();
    const std::string line = child.ReadLine();
    EXPECT_TRUE(fs::equivalent(scratch.Path(), line.substr(0, line.find('\r')))) << line;
}

TEST(ProcessCreate, BeginsWhereItsParentIs) {
    const InScratchDirectory here;
    StartedChild child(kChild, u"directory");
    child.CloseInput();
    const std::string line = child.ReadLine();
    EXPECT_TRUE(fs::equivalent(fs::current_path(), line.substr(0, line.find('\r')))) << line;
}

TEST(ProcessCreate, FindsARelativeProgramFromWhereItsParentIs) {
    const InScratchDirectory here;
    fs::copy_file(kChild, here / "near.exe");
    fs::create_directory(here / "there");
    StartedChild child(u"near.exe", nullptr, {.directory = u"there"});
    ASSERT_RESULT(KX_S_OK, child.Result());
    EXPECT_EQ(7u, child.Join());
}

TEST(ProcessCreate, InAMissingDirectoryFails) {
    const InScratchDirectory here;
    Store(here / "file", "");
    EXPECT_RESULT(0x80004005, Refusal(kChild.u16string().c_str(), u"nowhere"));
    EXPECT_RESULT(0x80004005, Refusal(kChild.u16string().c_str(), u"file"));
}

// --- Its environment -----------------------------------------------------------------------------

TEST(ProcessCreate, WithoutAnEnvironmentInherits) {
    const kx::test::ScopedEnvironment variable("KXTEST_INHERITED", "as it is");
    StartedChild child(kChild, u"environment");
    child.CloseInput();
    EXPECT_NE(std::string::npos, child.Output().find("KXTEST_INHERITED=as it is"));
}

TEST(ProcessCreate, SortsTheEnvironmentWithoutRegardToCase) {
    const char16_t* const environment[] = {u"gamma=3", u"BETA=2", u"alpha=1", u"Delta=4", nullptr};
    StartedChild child(kChild, u"environment", {.environment = environment});
    child.CloseInput();
    Strings lines = Lines(child.Output());
    // A system may add what its programs can't do without.
    const Strings sorted{"alpha=1", "BETA=2", "Delta=4", "gamma=3"};
    std::erase_if(lines, [&sorted](const std::string& line) {
        return std::find(sorted.begin(), sorted.end(), line) == sorted.end();
    });
    EXPECT_EQ(sorted, lines);
}

TEST(ProcessCreate, WithAnEmptyEnvironmentPassesNothingOn) {
    const kx::test::ScopedEnvironment variable("KXTEST_INHERITED", "as it is");
    const char16_t* const environment[] = {nullptr};
    StartedChild child(kChild, u"environment", {.environment = environment});
    child.CloseInput();
    EXPECT_EQ(std::string::npos, child.Output().find("KXTEST_INHERITED"));
    EXPECT_EQ(0u, child.Join());
}

// --- Its standard handles ------------------------------------------------------------------------

TEST(ProcessPipes, CarryInputOutputAndError) {
    StartedChild child(kChild, u"both");
    ASSERT_RESULT(KX_S_OK, child.Result());
    child.Write("there and back\n");
    child.CloseInput();
    EXPECT_EQ("there and back\n", child.Output());
    EXPECT_EQ("there and back\n", child.Error());
    EXPECT_EQ(0u, child.Join());
}

TEST(ProcessPipes, EndWithTheChild) {
    StartedChild child(kChild, u"wait");
    std::atomic<bool> ended{false};
    std::thread reader([&] {
        EXPECT_EQ("", child.Output());
        EXPECT_EQ("", child.Error());
        ended = true;
    });
    EXPECT_FALSE(ended) << "as long as the child has its input";
    child.CloseInput();
    reader.join();
    EXPECT_EQ(0u, child.Join());
}

TEST(ProcessPipes, HandOverMoreThanAPipeHoldsInBothDirectionsAtOnce) {
    std::string sent(3 << 20, '\0');
    for (std::size_t i = 0; i < sent.size(); ++i) sent[i] = static_cast<char>(i * 7 + i / 4096);
    StartedChild child(kChild, u"both");
    std::string output;
    std::string error;
    std::thread first([&] { output = child.Output(); });
    std::thread second([&] { error = child.Error(); });
    child.Write(sent);
    child.CloseInput();
    first.join();
    second.join();
    EXPECT_TRUE(sent == output);
    EXPECT_TRUE(sent == error);
    EXPECT_EQ(0u, child.Join());
}

TEST(ProcessPipes, StandBesideHandlesThatAreGiven) {
    const kx::test::ScratchDir scratch;
    const KXFileHandle file = InheritableFile(scratch / "output");
    KXProcessStdHandles ends{KX_INVALID_HANDLE, file, KX_INVALID_HANDLE};
    KXProcessHandle process = 0;
    ASSERT_RESULT(KX_S_OK, KXProcessCreate(kChild.u16string().c_str(), u"both", nullptr, nullptr, 0,
                                           ends, &process));
    EXPECT_EQ(file, ends[1]) << "it stays the caller's";
    EXPECT_NE(KX_INVALID_HANDLE, ends[0]);
    EXPECT_NE(KX_INVALID_HANDLE, ends[2]);
    std::uint32_t count = 0;
    EXPECT_RESULT(KX_S_OK, KXFileWrite(ends[0], "mixed", 5, &count));
    KXFileClose(ends[0]);
    char error[8] = {};
    EXPECT_RESULT(KX_S_OK, KXFileRead(ends[2], error, sizeof error, &count));
    EXPECT_EQ("mixed", std::string(error));
    KXFileClose(ends[2]);
    EXPECT_RESULT(KX_S_OK, KXProcessJoin(process, nullptr));
    EXPECT_RESULT(KX_S_OK, KXFileClose(file));
    EXPECT_EQ("mixed", Stored(scratch / "output"));
}

// A child of another thread that had an end of this one's would keep the pipe open.
TEST(ProcessPipes, BelongToOneChildWhoeverElseIsStarted) {
    StartedChild longest(kChild, u"wait");
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([] {
            std::vector<std::unique_ptr<StartedChild>> kept;
            for (int n = 0; n < 5; ++n) {
                StartedChild child(kChild, u"copy");
                kept.push_back(std::make_unique<StartedChild>(kChild, u"wait"));
                child.Write("x");
                child.CloseInput();
                EXPECT_EQ("x", child.Output());
                EXPECT_EQ(0u, child.Join());
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}

// --- Exit codes ----------------------------------------------------------------------------------

TEST(ProcessJoin, GivesTheExitCode) {
    EXPECT_EQ(0u, StartedChild(kChild, u"exit 0").Join());
    EXPECT_EQ(1u, StartedChild(kChild, u"exit 1").Join());
    EXPECT_EQ(255u, StartedChild(kChild, u"exit 255").Join());
}

TEST(ProcessJoin, NeedsNoPlaceForTheExitCode) {
    StartedChild child(kChild, nullptr);
    EXPECT_RESULT(KX_S_OK, KXProcessJoin(child.Release(), nullptr));
}

TEST(ProcessJoin, WaitsForTheEnd) {
    StartedChild child(kChild, u"wait");
    kx::test::WaitingThread joiner([handle = child.Release()] {
        std::uint32_t exitCode = 1;
        EXPECT_RESULT(KX_S_OK, KXProcessJoin(handle, &exitCode));
        EXPECT_EQ(0u, exitCode);
    });
    joiner.WaitUntilAsleep();
    child.CloseInput();
    joiner.Join();
}

TEST(ProcessJoin, EndsTheHandle) {
    StartedChild child(kChild, nullptr);
    const KXProcessHandle handle = child.Handle();
    child.Join();
    std::uint32_t exitCode = 77;
    EXPECT_RESULT(0x80070006, KXProcessJoin(handle, &exitCode));
    EXPECT_RESULT(0x80070006, KXProcessGetExitCode(handle, &exitCode));
    EXPECT_RESULT(0x80070006, KXProcessDetach(handle));
    EXPECT_EQ(77u, exitCode);
}

TEST(ProcessJoin, OfWhatIsNoHandleIsAnInvalidHandle) {
    std::uint32_t exitCode = 77;
    EXPECT_RESULT(0x80070006, KXProcessJoin(0x7FFFFFF0, &exitCode));
    EXPECT_RESULT(0x80070006, KXProcessGetExitCode(0x7FFFFFF0, &exitCode));
    EXPECT_RESULT(0x80070006, KXProcessDetach(0x7FFFFFF0));
    EXPECT_RESULT(0x80070006, KXProcessDetach(KX_INVALID_HANDLE));
    EXPECT_EQ(77u, exitCode);
}

TEST(ProcessGetExitCode, OfARunningChildFailsAndLeavesIt) {
    StartedChild child(kChild, u"wait");
    std::uint32_t exitCode = 77;
    EXPECT_RESULT(0x80004005, KXProcessGetExitCode(child.Handle(), &exitCode));
    EXPECT_EQ(77u, exitCode);
    EXPECT_EQ(0u, child.Join());
}

TEST(ProcessGetExitCode, OfAnEndedChildGivesItOnce) {
    StartedChild child(kChild, u"exit 9");
    const KXProcessHandle handle = child.Release();
    std::uint32_t exitCode = 77;
    KXResult result = KX_E_FAIL;
    while ((result = KXProcessGetExitCode(handle, &exitCode)) == KX_E_FAIL)
        std::this_thread::yield();
    EXPECT_RESULT(KX_S_OK, result);
    EXPECT_EQ(9u, exitCode);
    EXPECT_RESULT(0x80070006, KXProcessGetExitCode(handle, &exitCode));
}

TEST(ProcessDetach, LetsTheChildRunOn) {
    StartedChild child(kChild, u"copy");
    EXPECT_RESULT(KX_S_OK, KXProcessDetach(child.Release()));
    child.Write("still here");
    child.CloseInput();
    EXPECT_EQ("still here", child.Output());
}

// --- Any child -----------------------------------------------------------------------------------

namespace {

// Children that wait for their input to end, in the order of their handles.
class WaitingChildren final {
  public:
    explicit WaitingChildren(std::size_t count) {
        while (m_children.size() < count) {
            m_children.push_back(std::make_unique<StartedChild>(kChild, u"wait"));
        }
        std::sort(m_children.begin(), m_children.end(),
                  [](const auto& a, const auto& b) { return a->Handle() < b->Handle(); });
    }
    StartedChild& operator[](std::size_t i) { return *m_children[i]; }
    // Lets one end, and returns when it has.
    void End(std::size_t i) {
        m_children[i]->CloseInput();
        kx::test::AwaitEnd(m_children[i]->Handle());
    }
    // Joins whichever child the library takes, and gives its place.
    std::size_t JoinOne() {
        KXProcessHandle which = 0;
        std::uint32_t exitCode = 77;
        EXPECT_RESULT(KX_S_OK, KXProcessJoinChild(&which, &exitCode));
        EXPECT_EQ(0u, exitCode);
        for (std::size_t i = 0; i < m_children.size(); ++i) {
            if (m_children[i]->Handle() != which) continue;
            m_children[i]->Release();
            return i;
        }
        return m_children.size();
    }

  private:
    std::vector<std::unique_ptr<StartedChild>> m_children;
};

}  // namespace

TEST(ProcessJoinChild, WithoutChildrenFailsAtOnce) {
    KXProcessHandle which = 5;
    std::uint32_t exitCode = 77;
    EXPECT_RESULT(0x80004005, KXProcessJoinChild(&which, &exitCode));
    EXPECT_EQ(77u, exitCode);
}

TEST(ProcessJoinChild, KnowsOfNoChildThatWasJoinedOrDetached) {
    StartedChild(kChild, nullptr).Join();
    StartedChild detached(kChild, u"wait");
    EXPECT_RESULT(KX_S_OK, KXProcessDetach(detached.Release()));
    KXProcessHandle which = 5;
    EXPECT_RESULT(0x80004005, KXProcessJoinChild(&which, nullptr));
}

TEST(ProcessJoinChild, WaitsForWhicheverEnds) {
    WaitingChildren children(3);
    std::size_t ended = 99;
    kx::test::WaitingThread joiner([&] { ended = children.JoinOne(); });
    joiner.WaitUntilAsleep();
    children[1].CloseInput();
    joiner.Join();
    EXPECT_EQ(1u, ended);
}

TEST(ProcessJoinChild, TakesTheLowestHandleOfThoseThatHaveEnded) {
    WaitingChildren children(4);
    for (const std::size_t i : {3u, 1u, 2u}) children.End(i);
    EXPECT_EQ(1u, children.JoinOne());
    EXPECT_EQ(2u, children.JoinOne());
    EXPECT_EQ(3u, children.JoinOne());
}

TEST(ProcessJoinChild, WaitsForSixtyFourAndNoMore) {
    WaitingChildren children(65);
    KXProcessHandle which = 5;
    EXPECT_RESULT(0x80004005, KXProcessJoinChild(&which, nullptr));
    EXPECT_RESULT(KX_S_OK, KXProcessDetach(children[0].Release()));
    children[64].CloseInput();
    EXPECT_EQ(64u, children.JoinOne());
}

TEST(ProcessJoinChild, KeepsNewChildrenWaitingUntilOneHasEnded) {
    WaitingChildren children(1);
    kx::test::WaitingThread joiner([&] { EXPECT_EQ(0u, children.JoinOne()); });
    joiner.WaitUntilAsleep();
    std::uint32_t exitCode = 0;
    kx::test::WaitingThread starter([&] { exitCode = StartedChild(kChild, nullptr).Join(); });
    starter.WaitUntilAsleep();
    children[0].CloseInput();
    joiner.Join();
    starter.Join();
    EXPECT_EQ(7u, exitCode);
}

// --- Names ---------------------------------------------------------------------------------------

TEST(ProcessGetName, OfOneselfIsTheProgramsFile) {
    char name[300];
    ASSERT_EQ(1, KXProcessGetName(KXProcessGetID(), name, sizeof name));
    EXPECT_TRUE(std::string(name).starts_with("kxcore7_tests")) << name;
}

TEST(ProcessGetName, IsCutToTheBufferWithATerminatorAtItsEnd) {
    char name[8] = "#######";
    ASSERT_EQ(1, KXProcessGetName(KXProcessGetID(), name, 5));
    EXPECT_EQ(std::string("kxco\0##", 7), std::string(name, 7));
    ASSERT_EQ(1, KXProcessGetName(KXProcessGetID(), name, 1));
    EXPECT_EQ('\0', name[0]);
}

TEST(ProcessGetName, PadsWithZeros) {
    std::string name(300, '#');
    ASSERT_EQ(1, KXProcessGetName(KXProcessGetID(), name.data(), 300));
    EXPECT_EQ(std::string::npos, name.find('#'));
}

TEST(ProcessGetName, OfAMissingProcessIsNothing) {
    char name[8] = "as it";
    EXPECT_EQ(0, KXProcessGetName(0x7FFFFFF0, name, sizeof name));
    EXPECT_EQ(0, KXProcessGetName(0xFFFFFFFF, name, sizeof name));
    EXPECT_EQ("as it", std::string(name));
}
