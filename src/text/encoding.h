// A converter of ICU's with the policy around it.
#ifndef KXCORE7_SRC_TEXT_ENCODING_H
#define KXCORE7_SRC_TEXT_ENCODING_H

#include <kxcore7/result.h>
#include <unicode/ucnv.h>

#include <memory>
#include <string>

namespace kx::core {

struct CloseConverter {
    void operator()(UConverter* converter) const noexcept { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, CloseConverter>;

// What every status of ICU's comes out as.
KXResult ResultOf(UErrorCode status) noexcept;

// The converters of one encoding; either may be missing. Nothing here fills the second one, but a
// setting applies to it where it is there, and it is closed behind the first.
struct Encoder {
    explicit Encoder(const char16_t* encodingName) noexcept;

    KXResult SetSubstitution(int substitution) noexcept;

    Converter secondConverter;
    Converter converter;
};

// An encoder that is kept, under the name that it was asked for.
struct NamedEncoder {
    explicit NamedEncoder(const char16_t* encodingName)
        : name(encodingName != nullptr ? encodingName : u""), encoder(encodingName) {}

    const std::u16string name;
    Encoder encoder;
};

}  // namespace kx::core

#endif
