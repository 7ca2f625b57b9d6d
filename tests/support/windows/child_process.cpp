#include "support/child_process.h"

#include <windows.h>

#include <stdexcept>

namespace kx::test {
namespace {

HANDLE Handle(std::intptr_t handle) {
    return reinterpret_cast<HANDLE>(handle);
}

// No word of the tests has a quotation mark or ends in a backslash.
std::string CommandLine(const std::string& program, const std::vector<std::string>& arguments) {
    std::string line = '"' + program + '"';
    for (const std::string& argument : arguments) line += " \"" + argument + '"';
    return line;
}

}  // namespace

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& arguments) {
    HANDLE output = nullptr;
    HANDLE childsEnd = nullptr;
    if (CreatePipe(&output, &childsEnd, nullptr, 0) == 0) throw std::runtime_error("no pipe");
    m_output = reinterpret_cast<std::intptr_t>(output);
    SetHandleInformation(childsEnd, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = childsEnd;
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process{};
    std::string line = CommandLine(program, arguments);
    const BOOL started = CreateProcessA(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0,
                                        nullptr, nullptr, &startup, &process);
    CloseHandle(childsEnd);
    if (started == 0) throw std::runtime_error("can't start " + program);
    CloseHandle(process.hThread);
    m_process = reinterpret_cast<std::intptr_t>(process.hProcess);
}

ChildProcess::~ChildProcess() {
    if (m_process != -1) {
        Kill();
        Wait();
    }
    if (m_output != -1) CloseHandle(Handle(m_output));
}

std::string ChildProcess::ReadLine() {
    std::string line;
    DWORD count = 0;
    for (char byte = 0; ReadFile(Handle(m_output), &byte, 1, &count, nullptr) != 0 && count == 1;) {
        if (byte == '\n') break;
        line += byte;
    }
    if (line.ends_with('\r')) line.pop_back();
    return line;
}

void ChildProcess::Kill() {
    TerminateProcess(Handle(m_process), kKilled);
}

int ChildProcess::Wait() {
    WaitForSingleObject(Handle(m_process), INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(Handle(m_process), &code);
    CloseHandle(Handle(m_process));
    m_process = -1;
    return static_cast<int>(code);
}

}  // namespace kx::test
