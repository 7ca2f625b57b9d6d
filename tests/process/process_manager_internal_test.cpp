#include "process/process_manager.h"

#include <kxcore7/process.h>

#include "support/failing_new.h"
#include "support/started_child.h"

TEST(ProcessCreate, LeavesNothingBehindWithoutMemory) {
    const std::u16string program = std::filesystem::path(KXTEST_CHILD).u16string();
    const char16_t* const environment[] = {u"A=1", u"B=a value that needs room of its own",
                                           nullptr};
    for (int allowed = 0;; ++allowed) {
        KXProcessStdHandles ends{KX_INVALID_HANDLE, KX_INVALID_HANDLE, KX_INVALID_HANDLE};
        KXProcessHandle process = 0;
        KXResult result = KX_S_OK;
        {
            const kx::test::FailingNew failing(allowed, 1);
            result = KXProcessCreate(program.c_str(), u"exit 0", nullptr, environment, 0, ends,
                                     &process);
        }
        if (result == KX_S_OK) {
            EXPECT_GT(allowed, 3);
            for (const KXFileHandle end : ends) KXFileClose(end);
            EXPECT_RESULT(KX_S_OK, KXProcessJoin(process, nullptr));
            return;
        }
        EXPECT_RESULT(KX_E_OUTOFMEMORY, result) << allowed;
        EXPECT_EQ(KX_INVALID_HANDLE, process);
        EXPECT_RESULT(KX_E_FAIL, KXProcessJoinChild(&process, nullptr)) << "there are no children";
    }
}
