// Alerts that reach their real ends: a terminal, the system log, the standard error.
#include <fcntl.h>
#include <kxcore7/alert.h>
#include <pty.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <string>

#include "support/results.h"

namespace {

constexpr char kPrompt[] = "(a)bort, (r)etry or (i)gnore? ";

// A child of the test on a pseudo-terminal of its own, which is its controlling terminal.
class ChildOnATerminal final {
  public:
    // The child runs the call and exits with 0 if that returns.
    template <typename Call>
    explicit ChildOnATerminal(Call&& call) {
        m_child = forkpty(&m_terminal, nullptr, nullptr, nullptr);
        if (m_child == 0) {
            call();
            _exit(0);
        }
    }
    ~ChildOnATerminal() {
        close(m_terminal);
        if (m_child > 0) Wait();
    }
    ChildOnATerminal(const ChildOnATerminal&) = delete;
    ChildOnATerminal& operator=(const ChildOnATerminal&) = delete;

    // Waits for the prompt; what the screen shows with it.
    std::string ReadPrompt() {
        const std::string shown = ReadUpTo(kPrompt);
        EXPECT_TRUE(shown.ends_with(kPrompt)) << shown;
        return shown;
    }
    // What the screen shows up to and with the text.
    std::string ReadUpTo(const std::string& text) {
        std::string shown;
        for (char byte = 0; !shown.ends_with(text) && read(m_terminal, &byte, 1) == 1;) {
            shown += byte;
        }
        return shown;
    }
    void Type(const std::string& text) {
        EXPECT_EQ(static_cast<ssize_t>(text.size()), write(m_terminal, text.data(), text.size()));
    }
    int Wait() {
        int status = 0;
        while (waitpid(m_child, &status, 0) < 0 && errno == EINTR) {
        }
        m_child = -1;
        return status;
    }

  private:
    int m_terminal = -1;
    pid_t m_child = -1;
};

void Ask() {
    KXErrorAlert(KX_ALERT_DIALOG, u"Gr\u00FC\u00DFe", u"Tank %d is leaking", 3);
}

}  // namespace

TEST(Alert, QuestionOnATerminalShowsItsTextAndTakesIgnore) {
    ChildOnATerminal child(Ask);
    const std::string shown = child.ReadPrompt();
    EXPECT_NE(std::string::npos, shown.find("Gr\u00FC\u00DFe [Process ID "));
    EXPECT_NE(std::string::npos, shown.find("Tank 3 is leaking"));
    EXPECT_NE(std::string::npos, shown.find("Press retry to debug the application."));
    child.Type("i\n");
    EXPECT_EQ(0, child.Wait());
}

TEST(Alert, QuestionOnATerminalIsAskedAgainUntilItIsAnswered) {
    ChildOnATerminal child(Ask);
    child.ReadPrompt();
    child.Type("what?\n");
    child.ReadPrompt();
    child.Type("\n");
    child.ReadPrompt();
    child.Type("Ignore\n");
    EXPECT_EQ(0, child.Wait());
}

TEST(Alert, AbortOnATerminalEndsTheProcess) {
    for (const char* const answer : {"a\n", "Abort\n"}) {
        ChildOnATerminal child(Ask);
        child.ReadPrompt();
        child.Type(answer);
        const int status = child.Wait();
        ASSERT_TRUE(WIFSIGNALED(status));
        EXPECT_EQ(SIGABRT, WTERMSIG(status));
    }
}

TEST(Alert, SignalsDoNotAnswerAQuestion) {
    ChildOnATerminal child([] {
        struct sigaction action {};
        action.sa_handler = [](int) {};
        sigaction(SIGALRM, &action, nullptr);
        const itimerval often{{0, 5'000}, {0, 5'000}};
        setitimer(ITIMER_REAL, &often, nullptr);
        Ask();
    });
    child.ReadPrompt();
    usleep(50'000);
    child.Type("a\n");
    const int status = child.Wait();
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(SIGABRT, WTERMSIG(status));
}

TEST(Alert, RetryOnATerminalBreaksIntoTheDebugger) {
    for (const char* const answer : {"r\n", "Retry\n"}) {
        ChildOnATerminal child(Ask);
        child.ReadPrompt();
        child.Type(answer);
        const int status = child.Wait();
        ASSERT_TRUE(WIFSIGNALED(status));
        EXPECT_EQ(SIGTRAP, WTERMSIG(status));
    }
}

TEST(Alert, EndOfInputOnATerminalIsIgnore) {
    ChildOnATerminal child(Ask);
    child.ReadPrompt();
    child.Type("\x04");
    EXPECT_EQ(0, child.Wait());
}

TEST(Alert, WithoutATerminalTheAnswerIsIgnore) {
    const pid_t child = fork();
    if (child == 0) {
        setsid();  // leaves the controlling terminal, if there is one
        Ask();
        _exit(0);
    }
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
}

// A process in the background that reads from its terminal would be stopped.
TEST(Alert, InTheBackgroundOfATerminalTheAnswerIsIgnore) {
    ChildOnATerminal leader([] {
        const pid_t background = fork();
        if (background == 0) {
            setpgid(0, 0);
            Ask();
            _exit(0);
        }
        setpgid(background, background);
        int status = -1;
        waitpid(background, &status, WUNTRACED);
        _exit(status == 0 ? 0 : 1);
    });
    EXPECT_EQ(0, leader.Wait());
}

namespace {

bool EnterUserNamespace() {
    const std::string user = std::to_string(geteuid());
    const std::string group = std::to_string(getegid());
    if (unshare(CLONE_NEWUSER) != 0) return false;
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
    std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
    return geteuid() == 0;
}

// Gives the process a /dev of its own, empty, so that it can own the log's socket whatever runs on
// the machine. A mount namespace needs a user namespace of its own where the user isn't root.
bool EnterEmptyDev() {
    if (geteuid() != 0 && !EnterUserNamespace()) return false;
    if (unshare(CLONE_NEWNS) != 0) return false;
    // The mount is not to reach the machine. Under a changed root "/" is no mount, but /dev is.
    const bool isPrivate = mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 ||
                           mount("none", "/dev", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    return isPrivate && mount("none", "/dev", "tmpfs", 0, nullptr) == 0;
}

int OpenLogSocket() {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, "/dev/log");
    const int socketEnd = socket(AF_UNIX, SOCK_DGRAM, 0);
    if (bind(socketEnd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) return -1;
    return socketEnd;
}

}  // namespace

TEST(Alert, EventLogReachesTheSystemLog) {
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    const pid_t child = fork();
    if (child == 0) {
        // Where a container refuses namespaces it usually has no log either: then its place is
        // free.
        EnterEmptyDev();
        const int log = OpenLogSocket();
        if (log < 0) _exit(2);
        KXErrorAlert(KX_ALERT_EVENTLOG, u"Tank", u"%hs is \u00FCber %d", "level", 9);
        KXErrorAlert(KX_ALERT_EVENTLOG, nullptr, u"100%% untitled");
        unlink("/dev/log");
        for (int i = 0; i < 2; ++i) {
            char message[1024];
            const ssize_t size = recv(log, message, sizeof message, MSG_DONTWAIT);
            if (size < 0) _exit(3);
            message[size] = '\n';
            if (write(ends[1], message, static_cast<std::size_t>(size) + 1) < 0) _exit(4);
        }
        _exit(0);
    }
    close(ends[1]);
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    ASSERT_EQ(0, status) << "2: no place for a log of the test's own, 3: nothing was logged";
    char logged[4096] = "";
    ASSERT_GT(read(ends[0], logged, sizeof logged - 1), 0);
    close(ends[0]);
    EXPECT_NE(nullptr, std::strstr(logged, "Corvanite Services: Tank: level is \u00FCber 9"));
    EXPECT_NE(nullptr, std::strstr(logged, "Corvanite Services: 100% untitled"));
    EXPECT_EQ('<', logged[0]);
    EXPECT_NE(nullptr, std::strstr(logged, "<14>")) << "facility user, priority information";
}

TEST(Alert, TraceGoesToTheStandardError) {
    ::testing::internal::CaptureStderr();
    KXTrace(u"caf\u00E9 %d\n", 7);
    const std::string output = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ('[', output[0]);
    EXPECT_NE(std::string::npos, output.find("]caf\u00E9 7\n"));
}

TEST(AlertDeathTest, AssertIsTracedBeforeItBreaks) {
    EXPECT_EXIT(KXAssert("level < 9", "tank.cpp", 12), ::testing::KilledBySignal(SIGTRAP),
                "KX_ASSERT\\(level < 9\\)\n tank.cpp:12");
}

TEST(Alert, TraceOfTheLongestTextArrivesWhole) {
    ::testing::internal::CaptureStderr();
    KXTrace(u"%s", std::u16string(511, u'\u4E2D').c_str());
    const std::string output = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(3u * 511, output.size() - (output.find(']') + 1));
}
