/* The C side of the proof that the table of operations is one thing in both languages. */
#include <kxcore7/component.h>

void* KxTestCObject(void);
int KxTestCallFromC(void* object);

static uint32_t g_count = 20;

static KXResult KX_METHOD QueryInterface(IKXClassFactory* self, const KXGUID* iid, void** out) {
    *out = self;
    return (KXResult)iid->data1;
}

static uint32_t KX_METHOD AddRef(IKXClassFactory* self) {
    (void)self;
    return ++g_count;
}

static uint32_t KX_METHOD Release(IKXClassFactory* self) {
    (void)self;
    return --g_count;
}

static KXResult KX_METHOD CreateInstance(IKXClassFactory* self, IKXUnknown* outer,
                                         const KXGUID* iid, void** out) {
    (void)self;
    (void)iid;
    *out = outer;
    return 44;
}

static const IKXClassFactoryTable kTable = {QueryInterface, AddRef, Release, CreateInstance};
static IKXClassFactory g_object = {&kTable};

void* KxTestCObject(void) {
    return &g_object;
}

/* Whether each operation of a C++ object is found at its place. */
int KxTestCallFromC(void* object) {
    IKXClassFactory* const factory = object;
    const KXGUID iid = {33, 0, 0, {0}};
    void* out = NULL;
    if (factory->table->QueryInterface(factory, &iid, &out) != 33 || out != object) return 0;
    if (factory->table->AddRef(factory) != 11 || factory->table->Release(factory) != 10) return 0;
    return factory->table->CreateInstance(factory, object, &iid, &out) == 44 && out == object;
}
