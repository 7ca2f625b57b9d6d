#include "platform/posix/inheritance.h"

#include <mutex>
#include <vector>

#include "platform/posix/immortal.h"

namespace kx::platform {
namespace {

struct Descriptors {
    std::shared_mutex lock;
    std::vector<int> numbers;
};

Descriptors& TheDescriptors() noexcept {
    static Immortal<Descriptors> descriptors;
    return descriptors.Get();
}

}  // namespace

void ShareWithChildren(int descriptor) {
    Descriptors& all = TheDescriptors();
    const std::lock_guard guard(all.lock);
    all.numbers.push_back(descriptor);
}

void KeepFromChildren(int descriptor) noexcept {
    Descriptors& all = TheDescriptors();
    const std::lock_guard guard(all.lock);
    std::erase(all.numbers, descriptor);
}

SharedWithChildren::SharedWithChildren() : m_lock(TheDescriptors().lock) {}

std::span<const int> SharedWithChildren::Get() const {
    return TheDescriptors().numbers;
}

}  // namespace kx::platform
