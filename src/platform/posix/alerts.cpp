#include "platform/alerts.h"

#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string_view>

#include "platform/posix/utf8.h"

namespace kx::platform {
namespace {

constexpr std::uint32_t kUserSession = 1;

// Text of an alert in UTF-8, on the stack: an alert has to come through when memory is exhausted.
// No message has more than 511 units; a longer title is cut.
class AlertText final {
  public:
    explicit AlertText(std::u16string_view text)
        : m_length(EncodeUtf8(text, m_bytes, sizeof m_bytes)) {}
    const char* Chars() const { return m_bytes; }
    std::string_view View() const { return {m_bytes, m_length}; }

  private:
    char m_bytes[3 * 512];
    const std::size_t m_length;
};

// Writes all of the text, or as much as the other end takes.
void WriteAll(int file, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(file, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

// The controlling terminal, open for a question.
class Terminal final {
  public:
    Terminal() : m_file(open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY)) {}
    ~Terminal() {
        if (m_file >= 0) close(m_file);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    // A process in the background would be stopped by a read, so nobody can answer it.
    bool CanAsk() const { return m_file >= 0 && tcgetpgrp(m_file) == getpgrp(); }

    void Write(std::string_view text) const { WriteAll(m_file, text); }

    // Reads a line; its first byte, whatever follows, or 0 at the end of input.
    char ReadChoice() const {
        char choice = 0;
        for (char byte = 0;;) {
            const ssize_t count = read(m_file, &byte, 1);
            if (count < 0 && errno == EINTR) continue;
            if (count <= 0) return 0;
            if (choice == 0) choice = byte;
            if (byte == '\n') return choice;
        }
    }

  private:
    const int m_file;
};

std::uint32_t AnswerFromChoice(char choice) {
    switch (choice) {
        case 'a':
        case 'A':
            return kAnswerAbort;
        case 'r':
        case 'R':
            return kAnswerRetry;
        case 'i':
        case 'I':
        case '\0':
            return kAnswerIgnore;
        default:
            return kAnswerNone;
    }
}

}  // namespace

std::uint32_t CurrentSession() {
    return kUserSession;
}

std::optional<std::uint32_t> ConsoleSession() {
    return std::nullopt;
}

bool SessionZeroIsHidden() {
    return false;
}

std::uint32_t AskPerson(std::uint32_t, const char16_t* title, const char16_t* text) {
    const Terminal terminal;
    if (!terminal.CanAsk()) return kAnswerIgnore;
    terminal.Write("\n");
    terminal.Write(AlertText(title).View());
    terminal.Write("\n");
    terminal.Write(AlertText(text).View());
    std::uint32_t answer = kAnswerNone;
    while (answer == kAnswerNone) {
        terminal.Write("\n(a)bort, (r)etry or (i)gnore? ");
        answer = AnswerFromChoice(terminal.ReadChoice());
    }
    return answer;
}

// The source stands in the message: openlog would rename the host program's own entries.
void WriteEventLog(const char16_t* source, const char16_t* title, const char16_t* message) {
    syslog(LOG_USER | LOG_INFO, "%s: %s%s%s", AlertText(source).Chars(),
           AlertText(title != nullptr ? title : u"").Chars(), title != nullptr ? ": " : "",
           AlertText(message).Chars());
}

void WriteDebugOutput(const char16_t* text) {
    WriteAll(STDERR_FILENO, AlertText(text).View());
}

void Breakpoint() {
#if defined(__x86_64__) || defined(__i386__)
    asm volatile("int3");
#else
    raise(SIGTRAP);
#endif
}

}  // namespace kx::platform
