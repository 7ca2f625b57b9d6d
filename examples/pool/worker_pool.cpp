#include "worker_pool.h"

#include <mutex>
#include <stdexcept>
#include <utility>

namespace {

void Require(KXResult result) {
    if (result < 0) throw std::runtime_error("the library refuses a lock");
}

}  // namespace

MeasuredMutex::MeasuredMutex(const char* name) {
    Require(KXMutexCreate(name, KX_MUTEX_STATS, &m_handle));
}

// Its numbers stay for the report.
MeasuredMutex::~MeasuredMutex() {
    KXMutexDestroy(m_handle);
}

WorkerPool::WorkerPool(unsigned workers) {
    Require(KXSemaphoreCreate(0, "WorkerPool::m_available", 0, &m_available));
    Require(KXConditionCreate("WorkerPool::m_idle", 0, &m_idle));
    for (unsigned i = 0; i < workers; ++i) m_workers.emplace_back([this] { Work(); });
}

// An empty task ends the worker that gets it.
WorkerPool::~WorkerPool() {
    for (size_t i = 0; i < m_workers.size(); ++i) Give({});
    for (std::thread& worker : m_workers) worker.join();
    KXConditionDestroy(m_idle);
    KXSemaphoreDestroy(m_available);
}

void WorkerPool::Give(Task task) {
    KXConditionAcquire(m_idle);
    ++m_unfinished;
    KXConditionRelease(m_idle);
    {
        const std::lock_guard guard(m_queueLock);
        m_queue.push_back(std::move(task));
    }
    // No more than 32767 tasks are announced at a time: whoever gives more waits for a worker.
    while (KXSemaphorePost(m_available) < 0) std::this_thread::yield();
}

void WorkerPool::WaitUntilIdle() {
    KXConditionAcquire(m_idle);
    while (m_unfinished != 0) KXConditionWait(m_idle);
    KXConditionRelease(m_idle);
}

void WorkerPool::Work() {
    for (;;) {
        const Task task = NextTask();
        if (task) task();
        Done();
        if (!task) return;
    }
}

WorkerPool::Task WorkerPool::NextTask() {
    KXSemaphoreWait(m_available);
    const std::lock_guard guard(m_queueLock);
    Task task = std::move(m_queue.front());
    m_queue.pop_front();
    return task;
}

void WorkerPool::Done() {
    KXConditionAcquire(m_idle);
    if (--m_unfinished == 0) KXConditionBroadcast(m_idle);
    KXConditionRelease(m_idle);
}
