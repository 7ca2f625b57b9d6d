// Memory behind which there is none: whoever reads or writes past its end faults.
#ifndef KXCORE7_TESTS_SUPPORT_GUARDED_MEMORY_H
#define KXCORE7_TESTS_SUPPORT_GUARDED_MEMORY_H

#include <cstddef>
#include <cstring>

namespace kx::test {

class GuardedMemory final {
  public:
    GuardedMemory();
    ~GuardedMemory();
    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;

    // Two pages, so that texts can cross from one to the other.
    static constexpr std::size_t kSize = std::size_t{2} * 4096;

    char* Begin() const { return m_begin; }
    char* End() const { return m_begin + kSize; }

    // A copy of count units that ends `before` bytes in front of the end.
    template <typename Unit>
    Unit* Place(const Unit* units, std::size_t count, std::size_t before = 0) const {
        char* const place = End() - before - count * sizeof(Unit);
        std::memcpy(place, units, count * sizeof(Unit));
        return reinterpret_cast<Unit*>(place);
    }

  private:
    char* m_begin;
};

}  // namespace kx::test

#endif
