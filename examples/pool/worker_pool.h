// A pool of worker threads over the library's locks. Every lock of the pool keeps statistics, so
// that a report shows where the threads waited.
#ifndef POOL_WORKER_POOL_H
#define POOL_WORKER_POOL_H

#include <kxcore7/condition.h>
#include <kxcore7/mutex.h>
#include <kxcore7/semaphore.h>

#include <deque>
#include <functional>
#include <thread>
#include <vector>

// A mutex with statistics, for std::lock_guard.
class MeasuredMutex final {
  public:
    explicit MeasuredMutex(const char* name);
    ~MeasuredMutex();
    MeasuredMutex(const MeasuredMutex&) = delete;
    MeasuredMutex& operator=(const MeasuredMutex&) = delete;

    void lock() { KXMutexAcquire(m_handle); }
    void unlock() { KXMutexRelease(m_handle); }

  private:
    KXMutexHandle m_handle = KX_INVALID_HANDLE;
};

class WorkerPool final {
  public:
    using Task = std::function<void()>;

    // Throws std::runtime_error if the library refuses a lock.
    explicit WorkerPool(unsigned workers);
    // Lets the workers finish what was given to them.
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    void Give(Task task);
    // Waits until everything that was given is done.
    void WaitUntilIdle();

  private:
    void Work();
    Task NextTask();
    void Done();

    MeasuredMutex m_queueLock{"WorkerPool::m_queueLock"};
    std::deque<Task> m_queue;
    KXSemaphoreHandle m_available = KX_INVALID_HANDLE;
    KXConditionHandle m_idle = KX_INVALID_HANDLE;
    size_t m_unfinished = 0;  // under the condition's lock
    std::vector<std::thread> m_workers;
};

#endif
