#include "platform/entry.h"

#include "platform/posix/temporary_files.h"
#include "platform/registry.h"

namespace {

// The loader runs the constructor before any code that could call an export and the destructor
// behind the program's own exit handlers and static destructors.
[[gnu::constructor]] void Attach() {
    kx::core::LibraryMain(nullptr, kx::core::kProcessAttach);
}

[[gnu::destructor]] void Detach() {
    kx::core::LibraryMain(nullptr, kx::core::kProcessDetach);
    kx::platform::CloseRegistry();
    kx::platform::RemoveTemporaryFiles();
}

}  // namespace
