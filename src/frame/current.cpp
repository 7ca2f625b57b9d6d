#include <kxcore7/current.h>
#include <kxcore7/result.h>

#include "platform/alerts.h"
#include "platform/processes.h"
#include "platform/threads.h"

using namespace kx;

void KXSleep(uint32_t milliseconds) {
    platform::Sleep(milliseconds);
}

KXResult KXThreadYield() {
    platform::YieldThread();
    return KX_S_OK;
}

uintptr_t KXThreadGetHandle() {
    return platform::CurrentThreadPseudoHandle();
}

uint32_t KXThreadGetID() {
    return platform::CurrentThreadId();
}

uintptr_t KXProcessGetHandle() {
    return platform::CurrentProcessPseudoHandle();
}

void KXDebugBreak() {
    platform::Breakpoint();
}
