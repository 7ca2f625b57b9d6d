// Runs the command lines of a file, some at a time.
#include <kxcore7/option.h>
#include <kxcore7/process.h>
#include <kxcore7/result.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "job.h"
#include "progress.h"

namespace {

constexpr const char* kUsage =
    "usage: kxpar [--jobs N] [--quiet] [FILE]\n"
    "\n"
    "Runs the command lines of FILE, or of the standard input, a program and its arguments a "
    "line,\n"
    "up to N of them at a time (4; at most 64). What each of them writes is shown when it has "
    "ended,\n"
    "by itself; with --quiet it is not. A table of exit codes and times comes last. Empty lines "
    "and\n"
    "lines that begin with # are passed over.\n"
    "\n"
    "The exit status is 0 if all exit codes are.\n";

struct Task {
    std::size_t atATime = 4;
    bool quiet = false;
    bool help = false;
    std::string file;
};

std::optional<Task> TaskOf(int argc, char** argv) {
    static const KXOptionRecord options[] = {{"jobs", KX_OPTION_ARGUMENT, 'j'},
                                             {"quiet", KX_OPTION_NO_ARGUMENT, 'q'},
                                             {"help", KX_OPTION_NO_ARGUMENT, 'h'},
                                             {nullptr, 0, 0}};
    Task task;
    for (int option = 0; (option = KXGetOption(argc, argv, options, nullptr)) != KX_OPTION_END;) {
        if (option == KX_OPTION_ERROR) return {};
        if (option == 'j') task.atATime = std::strtoul(KXGetOptionArgument, nullptr, 10);
        if (option == 'q') task.quiet = true;
        if (option == 'h') task.help = true;
    }
    if (task.atATime < 1 || task.atATime > KX_MAX_CHILDREN_JOINED) return {};
    if (argc - KXGetOptionIndex > 1) return {};
    if (KXGetOptionIndex < argc) task.file = argv[KXGetOptionIndex];
    return task;
}

using Jobs = std::vector<std::unique_ptr<Job>>;

Jobs JobsIn(std::istream& lines) {
    Jobs jobs;
    for (std::string line; std::getline(lines, line);) {
        line.erase(0, line.find_first_not_of(" \t"));
        line.erase(line.find_last_not_of(" \t\r") + 1);
        if (!line.empty() && line.front() != '#') jobs.push_back(std::make_unique<Job>(line));
    }
    return jobs;
}

Jobs JobsOf(const std::string& file) {
    if (file.empty()) return JobsIn(std::cin);
    std::ifstream lines(file);
    if (!lines) throw std::runtime_error("can't read " + file);
    return JobsIn(lines);
}

class Run final {
  public:
    Run(Jobs& jobs, const Task& task) : m_jobs(jobs), m_task(task), m_progress(jobs.size()) {}

    void ToTheEnd() {
        while (m_next < m_jobs.size() || m_running != 0) {
            while (m_next < m_jobs.size() && m_running < m_task.atATime) StartNext();
            if (m_running != 0) JoinOne();
        }
    }

  private:
    void StartNext() {
        Job& job = *m_jobs[m_next++];
        if (job.Start())
            ++m_running;
        else
            ++m_done;
        m_progress.Update(m_done, m_running);
    }

    // One whose exit code somebody else has taken has ended all the same, and is given up.
    void JoinOne() {
        KXProcessHandle ended = KX_INVALID_HANDLE;
        std::uint32_t exitCode = 0;
        const KXResult result = KXProcessJoinChild(&ended, &exitCode);
        const auto job = std::find_if(m_jobs.begin(), m_jobs.end(), [ended](const auto& one) {
            return ended != KX_INVALID_HANDLE && one->Handle() == ended;
        });
        if (job == m_jobs.end()) throw std::runtime_error("can't wait for the children");
        if (result < 0) KXProcessDetach(ended);
        (*job)->End(result, exitCode);
        --m_running;
        ++m_done;
        Show(**job);
        m_progress.Update(m_done, m_running);
    }

    void Show(Job& job) {
        const std::string& output = job.Output();
        const std::string& error = job.Error();
        if (m_task.quiet || (output.empty() && error.empty())) return;
        m_progress.Interrupt([&] {
            std::printf("--- %s\n", job.Line().c_str());
            std::fwrite(output.data(), 1, output.size(), stdout);
            std::fflush(stdout);
            std::fwrite(error.data(), 1, error.size(), stderr);
        });
    }

    Jobs& m_jobs;
    const Task& m_task;
    std::size_t m_next = 0;
    std::size_t m_running = 0;
    std::size_t m_done = 0;
    Progress m_progress;
};

// Whether all have succeeded.
bool PrintTable(const Jobs& jobs) {
    std::size_t failed = 0;
    std::printf("\n%14s  %9s  command\n", "exit code", "seconds");
    for (const auto& job : jobs) {
        std::printf("%14s  %9.3f  %s\n", job->Outcome().c_str(), job->Seconds(),
                    job->Line().c_str());
        if (!job->HasSucceeded()) ++failed;
    }
    std::printf("%zu of %zu failed\n", failed, jobs.size());
    return failed == 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::optional<Task> task = TaskOf(argc, argv);
    if (!task || task->help) {
        std::fputs(kUsage, task ? stdout : stderr);
        return task ? 0 : 2;
    }
    try {
        Jobs jobs = JobsOf(task->file);
        Run(jobs, *task).ToTheEnd();
        return PrintTable(jobs) ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kxpar: %s\n", error.what());
        return 2;
    }
}
