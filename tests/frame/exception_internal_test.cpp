#include "frame/exception.h"

#include <stdexcept>

#include "support/results.h"

using kx::core::Guarded;

TEST(Guarded, PassesAResultThrough) {
    EXPECT_RESULT(KX_S_OK, Guarded([] { return KX_S_OK; }));
    EXPECT_RESULT(KX_E_ABORT, Guarded([] { return KX_E_ABORT; }));
    EXPECT_EQ(2, Guarded([] { return KXResult{2}; }));
}

TEST(Guarded, TurnsWhatIsThrownIntoAResult) {
    EXPECT_RESULT(KX_E_HANDLE, Guarded([]() -> KXResult { throw EKXCoreException{KX_E_HANDLE}; }));
    EXPECT_RESULT(KX_E_OUTOFMEMORY, Guarded([]() -> KXResult { throw std::bad_alloc(); }));
    EXPECT_RESULT(KX_E_FAIL, Guarded([]() -> KXResult { throw std::runtime_error("x"); }));
    EXPECT_RESULT(KX_E_FAIL, Guarded([]() -> KXResult { throw 7; }));
}

TEST(Guarded, OnlyNegativeResultsAreThrown) {
    EXPECT_NO_THROW(kx::core::ThrowIfFailed(KX_S_OK));
    EXPECT_NO_THROW(kx::core::ThrowIfFailed(2));
    EXPECT_THROW(kx::core::ThrowIfFailed(KX_E_FAIL), EKXCoreException);
    EXPECT_NO_THROW(kx::core::ThrowIfNativeError(0));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, Guarded([]() -> KXResult {
                      kx::core::ThrowIfNativeError(2);
                      return KX_S_OK;
                  }));
}
