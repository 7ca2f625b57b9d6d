#include <apr_thread_proc.h>
#include <benchmark/benchmark.h>
#include <glib.h>
#include <kxcore7/process.h>
#include <kxcore7/thread.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <uv.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <thread>

#include "apr.h"
#include "contest.h"
#include "report.h"
#include "rows.h"
#include "subjects.h"

namespace bench {
namespace {

// --- Threads: created, and joined at once --------------------------------------------------------

bool KxThread() {
    KXThreadHandle thread = 0;
    std::uint32_t id = 0;
    const auto nothing = [](void*) { return std::uint32_t{0}; };
    return KXThreadCreate(nothing, nullptr, 0, 0, &thread, &id) == 0 &&
           KXThreadJoin(thread, nullptr) == 0;
}

bool PosixThread() {
    pthread_t thread;
    const auto nothing = [](void* argument) { return argument; };
    return pthread_create(&thread, nullptr, nothing, nullptr) == 0 &&
           pthread_join(thread, nullptr) == 0;
}

bool StdThread() {
    std::thread([] {}).join();
    return true;
}

bool GLibThread() {
    const auto nothing = [](gpointer data) { return data; };
    return g_thread_join(g_thread_new("bench", nothing, nullptr)) == nullptr;
}

// What it makes comes from a pool, which goes with the thread.
bool AprThread() {
    const AprPool pool;
    apr_thread_t* thread = nullptr;
    const auto nothing = [](apr_thread_t*, void* data) { return data; };
    apr_status_t status = APR_SUCCESS;
    return apr_thread_create(&thread, nullptr, nothing, nullptr, pool.Get()) == APR_SUCCESS &&
           apr_thread_join(&status, thread) == APR_SUCCESS;
}

// --- Processes: a program that does nothing, started and joined at once --------------------------

constexpr const char* kProgram = "/bin/true";

bool KxProcess() {
    KXProcessHandle process = 0;
    return KXProcessCreate(u"/bin/true", nullptr, nullptr, nullptr, 0, nullptr, &process) == 0 &&
           KXProcessJoin(process, nullptr) == 0;
}

// The words of the program, as C wants them.
char** Words() {
    static char program[] = "/bin/true";
    static char* words[] = {program, nullptr};
    return words;
}

pid_t Spawn() {
    pid_t process = -1;
    return posix_spawn(&process, kProgram, nullptr, nullptr, Words(), environ) == 0 ? process : -1;
}

bool PosixProcess() {
    const pid_t process = Spawn();
    return process > 0 && waitpid(process, nullptr, 0) == process;
}

bool GLibProcess() {
    GPid process = 0;
    return g_spawn_async(nullptr, Words(), nullptr, G_SPAWN_DO_NOT_REAP_CHILD, nullptr, nullptr,
                         &process, nullptr) != 0 &&
           waitpid(process, nullptr, 0) == process;
}

bool AprProcess() {
    const AprPool pool;
    apr_procattr_t* attributes = nullptr;
    apr_proc_t process{};
    return apr_procattr_create(&attributes, pool.Get()) == APR_SUCCESS &&
           apr_proc_create(&process, kProgram, Words(), nullptr, attributes, pool.Get()) ==
               APR_SUCCESS &&
           apr_proc_wait(&process, nullptr, nullptr, APR_WAIT) == APR_CHILD_DONE;
}

bool UvProcess() {
    uv_loop_t* const loop = uv_default_loop();
    uv_process_t process{};
    uv_process_options_t options{};
    options.file = kProgram;
    options.args = Words();
    options.exit_cb = [](uv_process_t* ended, std::int64_t, int) {
        uv_close(reinterpret_cast<uv_handle_t*>(ended), nullptr);
    };
    return uv_spawn(loop, &process, &options) == 0 && uv_run(loop, UV_RUN_DEFAULT) == 0;
}

bool Shell() {
    return std::system(kProgram) == 0;
}

// --- Many children, joined as they end -----------------------------------------------------------

constexpr int kChildren = 64;

bool KxChildren() {
    KXProcessHandle process = 0;
    for (int i = 0; i < kChildren; ++i) {
        if (KXProcessCreate(u"/bin/true", nullptr, nullptr, nullptr, 0, nullptr, &process) != 0)
            return false;
    }
    for (int i = 0; i < kChildren; ++i) {
        if (KXProcessJoinChild(&process, nullptr) != 0) return false;
    }
    return true;
}

bool PosixChildren() {
    for (int i = 0; i < kChildren; ++i) {
        if (Spawn() < 0) return false;
    }
    for (int i = 0; i < kChildren; ++i) {
        if (waitpid(-1, nullptr, 0) < 0) return false;
    }
    return true;
}

// --- The table -----------------------------------------------------------------------------------

constexpr std::size_t kPage = 4096;
// To make a large parent takes longer than all that it is measured with.
constexpr int kRepetitionsOfLarge = 5;

// Memory that the parent has in small pages for the time of a scope: what a copy of the parent
// costs goes by their number.
class Ballast final {
  public:
    explicit Ballast(std::size_t size) : m_size(size) {
        if (size == 0) return;
        m_memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        Require(m_memory != MAP_FAILED, "a large parent");
        madvise(m_memory, size, MADV_NOHUGEPAGE);
        for (std::size_t i = 0; i < size; i += kPage) static_cast<char*>(m_memory)[i] = 1;
    }
    ~Ballast() {
        if (m_size != 0) munmap(m_memory, m_size);
    }
    Ballast(const Ballast&) = delete;
    Ballast& operator=(const Ballast&) = delete;

  private:
    const std::size_t m_size;
    void* m_memory = nullptr;
};

// Registers what does a piece of work and tells whether it did.
auto Measured(bool (*work)(), std::size_t ballast = 0) {
    return [work, ballast](const std::string& name) {
        const auto measure = [work, ballast](benchmark::State& state) {
            const Ballast held(ballast);
            for (auto _ : state) {
                if (!work()) return Fail(state, "it was not done");
            }
        };
        auto* const registered = benchmark::RegisterBenchmark(name.c_str(), measure);
        registered->UseRealTime();
        if (ballast != 0) registered->Repetitions(kRepetitionsOfLarge);
    };
}

void AddProcess(Report& report, const std::string& what, std::size_t ballast) {
    Rows(what)
        .Own(Measured(KxProcess, ballast))
        .Peer("posix_spawn", Measured(PosixProcess, ballast))
        .Peer("GLib", Measured(GLibProcess, ballast))
        .Peer("APR", Measured(AprProcess, ballast))
        .Peer("libuv", Measured(UvProcess, ballast))
        .Aside("system", Measured(Shell, ballast))
        .AddTo(report, 1.05);
}

}  // namespace

void RegisterProcesses(Report& report, bool quick) {
    Rows("thread, create and join")
        .Own(Measured(KxThread))
        .Peer("pthread", Measured(PosixThread))
        .Peer("std::thread", Measured(StdThread))
        .Peer("GLib", Measured(GLibThread))
        .Peer("APR", Measured(AprThread))
        .AddTo(report, 1.15);
    AddProcess(report, "process, start and join", 0);
    const std::size_t gibibytes = quick ? 1 : 4;
    AddProcess(report, "process, from a parent of " + std::to_string(gibibytes) + " GiB",
               gibibytes << 30);
    Rows("process, 64 joined as they end")
        .Own(Measured(KxChildren))
        .Peer("posix_spawn, waitpid", Measured(PosixChildren))
        .AddTo(report, 1.05);
}

}  // namespace bench
