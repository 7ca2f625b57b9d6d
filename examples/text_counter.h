/*
 * The public face of the text counters: one interface and the two classes that implement it. All
 * that a client and a component share is in here.
 *
 * An interface never changes once it is published; another one gets another identifier.
 */
#ifndef TEXT_COUNTER_H
#define TEXT_COUNTER_H

#include <kxcore7/component.h>

/* {80DD6115-E3B3-4952-B54E-BD3211E295A2}, the interface */
#define IID_TEXT_COUNTER                                   \
    {                                                      \
        0x80DD6115u, 0xE3B3, 0x4952, {                     \
            0xB5, 0x4E, 0xBD, 0x32, 0x11, 0xE2, 0x95, 0xA2 \
        }                                                  \
    }

/* {5B255FF7-475D-446F-A733-A0C3A98F226F}, the class written in C++ */
#define CLSID_TEXT_COUNTER_CPP                             \
    {                                                      \
        0x5B255FF7u, 0x475D, 0x446F, {                     \
            0xA7, 0x33, 0xA0, 0xC3, 0xA9, 0x8F, 0x22, 0x6F \
        }                                                  \
    }
#define PROGID_TEXT_COUNTER_CPP u"Sample.TextCounter.1"

/* {F500B49D-39F8-4C9F-8F0E-1A1D7B0D6D43}, the class written in C */
#define CLSID_TEXT_COUNTER_C                               \
    {                                                      \
        0xF500B49Du, 0x39F8, 0x4C9F, {                     \
            0x8F, 0x0E, 0x1A, 0x1D, 0x7B, 0x0D, 0x6D, 0x43 \
        }                                                  \
    }
#define PROGID_TEXT_COUNTER_C u"Sample.TextCounterC.1"

typedef struct TextCounts {
    uint64_t lines; /* newline bytes */
    uint64_t words; /* runs of bytes other than ASCII whitespace */
    uint64_t bytes;
} TextCounts;

#if defined(__cplusplus)

/* Any thread may call any operation. */
class ITextCounter : public IKXUnknown {
  public:
    /* Counts what is in the size bytes at text, whatever they are. Always 0. */
    virtual KXResult KX_METHOD Count(const char* text, size_t size, TextCounts* counts) = 0;

  protected:
    ~ITextCounter() = default;
};

#else

typedef struct ITextCounter ITextCounter;
typedef struct ITextCounterTable {
    KXResult(KX_METHOD* QueryInterface)(ITextCounter* self, const KXGUID* iid, void** out);
    uint32_t(KX_METHOD* AddRef)(ITextCounter* self);
    uint32_t(KX_METHOD* Release)(ITextCounter* self);
    KXResult(KX_METHOD* Count)(ITextCounter* self, const char* text, size_t size,
                               TextCounts* counts);
} ITextCounterTable;
struct ITextCounter {
    const ITextCounterTable* table;
};

#endif

#endif
