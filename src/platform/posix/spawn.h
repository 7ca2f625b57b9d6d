// The start of a child.
//
// The child begins in the parent's memory, of which nothing is copied, while the thread that starts
// it waits; so the cost does not depend on the parent's size. The process descriptor comes from the
// same call as the child: no other part of the program, and no ignored SIGCHLD, can take the child
// away before it is known.
#ifndef KXCORE7_SRC_PLATFORM_POSIX_SPAWN_H
#define KXCORE7_SRC_PLATFORM_POSIX_SPAWN_H

#include <span>

#include "platform/posix/descriptor.h"

namespace kx::platform {

struct SpawnRequest {
    const char* program;
    char* const* arguments;          // ending in null, as
    char* const* environment;        // this
    const char* directory;           // null for the parent's
    int standard[3];                 // what becomes descriptors 0 to 2; -1 leaves one as it is
    std::span<const int> inherited;  // further descriptors that the child keeps
};

struct SpawnOutcome {
    enum class Step { none, start, handles, directory, program };
    Step failed = Step::none;
    int error = 0;  // errno of that step
};

// No signal is blocked in the child. Those that the parent catches or ignores have their default
// effect, with three exceptions: SIGHUP, SIGINT and SIGQUIT stay ignored, since it is not the
// parent that decides so, but its user, by nohup or in a shell's background.
SpawnOutcome Spawn(const SpawnRequest& request, Descriptor* process) noexcept;

}  // namespace kx::platform

#endif
