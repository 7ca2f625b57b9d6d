// Named objects of a test's own, and processes that share them.
#ifndef KXCORE7_TESTS_SUPPORT_NAMED_OBJECTS_H
#define KXCORE7_TESTS_SUPPORT_NAMED_OBJECTS_H

#include <kxcore7/sharedmem.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "support/child_process.h"
#include "support/results.h"
#include "support/waitables.h"

namespace kx::test {

// A name that no other test has, nor another run of this one.
inline std::string UniqueName() {
    std::random_device random;
    return "kxcore7 test " + std::to_string(random()) + std::to_string(random());
}

class NamedSemaphore final : public OwnHandle<KXNamedSemClose> {
  public:
    explicit NamedSemaphore(const std::string& name, std::uint32_t count = 0) {
        EXPECT_RESULT(KX_S_OK, KXNamedSemOpen(name.c_str(), count, &m_handle));
    }
};

// Takes the whole count, and tells what it was.
inline int Drain(KXSemaphoreHandle semaphore) {
    int count = 0;
    for (;; ++count) {
        const KXResult result = KXSemaphoreTryWait(semaphore);
        if (result == KX_S_OK) continue;
        EXPECT_RESULT(KX_E_FAIL, result);
        return count;
    }
}

// A handle of named memory that is closed in the end.
class SharedMemory final {
  public:
    SharedMemory(const std::string& name, std::uint32_t flags, std::uint32_t size = 0)
        : m_result(KXSharedMemOpen(name.c_str(), flags, 0, size, &m_handle)) {}
    ~SharedMemory() { Close(); }
    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;

    KXResult Result() const { return m_result; }
    operator KXSharedMemHandle() const { return m_handle; }
    void Close() {
        const KXSharedMemHandle handle = std::exchange(m_handle, KX_INVALID_HANDLE);
        if (handle == KX_INVALID_HANDLE) return;
        EXPECT_RESULT(KX_S_OK, KXSharedMemClose(handle));
    }

  private:
    KXSharedMemHandle m_handle = 77;
    const KXResult m_result;
};

// A view that is taken back in the end; null if it was refused.
class SharedView final {
  public:
    explicit SharedView(KXSharedMemHandle memory,
                        std::uint32_t access = KX_FILE_READ | KX_FILE_WRITE)
        : m_result(KXSharedMemAttach(memory, access, &m_address)) {}
    ~SharedView() { Detach(); }
    SharedView(const SharedView&) = delete;
    SharedView& operator=(const SharedView&) = delete;

    KXResult Result() const { return m_result; }
    void* Address() const { return m_address; }
    volatile unsigned char& operator[](std::size_t at) const {
        return static_cast<volatile unsigned char*>(m_address)[at];
    }
    void Detach() {
        void* const address = std::exchange(m_address, nullptr);
        if (address == nullptr) return;
        EXPECT_RESULT(KX_S_OK, KXSharedMemDetach(address));
    }

  private:
    void* m_address = nullptr;
    const KXResult m_result;
};

// A process that works with objects as object_worker.cpp tells.
class ObjectWorker final {
  public:
    explicit ObjectWorker(const std::vector<std::string>& words)
        : m_process(KXTEST_OBJECT_WORKER, words) {}

    std::string ReadLine() { return m_process.ReadLine(); }
    void ExpectLine(KXResult result) { EXPECT_EQ(Hex(result), m_process.ReadLine()); }
    void Kill() {
        m_process.Kill();
        EXPECT_EQ(ChildProcess::kKilled, m_process.Wait());
    }
    void ExpectSuccess() { EXPECT_EQ(0, m_process.Wait()); }

  private:
    ChildProcess m_process;
};

}  // namespace kx::test

#endif
