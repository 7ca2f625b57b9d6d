// Programs that a test starts, kills and waits for.
#ifndef KXCORE7_TESTS_SUPPORT_CHILD_PROCESS_H
#define KXCORE7_TESTS_SUPPORT_CHILD_PROCESS_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace kx::test {

// A child that is killed and waited for at the end of its scope at the latest.
class ChildProcess final {
  public:
    // Starts the program with its standard output readable here.
    ChildProcess(const std::string& program, const std::vector<std::string>& arguments);
    ~ChildProcess();
    ChildProcess(ChildProcess&& other) noexcept
        : m_process(std::exchange(other.m_process, -1)),
          m_output(std::exchange(other.m_output, -1)) {}
    ChildProcess& operator=(ChildProcess&&) = delete;

    // A line of the child's output without its end; empty at the end of it.
    std::string ReadLine();
    // Ends the child at whatever instruction it is.
    void Kill();
    // The exit code; kKilled after Kill, and otherwise 128 plus the number of a signal that ended
    // it.
    static constexpr int kKilled = 128 + 9;
    int Wait();

  private:
    // The system's own, -1 for none.
    std::intptr_t m_process = -1;
    std::intptr_t m_output = -1;
};

}  // namespace kx::test

#endif
