/* The text counter as a component in C. */
#include "text_counter.h"

#include <kxcore7/atomic.h>
#include <kxcore7/guid.h>
#include <kxcore7/result.h>
#include <stdbool.h>

#include "component_entry.h"

static const KXGUID unknownIid = KX_IID_UNKNOWN;
static const KXGUID classFactoryIid = KX_IID_CLASS_FACTORY;
static const KXGUID textCounterIid = IID_TEXT_COUNTER;
static const KXGUID textCounterClsid = CLSID_TEXT_COUNTER_C;

static bool AreEqual(const KXGUID* a, const KXGUID* b) {
    return KXComIsEqualGUID(a, b) != 0;
}

/* The counter: its face comes first, so that a pointer to either is a pointer to both. */

typedef struct TextCounter {
    ITextCounter face;
    volatile int32_t references;
} TextCounter;

static KXResult KX_METHOD CounterQueryInterface(ITextCounter* self, const KXGUID* iid, void** out) {
    *out = NULL;
    if (!AreEqual(iid, &unknownIid) && !AreEqual(iid, &textCounterIid)) return KX_E_NOTIMPL;
    self->table->AddRef(self);
    *out = self;
    return KX_S_OK;
}

static uint32_t KX_METHOD CounterAddRef(ITextCounter* self) {
    return (uint32_t)KXAtomicIncrement(&((TextCounter*)self)->references);
}

static uint32_t KX_METHOD CounterRelease(ITextCounter* self) {
    const int32_t left = KXAtomicDecrement(&((TextCounter*)self)->references);
    if (left == 0) KXComFree(self);
    return (uint32_t)left;
}

/* ASCII alone, so that the counts are the same in every locale. */
static bool IsSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

static KXResult KX_METHOD CounterCount(ITextCounter* self, const char* text, size_t size,
                                       TextCounts* counts) {
    (void)self;
    *counts = (TextCounts){.bytes = size};
    bool inWord = false;
    for (size_t i = 0; i < size; ++i) {
        const bool space = IsSpace(text[i]);
        if (text[i] == '\n') ++counts->lines;
        if (!space && !inWord) ++counts->words;
        inWord = !space;
    }
    return KX_S_OK;
}

static const ITextCounterTable counterTable = {CounterQueryInterface, CounterAddRef, CounterRelease,
                                               CounterCount};

/*
 * The factory: there is one, in the library itself. The count starts with the library's own
 * reference, which nobody releases, so it never gets to 0.
 */

typedef struct Factory {
    IKXClassFactory face;
    volatile int32_t references;
} Factory;

static KXResult KX_METHOD FactoryQueryInterface(IKXClassFactory* self, const KXGUID* iid,
                                                void** out) {
    *out = NULL;
    if (!AreEqual(iid, &unknownIid) && !AreEqual(iid, &classFactoryIid)) return KX_E_NOTIMPL;
    self->table->AddRef(self);
    *out = self;
    return KX_S_OK;
}

static uint32_t KX_METHOD FactoryAddRef(IKXClassFactory* self) {
    return (uint32_t)KXAtomicIncrement(&((Factory*)self)->references);
}

static uint32_t KX_METHOD FactoryRelease(IKXClassFactory* self) {
    return (uint32_t)KXAtomicDecrement(&((Factory*)self)->references);
}

/*
 * A text counter can't be part of another object: outer must be null. The reference that the
 * counter is born with goes either way; a counter that was asked for as something else goes with
 * it.
 */
static KXResult KX_METHOD FactoryCreateInstance(IKXClassFactory* self, IKXUnknown* outer,
                                                const KXGUID* iid, void** out) {
    (void)self;
    *out = NULL;
    if (outer != NULL) return KX_E_NOTIMPL;

    void* block;
    KXResult result = KXComMalloc(sizeof(TextCounter), &block);
    if (result < 0) return result;
    TextCounter* const counter = block;
    *counter = (TextCounter){.face = {&counterTable}, .references = 1};

    result = CounterQueryInterface(&counter->face, iid, out);
    CounterRelease(&counter->face);
    return result;
}

static const IKXClassFactoryTable factoryTable = {FactoryQueryInterface, FactoryAddRef,
                                                  FactoryRelease, FactoryCreateInstance};

static Factory factory = {.face = {&factoryTable}, .references = 1};

KXResult KX_METHOD DllGetClassObject(const KXGUID* clsid, const KXGUID* iid, void** out) {
    *out = NULL;
    if (!AreEqual(clsid, &textCounterClsid)) return KX_REGDB_E_CLASSNOTREG;
    return FactoryQueryInterface(&factory.face, iid, out);
}
