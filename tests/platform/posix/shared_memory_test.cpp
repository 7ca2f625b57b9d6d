// Here a view alone keeps the memory's name, too.
#include <kxcore7/sharedmem.h>

#include <string>

#include "support/named_objects.h"

using namespace kx::test;

namespace {

constexpr std::uint32_t kSize = 10'000;
constexpr KXResult kIsNew = 2;

class PosixSharedMemory : public ::testing::Test {
  protected:
    const std::string m_name = UniqueName();
};

}  // namespace

TEST_F(PosixSharedMemory, AViewKeepsTheNameOfItsMemory) {
    SharedMemory memory(m_name, KX_FILE_CREATE, kSize);
    SharedView view(memory);
    memory.Close();
    view[1] = 12;
    {
        const SharedMemory again(m_name, KX_FILE_CREATE, 1);
        EXPECT_RESULT(KX_S_OK, again.Result());
        const SharedView other(again);
        EXPECT_EQ(12, other[1]);
    }
    view.Detach();
    const SharedMemory another(m_name, KX_FILE_CREATE, kSize);
    EXPECT_RESULT(kIsNew, another.Result()) << "the last view took it along";
}

TEST_F(PosixSharedMemory, TheViewOfAKilledProcessGoesWithIt) {
    ObjectWorker worker({"shm", m_name, "100", "500", "attach", "40000000", "poke", "0", "9",
                         "close", "hold", "hold"});
    for (int line = 0; line < 3; ++line) EXPECT_NE("", worker.ReadLine());
    EXPECT_RESULT(KX_S_OK, SharedMemory(m_name, KX_FILE_CREATE, kSize).Result());
    worker.Kill();
    EXPECT_RESULT(kIsNew, SharedMemory(m_name, KX_FILE_CREATE, kSize).Result());
}
