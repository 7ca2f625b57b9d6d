#include <kxcore7/memory.h>

#include <algorithm>
#include <cstring>

#include "support/results.h"

namespace {

// More than any heap has. Hidden from the compiler, which knows that no allocation is as large.
size_t TooMuch() {
    static volatile size_t size = PTRDIFF_MAX;
    return size;
}

void* Allocate(size_t size) {
    void* block = nullptr;
    EXPECT_RESULT(KX_S_OK, KXMalloc(size, &block));
    return block;
}

}  // namespace

TEST(Memory, FailedMallocStoresNull) {
    int other = 0;
    void* block = &other;
    EXPECT_RESULT(KX_E_OUTOFMEMORY, KXMalloc(TooMuch(), &block));
    EXPECT_EQ(nullptr, block);
}

TEST(Memory, CallocZeroes) {
    void* block = nullptr;
    ASSERT_RESULT(KX_S_OK, KXCalloc(7, 11, &block));
    const char zeros[77] = {};
    EXPECT_EQ(0, std::memcmp(block, zeros, sizeof zeros));
    KXFree(block);
}

TEST(Memory, CallocWhoseProductOverflowsIsOutOfMemory) {
    int other = 0;
    void* block = &other;
    EXPECT_RESULT(KX_E_OUTOFMEMORY, KXCalloc(TooMuch(), 16, &block));
    EXPECT_EQ(nullptr, block);
}

TEST(Memory, ReallocOfNullAllocates) {
    void* block = nullptr;
    EXPECT_RESULT(KX_S_OK, KXRealloc(&block, 10));
    EXPECT_NE(nullptr, block);
    KXFree(block);
}

TEST(Memory, ReallocKeepsTheContents) {
    void* block = Allocate(8);
    std::memcpy(block, "1234567", 8);
    EXPECT_RESULT(KX_S_OK, KXRealloc(&block, 100'000));
    EXPECT_STREQ("1234567", static_cast<char*>(block));
    KXFree(block);
}

TEST(Memory, ReallocToZeroStoresNull) {
    void* block = Allocate(8);
    EXPECT_RESULT(KX_S_OK, KXRealloc(&block, 0));
    EXPECT_EQ(nullptr, block);
}

TEST(Memory, FailedReallocKeepsTheBlock) {
    void* block = Allocate(8);
    std::memcpy(block, "1234567", 8);
    void* const before = block;
    EXPECT_RESULT(KX_E_OUTOFMEMORY, KXRealloc(&block, TooMuch()));
    EXPECT_EQ(before, block);
    EXPECT_STREQ("1234567", static_cast<char*>(block));
    KXFree(block);
}

TEST(Memory, RecallocOfNullGivesZeros) {
    void* block = nullptr;
    ASSERT_RESULT(KX_S_OK, KXRecalloc(&block, 16));
    const char zeros[16] = {};
    EXPECT_EQ(0, std::memcmp(block, zeros, sizeof zeros));
    KXFree(block);
}

TEST(Memory, RecallocOfNullToZeroIsACallocOfZero) {
    void* expected = nullptr;
    void* block = nullptr;
    const KXResult result = KXCalloc(0, 1, &expected);
    EXPECT_RESULT(result, KXRecalloc(&block, 0));
    EXPECT_EQ(expected == nullptr, block == nullptr);
    KXFree(expected);
    KXFree(block);
}

TEST(Memory, RecallocToZeroLeavesThePointer) {
    void* block = Allocate(8);
    const auto before = reinterpret_cast<uintptr_t>(block);
    EXPECT_RESULT(KX_S_OK, KXRecalloc(&block, 0));
    EXPECT_EQ(before, reinterpret_cast<uintptr_t>(block));
}

TEST(Memory, RecallocZeroesFromTheOldReportedSizeToTheNew) {
    for (const size_t newSize : {size_t{16}, size_t{100}, size_t{5000}}) {
        void* block = Allocate(8);
        const size_t oldSize = KXMallocSize(block);
        std::memset(block, 0x5A, oldSize);
        // Leave dirt where the block is likely to grow into.
        void* dirt = Allocate(newSize);
        std::memset(dirt, 0xA5, newSize);
        KXFree(dirt);
        ASSERT_RESULT(KX_S_OK, KXRecalloc(&block, newSize));
        const auto* const bytes = static_cast<const unsigned char*>(block);
        const size_t size = KXMallocSize(block);
        EXPECT_TRUE(std::all_of(bytes, bytes + 8, [](unsigned char b) { return b == 0x5A; }));
        EXPECT_TRUE(std::all_of(bytes + oldSize, bytes + std::max(oldSize, size),
                                [](unsigned char b) { return b == 0; }));
        KXFree(block);
    }
}

TEST(Memory, FailedRecallocKeepsTheBlock) {
    void* block = Allocate(8);
    void* const before = block;
    EXPECT_RESULT(KX_E_OUTOFMEMORY, KXRecalloc(&block, TooMuch()));
    EXPECT_EQ(before, block);
    KXFree(block);
}

TEST(Memory, SizeCoversWhatWasAskedFor) {
    void* const block = Allocate(100);
    EXPECT_GE(KXMallocSize(block), 100u);
    KXFree(block);
    EXPECT_EQ(0u, KXMallocSize(nullptr));
}

TEST(Memory, FreeAcceptsNull) {
    EXPECT_RESULT(KX_S_OK, KXFree(nullptr));
}

TEST(Memory, AlignedSizeRoundsUpToFourAndWraps) {
    EXPECT_EQ(0u, KXGetAlignedSize(0));
    EXPECT_EQ(4u, KXGetAlignedSize(1));
    EXPECT_EQ(4u, KXGetAlignedSize(4));
    EXPECT_EQ(8u, KXGetAlignedSize(5));
    EXPECT_EQ(0xFFFFFFFCu, KXGetAlignedSize(0xFFFFFFFCu));
    EXPECT_EQ(0u, KXGetAlignedSize(0xFFFFFFFDu));
    EXPECT_EQ(0u, KXGetAlignedSize(0xFFFFFFFFu));
}
