// Events, gates, semaphores and conditions of a test's own.
#ifndef KXCORE7_TESTS_SUPPORT_WAITABLES_H
#define KXCORE7_TESTS_SUPPORT_WAITABLES_H

#include <kxcore7/condition.h>
#include <kxcore7/event.h>
#include <kxcore7/semaphore.h>

#include "support/results.h"

namespace kx::test {

template <KXResult (*Destroy)(std::uintptr_t)>
class OwnHandle {
  public:
    ~OwnHandle() { EXPECT_RESULT(KX_S_OK, Destroy(m_handle)); }
    OwnHandle(const OwnHandle&) = delete;
    OwnHandle& operator=(const OwnHandle&) = delete;

    operator std::uintptr_t() const { return m_handle; }

  protected:
    OwnHandle() = default;

    std::uintptr_t m_handle = 0;
};

class Event final : public OwnHandle<KXEventDestroy> {
  public:
    explicit Event(std::uint32_t flags = 0, const char* name = "test") {
        EXPECT_RESULT(KX_S_OK, KXEventCreate(name, flags, &m_handle));
    }
};

class Gate final : public OwnHandle<KXGateDestroy> {
  public:
    explicit Gate(std::uint32_t flags = 0, const char* name = "test") {
        EXPECT_RESULT(KX_S_OK, KXGateCreate(name, flags, &m_handle));
    }
};

class Semaphore final : public OwnHandle<KXSemaphoreDestroy> {
  public:
    explicit Semaphore(std::uint32_t count, std::uint32_t flags = 0, const char* name = "test") {
        EXPECT_RESULT(KX_S_OK, KXSemaphoreCreate(count, name, flags, &m_handle));
    }
};

class Condition final : public OwnHandle<KXConditionDestroy> {
  public:
    explicit Condition(std::uint32_t flags = 0, const char* name = "test") {
        EXPECT_RESULT(KX_S_OK, KXConditionCreate(name, flags, &m_handle));
    }
};

}  // namespace kx::test

#endif
