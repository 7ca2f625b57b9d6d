// The one internal exception, and the one frame that keeps exceptions inside the library.
#ifndef KXCORE7_SRC_FRAME_EXCEPTION_H
#define KXCORE7_SRC_FRAME_EXCEPTION_H

#include <kxcore7/result.h>

#include <cstdint>
#include <new>
#include <utility>

// A plain value that carries a result code; thrown by value, caught by reference.
struct EKXCoreException {
    KXResult result;
};

namespace kx::core {

inline void ThrowIfFailed(KXResult result) {
    if (result < 0) throw EKXCoreException{result};
}

// Throws the result of a native error.
inline void ThrowIfNativeError(std::uint32_t nativeError) {
    if (nativeError != 0) throw EKXCoreException{KXResultFromNative(nativeError)};
}

// The frame around every export that can fail inside: runs the call and turns what it throws into
// a result.
template <typename Call>
KXResult Guarded(Call&& call) noexcept {
    try {
        return std::forward<Call>(call)();
    } catch (const EKXCoreException& exception) {
        return exception.result;
    } catch (const std::bad_alloc&) {
        return KX_E_OUTOFMEMORY;
    } catch (...) {
        return KX_E_FAIL;
    }
}

}  // namespace kx::core

#endif
