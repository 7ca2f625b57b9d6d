// State of the alerts that tests and debuggers reach for.
#ifndef KXCORE7_SRC_FRAME_ALERT_H
#define KXCORE7_SRC_FRAME_ALERT_H

#include <atomic>
#include <cstdint>

namespace kx::core {

// What KX_ALERT_WAIT waits for. Nothing in the library sets it: set it to 1 from a debugger.
extern std::atomic<std::int32_t> g_alertRelease;

inline constexpr std::uint32_t kSessionUnknown = 0xFFFFFFFFu;

// The session that is asked, kSessionUnknown until the first question.
extern std::atomic<std::uint32_t> g_alertSession;

}  // namespace kx::core

#endif
