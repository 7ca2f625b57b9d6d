#include "named.h"

#include <apr_file_io.h>
#include <apr_proc_mutex.h>
#include <apr_shm.h>
#include <fcntl.h>
#include <kxcore7/semaphore.h>
#include <kxcore7/sharedmem.h>
#include <semaphore.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <boost/interprocess/mapped_region.hpp>
#include <boost/interprocess/shared_memory_object.hpp>
#include <boost/interprocess/sync/named_semaphore.hpp>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "apr.h"
#include "comparison.h"
#include "contest.h"
#include "report.h"
#include "rows.h"
#include "subjects.h"

namespace bench {
namespace {

namespace ipc = boost::interprocess;

// Of this process alone.
std::string NameOf(const std::string& what) {
    return "kxcore7-bench-" + std::to_string(getpid()) + "-" + what;
}

// --- Semaphores: each opens the one of its name, or makes it -------------------------------------

class KxNamed final {
  public:
    explicit KxNamed(const std::string& name) {
        Require(KXNamedSemOpen(name.c_str(), 0, &m_handle) == 0, "a named kxcore7 semaphore");
    }
    ~KxNamed() { KXNamedSemClose(m_handle); }
    KxNamed(const KxNamed&) = delete;
    KxNamed& operator=(const KxNamed&) = delete;
    void Post() { KXNamedSemPost(m_handle); }
    void Wait() { KXNamedSemWait(m_handle); }
    // The name is free when nobody holds it any more.
    static void Remove(const std::string& /*name*/) {}

  private:
    KXSemaphoreHandle m_handle = KX_INVALID_HANDLE;
};

class PosixNamed final {
  public:
    explicit PosixNamed(const std::string& name)
        : m_semaphore(sem_open(("/" + name).c_str(), O_CREAT, 0600, 0)) {
        Require(m_semaphore != SEM_FAILED, "a named sem_t");
    }
    ~PosixNamed() { sem_close(m_semaphore); }
    PosixNamed(const PosixNamed&) = delete;
    PosixNamed& operator=(const PosixNamed&) = delete;
    void Post() { sem_post(m_semaphore); }
    void Wait() { sem_wait(m_semaphore); }
    static void Remove(const std::string& name) { sem_unlink(("/" + name).c_str()); }

  private:
    sem_t* const m_semaphore;
};

class BoostNamed final {
  public:
    explicit BoostNamed(const std::string& name)
        : m_semaphore(ipc::open_or_create, name.c_str(), 0) {}
    void Post() { m_semaphore.post(); }
    void Wait() { m_semaphore.wait(); }
    static void Remove(const std::string& name) { ipc::named_semaphore::remove(name.c_str()); }

  private:
    ipc::named_semaphore m_semaphore;
};

// APR has no counts that processes share. What comes closest is a lock, for one process alone;
class AprMutex final {
  public:
    explicit AprMutex(const std::string& /*name*/) {
        const apr_status_t status =
            apr_proc_mutex_create(&m_mutex, nullptr, APR_LOCK_POSIXSEM, m_pool.Get());
        Require(status == APR_SUCCESS, "APR's process mutex");
    }
    void Post() { apr_proc_mutex_lock(m_mutex); }
    void Wait() { apr_proc_mutex_unlock(m_mutex); }
    static void Remove(const std::string& /*name*/) {}

  private:
    AprPool m_pool;
    apr_proc_mutex_t* m_mutex = nullptr;
};

// and between two, the bytes in a pipe that has a name.
class AprPipe final {
  public:
    explicit AprPipe(const std::string& name) {
        const std::string path = PathOf(name);
        apr_file_namedpipe_create(path.c_str(), APR_FPROT_OS_DEFAULT, m_pool.Get());
        // For both, so that opening it does not wait for the other side.
        const apr_status_t status = apr_file_open(&m_pipe, path.c_str(), APR_READ | APR_WRITE,
                                                  APR_OS_DEFAULT, m_pool.Get());
        Require(status == APR_SUCCESS, "APR's named pipe");
    }
    void Post() {
        apr_size_t count = 1;
        apr_file_write(m_pipe, "", &count);
    }
    void Wait() {
        char byte = 0;
        apr_size_t count = 1;
        apr_file_read(m_pipe, &byte, &count);
    }
    static void Remove(const std::string& name) { std::filesystem::remove(PathOf(name)); }

  private:
    static std::string PathOf(const std::string& name) {
        return std::filesystem::temp_directory_path() / name;
    }

    AprPool m_pool;
    apr_file_t* m_pipe = nullptr;
};

// --- One process alone ---------------------------------------------------------------------------

template <typename Semaphore>
void OpenNew(benchmark::State& state) {
    const std::string name = NameOf("new");
    for (auto _ : state) {
        { const Semaphore semaphore(name); }
        Semaphore::Remove(name);
    }
}

template <typename Semaphore>
void OpenAnother(benchmark::State& state) {
    const std::string name = NameOf("another");
    {
        Semaphore first(name);
        first.Post();
        Semaphore(name).Wait();  // or it would not be the same
        for (auto _ : state) const Semaphore semaphore(name);
    }
    Semaphore::Remove(name);
}

template <typename Semaphore>
void PostAndWait(benchmark::State& state) {
    const std::string name = NameOf("alone");
    {
        Semaphore semaphore(name);
        for (auto _ : state) {
            semaphore.Post();
            benchmark::ClobberMemory();
            semaphore.Wait();
        }
    }
    Semaphore::Remove(name);
}

// --- Two processes, of which one gives the word to the other -------------------------------------

template <typename Semaphore>
class Table final {
  public:
    explicit Table(const std::string& name) : m_ping(name + "-ping"), m_pong(name + "-pong") {}
    static void Remove(const std::string& name) {
        Semaphore::Remove(name + "-ping");
        Semaphore::Remove(name + "-pong");
    }

    void Serve() {
        m_ping.Post();
        m_pong.Wait();
    }
    void Return() {
        m_ping.Wait();
        m_pong.Post();
    }

  private:
    Semaphore m_ping;
    Semaphore m_pong;
};

constexpr const char* kPartner = "--partner";

// This program once more, at the other side of a table.
class Partner final {
  public:
    Partner(const char* kind, const std::string& name) {
        int told[2];
        Require(pipe2(told, O_CLOEXEC) == 0, "a pipe");
        Start(kind, name, told[1]);
        close(told[1]);
        char byte = 0;
        const bool isThere = read(told[0], &byte, 1) == 1;
        close(told[0]);
        Require(isThere, "a partner");
    }
    ~Partner() {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
    Partner(const Partner&) = delete;
    Partner& operator=(const Partner&) = delete;

    clockid_t Clock() const {
        clockid_t clock = 0;
        Require(clock_getcpuclockid(m_process, &clock) == 0, "a clock");
        return clock;
    }

  private:
    void Start(const char* kind, const std::string& name, int told) {
        std::string words[] = {"kxcore7_bench", kPartner, kind, name};
        char* argv[] = {words[0].data(), words[1].data(), words[2].data(), words[3].data(),
                        nullptr};
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, told, STDOUT_FILENO);
        const int error =
            posix_spawn(&m_process, "/proc/self/exe", &actions, nullptr, argv, environ);
        posix_spawn_file_actions_destroy(&actions);
        Require(error == 0, "a process");
    }

    pid_t m_process = 0;
};

// Until it is killed.
template <typename Semaphore>
void Play(const std::string& name) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const ScopedPin pin(0);
    Table<Semaphore> table(name);
    if (write(STDOUT_FILENO, "", 1) != 1) return;
    for (;;) table.Return();
}

// On one processor, for the reasons of InTurns.
template <typename Semaphore>
void TakeTurns(benchmark::State& state, const char* kind) {
    const std::string name = NameOf("table");
    Table<Semaphore> table(name);
    const Partner partner(kind, name);
    Table<Semaphore>::Remove(name);
    const ScopedPin pin(0);
    table.Serve();
    const Activity own;
    const Activity others(partner.Clock());
    for (auto _ : state) table.Serve();
    state.counters[kDisturbance] = 1 - own.Share() - others.Share();
    state.counters[kHandovers] = 1;
}

// --- Memory --------------------------------------------------------------------------------------

// Each makes memory of that name, maps it, touches it, and leaves nothing behind.

bool KxMemory(const std::string& name, std::uint32_t size) {
    KXSharedMemHandle memory = KX_INVALID_HANDLE;
    if (KXSharedMemOpen(name.c_str(), KX_FILE_CREATE, 0, size, &memory) < 0) return false;
    void* address = nullptr;
    const bool attached = KXSharedMemAttach(memory, KX_FILE_WRITE, &address) == 0;
    if (attached) {
        *static_cast<volatile char*>(address) = 1;
        KXSharedMemDetach(address);
    }
    KXSharedMemClose(memory);
    return attached;
}

bool PosixMemory(const std::string& name, std::uint32_t size) {
    const std::string path = "/" + name;
    const int memory = shm_open(path.c_str(), O_CREAT | O_RDWR, 0600);
    if (memory < 0) return false;
    const bool sized = ftruncate(memory, size) == 0;
    void* const address = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, memory, 0);
    const bool attached = sized && address != MAP_FAILED;
    if (attached) {
        *static_cast<volatile char*>(address) = 1;
        munmap(address, size);
    }
    close(memory);
    shm_unlink(path.c_str());
    return attached;
}

bool BoostMemory(const std::string& name, std::uint32_t size) {
    {
        ipc::shared_memory_object memory(ipc::open_or_create, name.c_str(), ipc::read_write);
        memory.truncate(size);
        const ipc::mapped_region view(memory, ipc::read_write);
        *static_cast<volatile char*>(view.get_address()) = 1;
    }
    return ipc::shared_memory_object::remove(name.c_str());
}

// A file where there is no name of another kind.
bool AprMemory(const std::string& name, std::uint32_t size) {
    const AprPool pool;
    const std::string path = std::filesystem::temp_directory_path() / name;
    apr_shm_t* memory = nullptr;
    if (apr_shm_create(&memory, size, path.c_str(), pool.Get()) != APR_SUCCESS) return false;
    *static_cast<volatile char*>(apr_shm_baseaddr_get(memory)) = 1;
    return apr_shm_destroy(memory) == APR_SUCCESS;
}

// --- Rows ----------------------------------------------------------------------------------------

constexpr const char* kKx = "kxcore7";
constexpr const char* kPosix = "sem_open";
constexpr const char* kBoost = "Boost.Interprocess";
constexpr const char* kApr = "APR";

template <typename Semaphore>
void AddOpenNew(const std::string& name) {
    benchmark::RegisterBenchmark(name.c_str(), OpenNew<Semaphore>);
}

template <typename Semaphore>
void AddOpenAnother(const std::string& name) {
    benchmark::RegisterBenchmark(name.c_str(), OpenAnother<Semaphore>);
}

template <typename Semaphore>
void AddPostAndWait(const std::string& name) {
    benchmark::RegisterBenchmark(name.c_str(), PostAndWait<Semaphore>);
}

template <typename Semaphore>
auto AddTurns(const char* kind) {
    return [kind](const std::string& name) {
        benchmark::RegisterBenchmark(name.c_str(), TakeTurns<Semaphore>, kind)->UseRealTime();
    };
}

void AddMemory(Report& report, std::uint32_t size) {
    const auto name = std::make_shared<std::string>(NameOf("memory"));
    const auto of = [name = name.get(), size](bool (*use)(const std::string&, std::uint32_t)) {
        return [name, size, use] { return use(*name, size); };
    };
    Comparison memory("shared memory, new, " + std::to_string(size) + " bytes", name);
    memory.Own(of(KxMemory), Is(true));
    memory.Peer("shm_open", of(PosixMemory), Is(true));
    memory.Peer(kBoost, of(BoostMemory), Is(true));
    memory.Peer(kApr, of(AprMemory), Is(true));
    memory.AddTo(report);
}

}  // namespace

void RegisterNamed(Report& report) {
    constexpr double kAsGood = 1.1;
    Rows("named semaphore, open + close, new")
        .Own(AddOpenNew<KxNamed>)
        .Peer(kPosix, AddOpenNew<PosixNamed>)
        .Peer(kBoost, AddOpenNew<BoostNamed>)
        .Aside("APR process mutex", AddOpenNew<AprMutex>)
        .AddTo(report);
    Rows("named semaphore, open + close")
        .Own(AddOpenAnother<KxNamed>)
        .Peer(kPosix, AddOpenAnother<PosixNamed>)
        .Peer(kBoost, AddOpenAnother<BoostNamed>)
        .AddTo(report);
    Rows("named semaphore, post + wait")
        .Own(AddPostAndWait<KxNamed>)
        .Peer(kPosix, AddPostAndWait<PosixNamed>)
        .Aside(kBoost, AddPostAndWait<BoostNamed>)
        .Aside("APR process mutex", AddPostAndWait<AprMutex>)
        .AddTo(report);
    Rows("named semaphores, two processes")
        .Own(AddTurns<KxNamed>(kKx))
        .Peer(kPosix, AddTurns<PosixNamed>(kPosix))
        .Aside(kBoost, AddTurns<BoostNamed>(kBoost))
        .Aside("APR named pipes", AddTurns<AprPipe>(kApr))
        .AddTo(report, kAsGood);
    AddMemory(report, 4096);
    AddMemory(report, 1024 * 1024);
}

bool IsPartner(int argc, char** argv) {
    return argc == 4 && std::string_view(argv[1]) == kPartner;
}

void PlayPartner(char** argv) {
    const std::string_view kind = argv[2];
    const std::string name = argv[3];
    if (kind == kKx) return Play<KxNamed>(name);
    if (kind == kPosix) return Play<PosixNamed>(name);
    if (kind == kBoost) return Play<BoostNamed>(name);
    Play<AprPipe>(name);
}

}  // namespace bench
