#include "support/child_process.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

namespace kx::test {
namespace {

pid_t Process(std::intptr_t process) {
    return static_cast<pid_t>(process);
}
int Output(std::intptr_t output) {
    return static_cast<int>(output);
}

}  // namespace

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& arguments) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    std::vector<char*> words{const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments)
        words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    pid_t process = -1;
    const int error =
        posix_spawn(&process, program.c_str(), &actions, nullptr, words.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    m_output = ends[0];
    if (error == 0) {
        m_process = process;
    } else {
        throw std::runtime_error("can't start " + program);
    }
}

ChildProcess::~ChildProcess() {
    if (m_process > 0) {
        Kill();
        Wait();
    }
    if (m_output >= 0) close(Output(m_output));
}

std::string ChildProcess::ReadLine() {
    std::string line;
    for (char byte = 0; read(Output(m_output), &byte, 1) == 1 && byte != '\n';) line += byte;
    return line;
}

void ChildProcess::Kill() {
    kill(Process(m_process), SIGKILL);
}

int ChildProcess::Wait() {
    int status = 0;
    while (waitpid(Process(m_process), &status, 0) < 0) {
    }
    m_process = -1;
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace kx::test
