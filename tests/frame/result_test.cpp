#include <kxcore7/result.h>

#include "support/results.h"

TEST(Result, MapsEachListedNativeError) {
    static constexpr struct {
        std::uint32_t native;
        std::uint32_t result;
    } kTable[] = {
        {0, 0},          {2, 0x80070002},  {3, 0x80070002},   {5, 0x80070005},   {32, 0x80070005},
        {6, 0x80070006}, {14, 0x8007000E}, {183, 0x800700B7}, {258, 0x800705B4},
    };
    for (const auto& row : kTable) {
        EXPECT_RESULT(row.result, KXResultFromNative(row.native)) << row.native;
    }
}

TEST(Result, FoldsEveryOtherNativeErrorIntoFail) {
    for (const std::uint32_t native : {1u, 4u, 8u, 87u, 127u, 234u, 259u, 1460u, 0xFFFFFFFFu}) {
        EXPECT_RESULT(0x80004005u, KXResultFromNative(native)) << native;
    }
}

TEST(Result, CodesHaveTheirValues) {
    EXPECT_RESULT(0x80004001u, KX_E_NOTIMPL);
    EXPECT_RESULT(0x80004003u, KX_E_POINTER);
    EXPECT_RESULT(0x80004004u, KX_E_ABORT);
    EXPECT_RESULT(0x80004005u, KX_E_FAIL);
    EXPECT_RESULT(0x80004006u, KX_CO_E_INIT_TLS);
    EXPECT_RESULT(0x80004007u, KX_CO_E_INIT_SHARED_ALLOCATOR);
    EXPECT_RESULT(0x80004009u, KX_CO_E_INIT_CLASS_CACHE);
    EXPECT_RESULT(0x80040154u, KX_REGDB_E_CLASSNOTREG);
    EXPECT_RESULT(0x80070002u, KX_ERROR_FILE_NOT_FOUND);
    EXPECT_RESULT(0x80070005u, KX_E_ACCESSDENIED);
    EXPECT_RESULT(0x80070006u, KX_E_HANDLE);
    EXPECT_RESULT(0x8007000Eu, KX_E_OUTOFMEMORY);
    EXPECT_RESULT(0x80070026u, KX_ERROR_HANDLE_EOF);
    EXPECT_RESULT(0x80070057u, KX_E_INVALIDARG);
    EXPECT_RESULT(0x800700B7u, KX_ERROR_ALREADY_EXISTS);
    EXPECT_RESULT(0x800705B4u, KX_ERROR_TIMEOUT);
    EXPECT_RESULT(0x8BB34101u, KX_E_ENC_INVALID);
    EXPECT_RESULT(0x8BB34103u, KX_E_ENC_NOT_OPEN);
}
