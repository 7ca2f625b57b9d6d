// The table of operations is one thing, seen from C and from C++.
#include <kxcore7/component.h>

#include "support/results.h"

extern "C" {
// Supplied in C (c_object.c).
void* KxTestCObject(void);
int KxTestCallFromC(void* object);
}

namespace {

class CppObject final : public IKXClassFactory {
  public:
    KXResult KX_METHOD QueryInterface(const KXGUID* iid, void** out) override {
        *out = this;
        return static_cast<KXResult>(iid->data1);
    }
    uint32_t KX_METHOD AddRef() override { return ++m_count; }
    uint32_t KX_METHOD Release() override { return --m_count; }
    KXResult KX_METHOD CreateInstance(IKXUnknown* outer, const KXGUID*, void** out) override {
        *out = outer;
        return 44;
    }

  private:
    uint32_t m_count = 10;
};

constexpr KXGUID kIid = {33, 0, 0, {}};

}  // namespace

TEST(Unknown, ExportsCallTheOperationsOfACppObject) {
    CppObject object;
    void* out = nullptr;
    EXPECT_EQ(33, IKXUnknown_QueryInterface(&object, &kIid, &out));
    EXPECT_EQ(&object, out);
    EXPECT_EQ(11u, IKXUnknown_AddRef(&object));
    EXPECT_EQ(10u, IKXUnknown_Release(&object));
}

TEST(Unknown, ExportsAndCppCallTheOperationsOfACObject) {
    auto* const object = static_cast<IKXClassFactory*>(KxTestCObject());
    void* out = nullptr;
    EXPECT_EQ(33, IKXUnknown_QueryInterface(object, &kIid, &out));
    EXPECT_EQ(object, out);
    EXPECT_EQ(21u, IKXUnknown_AddRef(object));
    EXPECT_EQ(20u, IKXUnknown_Release(object));
    EXPECT_EQ(21u, object->AddRef());
    EXPECT_EQ(20u, object->Release());
    EXPECT_EQ(44, object->CreateInstance(object, &kIid, &out));
    EXPECT_EQ(object, out);
}

TEST(Unknown, CCallsTheOperationsOfACppObject) {
    CppObject object;
    EXPECT_EQ(1, KxTestCallFromC(&object));
}

TEST(ComponentMemory, AllocatesResizesAndFrees) {
    void* block = nullptr;
    ASSERT_RESULT(KX_S_OK, KXComMalloc(8, &block));
    static_cast<char*>(block)[7] = 'x';
    ASSERT_RESULT(KX_S_OK, KXComRealloc(&block, 100'000));
    EXPECT_EQ('x', static_cast<char*>(block)[7]);
    EXPECT_RESULT(KX_S_OK, KXComFree(block));
    EXPECT_RESULT(KX_S_OK, KXComFree(nullptr));
}

TEST(ComponentMemory, ReallocToZeroStoresNull) {
    void* block = nullptr;
    ASSERT_RESULT(KX_S_OK, KXComMalloc(8, &block));
    EXPECT_RESULT(KX_S_OK, KXComRealloc(&block, 0));
    EXPECT_EQ(nullptr, block);
}

TEST(ComponentMemory, ExhaustedKeepsTheBlockAndIsReported) {
    static volatile size_t tooMuch = PTRDIFF_MAX;
    void* block = &block;
    EXPECT_RESULT(KX_E_OUTOFMEMORY, KXComMalloc(tooMuch, &block));
    EXPECT_EQ(nullptr, block);
    ASSERT_RESULT(KX_S_OK, KXComMalloc(8, &block));
    void* const before = block;
    EXPECT_RESULT(KX_E_OUTOFMEMORY, KXComRealloc(&block, tooMuch));
    EXPECT_EQ(before, block);
    KXComFree(block);
}
