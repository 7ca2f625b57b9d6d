#include "job.h"

#include <kxcore7/counter.h>
#include <kxcore7/result.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "text.h"

namespace fs = std::filesystem;

namespace {

struct Command {
    std::string program;
    std::string arguments;
};

// What follows the program goes to it as it stands.
Command CommandOf(const std::string& line) {
    const bool quoted = line.front() == '"';
    const std::size_t end = quoted ? line.find('"', 1) : line.find_first_of(" \t");
    if (end == std::string::npos) return {line.substr(quoted ? 1 : 0), {}};
    const std::size_t rest = line.find_first_not_of(" \t", end + 1);
    return {line.substr(quoted ? 1 : 0, quoted ? end - 1 : end),
            rest != std::string::npos ? line.substr(rest) : std::string()};
}

// The library searches nothing: a program without a folder is looked for here, where shells do so.
std::string Found(const std::string& program) {
    const char* const path = std::getenv("PATH");
    if (path == nullptr || fs::path(program).has_parent_path()) return program;
    const char separator = fs::path::preferred_separator == '\\' ? ';' : ':';
    std::string folders = path;
    for (std::size_t start = 0; start < folders.size();) {
        const std::size_t end = std::min(folders.find(separator, start), folders.size());
        const fs::path candidate = fs::path(folders.substr(start, end - start)) / program;
        std::error_code ignored;
        if (fs::exists(candidate, ignored) || fs::exists(candidate.string() + ".exe", ignored))
            return candidate.string();
        start = end + 1;
    }
    return program;
}

std::string WordsFor(KXResult result) {
    switch (result) {
        case KX_ERROR_FILE_NOT_FOUND:
            return "not found";
        case KX_E_ACCESSDENIED:
            return "may not be run";
        case KX_E_OUTOFMEMORY:
            return "no memory";
        default:
            break;
    }
    char code[32];
    std::snprintf(code, sizeof code, "error 0x%08X", static_cast<unsigned>(result));
    return code;
}

}  // namespace

void Reader::Start(KXFileHandle end) {
    m_end = end;
    std::uint32_t id = 0;
    if (KXThreadCreate(&Run, this, 0, 0, &m_thread, &id) >= 0) return;
    KXFileClose(m_end);
    throw std::runtime_error("no thread to read from a child");
}

const std::string& Reader::Finish() {
    if (m_thread != KX_INVALID_THREAD) KXThreadJoin(m_thread, nullptr);
    m_thread = KX_INVALID_THREAD;
    return m_text;
}

std::uint32_t Reader::Run(void* self) {
    Reader& reader = *static_cast<Reader*>(self);
    char buffer[16384];
    std::uint32_t count = 0;
    while (KXFileRead(reader.m_end, buffer, sizeof buffer, &count) == KX_S_OK)
        reader.m_text.append(buffer, count);
    KXFileClose(reader.m_end);
    return 0;
}

bool Job::Start() {
    const Command command = CommandOf(m_line);
    const std::u16string program = Widen(Found(command.program));
    const std::u16string arguments = Widen(command.arguments);
    KXProcessStdHandles ends = {KX_INVALID_HANDLE, KX_INVALID_HANDLE, KX_INVALID_HANDLE};
    m_start = m_end = KXPerfGetCountMS();
    const KXResult result =
        KXProcessCreate(program.c_str(), arguments.empty() ? nullptr : arguments.c_str(), nullptr,
                        nullptr, 0, ends, &m_handle);
    if (result < 0) {
        m_outcome = WordsFor(result);
        return false;
    }
    KXFileClose(ends[0]);  // there is no input
    m_output.Start(ends[1]);
    m_error.Start(ends[2]);
    return true;
}

void Job::End(KXResult result, std::uint32_t exitCode) {
    m_end = KXPerfGetCountMS();
    m_handle = KX_INVALID_HANDLE;
    m_outcome = result >= 0 ? std::to_string(exitCode) : "unknown";
}

double Job::Seconds() const {
    return static_cast<double>(m_end - m_start) / 1000;
}
