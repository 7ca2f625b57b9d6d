// Makes operator new run out of memory on the calling thread, for the time of a scope.
#ifndef KXCORE7_TESTS_SUPPORT_FAILING_NEW_H
#define KXCORE7_TESTS_SUPPORT_FAILING_NEW_H

namespace kx::test {

class FailingNew final {
  public:
    static constexpr int kAll = -1;

    // Lets so many allocations succeed first, then fails so many.
    explicit FailingNew(int allowed = 0, int failures = kAll);
    ~FailingNew();
    FailingNew(const FailingNew&) = delete;
    FailingNew& operator=(const FailingNew&) = delete;
};

}  // namespace kx::test

#endif
