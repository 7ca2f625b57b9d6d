// Environment variables for the time of a scope.
#ifndef KXCORE7_TESTS_SUPPORT_ENVIRONMENT_H
#define KXCORE7_TESTS_SUPPORT_ENVIRONMENT_H

#include <cstdlib>
#include <optional>
#include <string>

namespace kx::test {

// Sets a variable of this process, or takes it away, also for the C runtime's zone.
void SetVariable(const std::string& name, const std::optional<std::string>& value);

class ScopedEnvironment final {
  public:
    // An empty value takes the variable away.
    ScopedEnvironment(const char* name, const std::optional<std::string>& value) : m_name(name) {
        if (const char* const old = std::getenv(name)) m_old = old;
        Set(value);
    }
    ~ScopedEnvironment() { Set(m_old); }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

  private:
    void Set(const std::optional<std::string>& value) { SetVariable(m_name, value); }

    const std::string m_name;
    std::optional<std::string> m_old;
};

}  // namespace kx::test

#endif
