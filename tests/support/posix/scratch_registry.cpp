#include "support/scratch_registry.h"

namespace kx::test {

// The library follows the variable by itself, and all of the registry is in that directory.

void JoinScratchRegistry() {}

void RemoveScratchRegistry() {}

}  // namespace kx::test
