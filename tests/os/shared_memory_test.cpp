#include <kxcore7/sharedmem.h>

#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/named_objects.h"

using namespace kx::test;

namespace {

constexpr std::uint32_t kBoth = KX_FILE_CREATE | KX_FILE_EXCLUSIVE;
constexpr std::uint32_t kReadWrite = KX_FILE_READ | KX_FILE_WRITE;
constexpr std::uint32_t kSize = 10'000;
constexpr KXResult kIsNew = 2;

class SharedMemories : public ::testing::Test {
  protected:
    const std::string m_name = UniqueName();
};

}  // namespace

TEST_F(SharedMemories, AreNewWhereNobodyHasThem) {
    for (const std::uint32_t flags : {KX_FILE_CREATE, KX_FILE_EXCLUSIVE, kBoth}) {
        const SharedMemory memory(m_name, flags, kSize);
        EXPECT_RESULT(kIsNew, memory.Result()) << flags;
        const SharedView view(memory);
        for (std::uint32_t at = 0; at < kSize; ++at) ASSERT_EQ(0, view[at]) << at;
        view[kSize - 1] = 1;
    }
}

TEST_F(SharedMemories, ThatExistAreOpenedWithTheFirstSize) {
    const SharedMemory first(m_name, KX_FILE_CREATE, 3 * kSize);
    const SharedView mine(first);
    mine[3 * kSize - 1] = 77;
    for (const std::uint32_t flags : {KX_FILE_CREATE, KX_FILE_EXCLUSIVE}) {
        for (const std::uint32_t size : {1u, 3 * kSize, 100 * kSize, ~0u}) {
            const SharedMemory second(m_name, flags, size);
            ASSERT_RESULT(KX_S_OK, second.Result()) << size;
            const SharedView view(second);
            EXPECT_EQ(77, view[3 * kSize - 1]);
        }
    }
}

TEST_F(SharedMemories, BothFlagsRefuseWhatExists) {
    const SharedMemory first(m_name, kBoth, kSize);
    ASSERT_RESULT(kIsNew, first.Result());
    KXSharedMemHandle handle = 77;
    EXPECT_RESULT(0x80004005, KXSharedMemOpen(m_name.c_str(), kBoth, 0, kSize, &handle));
    EXPECT_EQ(KX_INVALID_HANDLE, handle);
    const SharedMemory again(m_name, KX_FILE_CREATE, kSize);
    EXPECT_RESULT(KX_S_OK, again.Result()) << "the refusal took nothing along";
}

TEST_F(SharedMemories, OfASizeOfZeroAreRefused) {
    for (const std::uint32_t flags : {KX_FILE_CREATE, KX_FILE_EXCLUSIVE, kBoth}) {
        KXSharedMemHandle handle = 77;
        EXPECT_RESULT(0x80004005, KXSharedMemOpen(m_name.c_str(), flags, 0, 0, &handle));
        EXPECT_EQ(KX_INVALID_HANDLE, handle);
    }
}

TEST_F(SharedMemories, ThatNobodyHasAreNotOpened) {
    for (const std::uint32_t flags : {0u, KX_FILE_READ, KX_FILE_WRITE, kReadWrite}) {
        KXSharedMemHandle handle = 77;
        EXPECT_RESULT(0x80070002, KXSharedMemOpen(m_name.c_str(), flags, 0, kSize, &handle));
        EXPECT_EQ(KX_INVALID_HANDLE, handle);
    }
}

TEST_F(SharedMemories, WithoutFlagsAreOpenedForReading) {
    const SharedMemory first(m_name, KX_FILE_CREATE, kSize);
    const SharedView mine(first);
    mine[5] = 55;
    for (const std::uint32_t flags : {0u, KX_FILE_READ}) {
        const SharedMemory memory(m_name, flags);
        ASSERT_RESULT(kIsNew, memory.Result());
        const SharedView view(memory, KX_FILE_READ);
        ASSERT_RESULT(KX_S_OK, view.Result());
        EXPECT_EQ(55, view[5]);
        const SharedView refused(memory, KX_FILE_WRITE);
        EXPECT_RESULT(0x80070005, refused.Result());
    }
}

TEST_F(SharedMemories, OpenedForWritingAreWritten) {
    const SharedMemory first(m_name, KX_FILE_CREATE, kSize);
    const SharedView mine(first);
    for (const std::uint32_t flags : {KX_FILE_WRITE, kReadWrite}) {
        for (const std::uint32_t access : {KX_FILE_WRITE, kReadWrite}) {
            const SharedMemory memory(m_name, flags);
            ASSERT_RESULT(kIsNew, memory.Result());
            const SharedView view(memory, access);
            ASSERT_RESULT(KX_S_OK, view.Result());
            EXPECT_EQ(0, view[6]);
            view[6] = 66;
            EXPECT_EQ(66, mine[6]);
            mine[6] = 0;
        }
    }
}

TEST_F(SharedMemories, AttachKnowsThreeValuesOfAccess) {
    const SharedMemory memory(m_name, KX_FILE_CREATE, kSize);
    for (const std::uint32_t access : {0u, 1u, 2u, 4u, KX_FILE_READ | 1, KX_FILE_WRITE | 1,
                                       kReadWrite | KX_FILE_CREATE, 0xFFFFFFFFu}) {
        int nothing = 0;
        void* address = &nothing;
        EXPECT_RESULT(0x80004005, KXSharedMemAttach(memory, access, &address)) << access;
        EXPECT_EQ(&nothing, address) << "not touched";
    }
    for (const std::uint32_t access : {KX_FILE_READ, KX_FILE_WRITE, kReadWrite}) {
        const SharedView view(memory, access);
        EXPECT_RESULT(KX_S_OK, view.Result()) << access;
    }
}

TEST_F(SharedMemories, ViewsOfOneMemoryAreOneMemory) {
    const SharedMemory first(m_name, KX_FILE_CREATE, kSize);
    const SharedMemory second(m_name, KX_FILE_CREATE, kSize);
    const SharedView one(first);
    const SharedView two(first);
    const SharedView three(second, KX_FILE_READ);
    EXPECT_NE(one.Address(), two.Address());
    one[0] = 1;
    two[kSize - 1] = 2;
    EXPECT_EQ(1, two[0]);
    EXPECT_EQ(1, three[0]);
    EXPECT_EQ(2, three[kSize - 1]);
}

TEST_F(SharedMemories, AWriteThroughAViewForReadingFaults) {
    const SharedMemory memory(m_name, KX_FILE_CREATE, kSize);
    const SharedView view(memory, KX_FILE_READ);
    ASSERT_RESULT(KX_S_OK, view.Result());
    EXPECT_EQ(0, view[0]);
    EXPECT_DEATH(view[0] = 1, "");
    EXPECT_EQ(0, view[0]);
}

TEST_F(SharedMemories, AViewOutlivesItsHandle) {
    SharedMemory memory(m_name, KX_FILE_CREATE, kSize);
    SharedView view(memory);
    view[0] = 11;
    memory.Close();
    EXPECT_EQ(11, view[0]);
    view[1] = 12;
    EXPECT_EQ(12, view[1]);
    view.Detach();
    const SharedMemory another(m_name, KX_FILE_CREATE, kSize);
    EXPECT_RESULT(kIsNew, another.Result()) << "the last view took it along";
    const SharedView empty(another);
    EXPECT_EQ(0, empty[0]);
}

TEST_F(SharedMemories, LiveAsLongAsAnyOfTheirHandles) {
    SharedMemory first(m_name, KX_FILE_CREATE, kSize);
    SharedMemory second(m_name, 0);
    first.Close();
    EXPECT_RESULT(KX_S_OK, SharedMemory(m_name, KX_FILE_CREATE, kSize).Result());
    second.Close();
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, SharedMemory(m_name, 0).Result());
    EXPECT_RESULT(kIsNew, SharedMemory(m_name, KX_FILE_CREATE, kSize).Result());
}

TEST_F(SharedMemories, ADetachedViewIsNone) {
    const SharedMemory memory(m_name, KX_FILE_CREATE, kSize);
    SharedView view(memory);
    void* const address = view.Address();
    view.Detach();
    EXPECT_RESULT(0x80004005, KXSharedMemDetach(address));
    EXPECT_RESULT(0x80004005, KXSharedMemDetach(nullptr));
}

TEST_F(SharedMemories, AClosedHandleIsNone) {
    SharedMemory memory(m_name, KX_FILE_CREATE, kSize);
    const KXSharedMemHandle handle = memory;
    memory.Close();
    void* address = nullptr;
    EXPECT_RESULT(0x80070006, KXSharedMemAttach(handle, kReadWrite, &address));
    EXPECT_RESULT(0x80070006, KXSharedMemClose(handle));
    EXPECT_RESULT(0x80070006, KXSharedMemAttach(KX_INVALID_HANDLE, kReadWrite, &address));
}

TEST_F(SharedMemories, AreClosedAsFilesAre) {
    KXSharedMemHandle handle = KX_INVALID_HANDLE;
    ASSERT_RESULT(kIsNew, KXSharedMemOpen(m_name.c_str(), KX_FILE_CREATE, 0, kSize, &handle));
    EXPECT_RESULT(KX_S_OK, KXFileClose(handle));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, SharedMemory(m_name, 0).Result());
}

TEST_F(SharedMemories, TheThirdArgumentIsIgnored) {
    for (const std::uint32_t value : {1u, 0x80000000u, ~0u}) {
        KXSharedMemHandle handle = KX_INVALID_HANDLE;
        EXPECT_RESULT(kIsNew,
                      KXSharedMemOpen(m_name.c_str(), KX_FILE_CREATE, value, kSize, &handle));
        KXSharedMemClose(handle);
    }
}

TEST_F(SharedMemories, NamesAreComparedByteForByte) {
    const std::vector<std::string> names = {m_name,
                                            m_name + "a",
                                            m_name + "A",
                                            m_name + "a ",
                                            m_name + "a/",
                                            m_name + "/../a",
                                            m_name + std::string(150, 'n')};
    std::vector<std::unique_ptr<SharedMemory>> memories;
    for (std::size_t i = 0; i < names.size(); ++i) {
        memories.push_back(std::make_unique<SharedMemory>(names[i], kBoth, kSize));
        EXPECT_RESULT(kIsNew, memories.back()->Result()) << names[i];
        const SharedView view(*memories.back());
        view[0] = static_cast<unsigned char>(i);
    }
    for (std::size_t i = 0; i < names.size(); ++i) {
        const SharedMemory memory(names[i], KX_FILE_READ);
        const SharedView view(memory, KX_FILE_READ);
        ASSERT_RESULT(KX_S_OK, view.Result());
        EXPECT_EQ(i, view[0]) << names[i];
    }
}

TEST_F(SharedMemories, OfSomeSizesAreWhole) {
    for (const std::uint32_t size : {1u, 2u, 4095u, 4096u, 4097u, 65536u, 5u << 20}) {
        const SharedMemory memory(m_name, KX_FILE_CREATE, size);
        ASSERT_RESULT(kIsNew, memory.Result()) << size;
        const SharedView view(memory);
        view[0] = 1;
        view[size - 1] = 2;
        EXPECT_EQ(2, view[size - 1]);
    }
}

TEST_F(SharedMemories, ProcessesSeeEachOthersWrites) {
    const SharedMemory memory(m_name, KX_FILE_CREATE, kSize);
    const SharedView view(memory);
    view[9000] = 90;
    ObjectWorker worker({"shm", m_name, "C0000000", "0", "attach", "C0000000", "peek", "9000",
                         "poke", "1", "17", "await", "2", "18", "poke", "3", "19", "detach",
                         "close"});
    worker.ExpectLine(kIsNew);
    worker.ExpectLine(KX_S_OK);
    worker.ExpectLine(90);
    while (view[1] != 17) std::this_thread::yield();
    view[2] = 18;
    while (view[3] != 19) std::this_thread::yield();
    worker.ExpectLine(KX_S_OK);
    worker.ExpectLine(KX_S_OK);
    worker.ExpectSuccess();
}

TEST_F(SharedMemories, OfAKilledProcessAreGoneWithIt) {
    ObjectWorker worker(
        {"shm", m_name, "100", "500", "attach", "40000000", "poke", "0", "9", "hold"});
    for (int line = 0; line < 2; ++line) EXPECT_NE("", worker.ReadLine());
    EXPECT_RESULT(KX_S_OK, SharedMemory(m_name, KX_FILE_CREATE, kSize).Result());
    worker.Kill();
    const SharedMemory memory(m_name, KX_FILE_CREATE, kSize);
    EXPECT_RESULT(kIsNew, memory.Result());
    const SharedView view(memory);
    EXPECT_EQ(0, view[0]);
}

TEST_F(SharedMemories, OfAKilledProcessStayWithOthers) {
    ObjectWorker worker(
        {"shm", m_name, "100", "500", "attach", "40000000", "poke", "0", "9", "hold"});
    worker.ExpectLine(kIsNew);
    worker.ExpectLine(KX_S_OK);
    const SharedMemory memory(m_name, KX_FILE_READ);
    const SharedView view(memory, KX_FILE_READ);
    while (view[0] != 9) std::this_thread::yield();
    worker.Kill();
    EXPECT_EQ(9, view[0]);
    EXPECT_RESULT(KX_S_OK, SharedMemory(m_name, KX_FILE_CREATE, kSize).Result());
}
