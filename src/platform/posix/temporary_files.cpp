#include "platform/posix/temporary_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

#include "platform/posix/paths.h"

namespace kx::platform {
namespace {

struct TemporaryFile {
    std::string path;
    dev_t device;
    ino_t number;
    pid_t owner;

    void Remove() const noexcept {
        struct stat found {};
        if (owner != getpid() || lstat(path.c_str(), &found) != 0) return;
        if (found.st_dev == device && found.st_ino == number) unlink(path.c_str());
    }
};

// By descriptor.
class Table final {
  public:
    void Add(int descriptor, TemporaryFile file) {
        const std::lock_guard guard(m_lock);
        m_files.insert_or_assign(descriptor, std::move(file));
        m_count.store(m_files.size(), std::memory_order_relaxed);
    }

    // Whoever closes a descriptor knows it from its own thread, or from another that told it: no
    // lock is needed to see that there is none.
    void Remove(int descriptor) noexcept {
        if (m_count.load(std::memory_order_relaxed) == 0) return;
        const std::lock_guard guard(m_lock);
        const auto found = m_files.find(descriptor);
        if (found == m_files.end()) return;
        found->second.Remove();
        m_files.erase(found);
        m_count.store(m_files.size(), std::memory_order_relaxed);
    }

    void RemoveAll() noexcept {
        const std::lock_guard guard(m_lock);
        for (const auto& [descriptor, file] : m_files) file.Remove();
        m_files.clear();
        m_count.store(0, std::memory_order_relaxed);
    }

  private:
    std::mutex m_lock;
    std::map<int, TemporaryFile> m_files;
    std::atomic<std::size_t> m_count{0};
};

// Made by the first such file. Not an object with a destructor of its own: files may be closed
// behind those.
std::atomic<Table*> g_files{nullptr};

Table& Files() {
    if (Table* const files = g_files.load(std::memory_order_acquire)) return *files;
    auto fresh = std::make_unique<Table>();
    Table* first = nullptr;
    if (!g_files.compare_exchange_strong(first, fresh.get(), std::memory_order_acq_rel)) {
        return *first;
    }
    return *fresh.release();
}

}  // namespace

bool KeepTemporaryFile(int descriptor, const std::string& path) {
    std::string absolute = path;
    if (!MakeAbsolute(&absolute)) return false;
    struct stat status {};
    if (fstat(descriptor, &status) != 0) return false;
    Files().Add(descriptor, {std::move(absolute), status.st_dev, status.st_ino, getpid()});
    return true;
}

void EndTemporaryFile(int descriptor) noexcept {
    if (Table* const files = g_files.load(std::memory_order_acquire)) files->Remove(descriptor);
}

void RemoveTemporaryFiles() noexcept {
    const std::unique_ptr<Table> files(g_files.exchange(nullptr, std::memory_order_acq_rel));
    if (files != nullptr) files->RemoveAll();
}

}  // namespace kx::platform
