#include "platform/posix/processor_identity.h"

#include <gtest/gtest.h>

#include <ostream>

using kx::platform::IdentityFrom;
using kx::platform::ProcessorIdentity;

namespace kx::platform {

static void PrintTo(const ProcessorIdentity& identity, std::ostream* out) {
    *out << identity.family << ' ' << identity.model << ' ' << identity.stepping;
}

}  // namespace kx::platform

TEST(ProcessorIdentity, IsPutTogetherFromItsPieces) {
    static constexpr struct {
        std::uint32_t word;
        ProcessorIdentity identity;
    } kRows[] = {
        {0x00000543, {5, 4, 3}},     {0x00F90543, {5, 4, 3}},  // further pieces mean nothing here
        {0x000906EA, {6, 0x9E, 10}}, {0x0FF906EA, {6, 0x9E, 10}}, {0x00000F4A, {15, 4, 10}},
        {0x00800F11, {23, 1, 1}},    {0x00A20F10, {25, 0x21, 0}}, {0x0FFFFFFF, {270, 255, 15}},
    };
    for (const auto& row : kRows) EXPECT_EQ(row.identity, IdentityFrom(row.word)) << row.word;
}
