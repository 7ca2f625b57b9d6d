#include "text/encoding.h"

#include <kxcore7/encoding.h>
#include <unicode/putil.h>
#include <unicode/uclean.h>
#include <unicode/ustring.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <iterator>
#include <limits>
#include <new>
#include <string>
#include <utility>

#include "frame/exception.h"

namespace kx::core {
namespace {

// Negative until the encoding layer was initialised.
constinit std::atomic<std::int32_t> availableConverterCount{-1};

// --- Opening -------------------------------------------------------------------------------------

struct Alias {
    const char* asked;
    const char* opened;
};

constexpr Alias kAliases[] = {
    {"UTF-8", "UTF-8"},
    {"CP1252", "windows-1252"},
    {"CP932", "shift_jis"},
    {"SJIS", "shift_jis"},
};

constexpr const char* kLastResort = "ISO-8859-1";

// The low byte of each unit, as many as a name may have.
class NarrowName final {
  public:
    explicit NarrowName(const char16_t* name) noexcept {
        for (std::size_t i = 0; i < kMaxLength && name[i] != 0; ++i) {
            m_text[i] = static_cast<char>(name[i] & 0xFF);
        }
    }
    const char* Get() const { return m_text; }

  private:
    static constexpr std::size_t kMaxLength = 128;
    char m_text[kMaxLength + 1] = {};
};

Converter Open(const char* name) noexcept {
    UErrorCode status = U_ZERO_ERROR;
    return Converter(ucnv_open(name, &status));
}

Converter OpenAlias(const char* name) noexcept {
    for (const Alias& alias : kAliases) {
        if (std::strcmp(alias.asked, name) == 0) return Open(alias.opened);
    }
    return nullptr;
}

// The messages go where the program's own output goes.
void PrintNotOpened(const char* name) noexcept {
    std::printf("%s: Could not open converter\n", name);
}

Converter OpenDefault() noexcept {
    if (availableConverterCount.load(std::memory_order_relaxed) < 0) return nullptr;
    Converter converter = Open(nullptr);
    if (converter == nullptr) PrintNotOpened("default");
    return converter;
}

// A name that nobody knows is silently taken for Latin 1, which can hold every byte.
Converter OpenNamed(const char16_t* encodingName) noexcept {
    const NarrowName name(encodingName);
    if (Converter converter = Open(name.Get())) return converter;
    if (Converter converter = OpenAlias(name.Get())) return converter;
    if (Converter converter = Open(kLastResort)) return converter;
    std::printf("No converter for %s\n", kLastResort);
    PrintNotOpened(kLastResort);
    return nullptr;
}

// --- Substitution --------------------------------------------------------------------------------

UErrorCode Substitute(UConverter* converter, UChar32 point) noexcept {
    UChar text[2];
    std::int32_t length = 0;
    U16_APPEND_UNSAFE(text, length, point);
    UErrorCode status = U_ZERO_ERROR;
    ucnv_setSubstString(converter, text, length, &status);
    return status;
}

KXResult StopAtErrors(UConverter* converter) noexcept {
    if (converter == nullptr) return KX_E_ABORT;
    UErrorCode status = U_ZERO_ERROR;
    ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    return U_FAILURE(status) ? KX_E_ABORT : KX_S_OK;
}

}  // namespace

KXResult ResultOf(UErrorCode status) noexcept {
    switch (status) {
        case U_INVALID_CHAR_FOUND:
        case U_TRUNCATED_CHAR_FOUND:
        case U_ILLEGAL_CHAR_FOUND:
            return KX_E_ENC_INVALID;
        case U_BUFFER_OVERFLOW_ERROR:
            return KX_CO_E_INIT_CLASS_CACHE;
        default:
            return U_FAILURE(status) ? KX_E_FAIL : KX_S_OK;
    }
}

Encoder::Encoder(const char16_t* encodingName) noexcept
    : converter(encodingName != nullptr ? OpenNamed(encodingName) : OpenDefault()) {}

KXResult Encoder::SetSubstitution(int substitution) noexcept {
    // With the last code point of all: it was never accepted.
    if (substitution >= 0x10FFFF) return KX_E_ENC_INVALID;
    if (substitution < 0) {
        const KXResult result = StopAtErrors(converter.get());
        if (result < 0 || secondConverter == nullptr) return result;
        return StopAtErrors(secondConverter.get());
    }
    const UChar32 point = substitution != 0 ? substitution : 0xFFFD;
    UErrorCode status = Substitute(converter.get(), point);
    if (status == U_ZERO_ERROR && secondConverter != nullptr) {
        status = Substitute(secondConverter.get(), point);
    }
    return ResultOf(status);
}

namespace {

// --- Converting ----------------------------------------------------------------------------------

NamedEncoder& EncoderOf(KXEncHandle handle) {
    return *reinterpret_cast<NamedEncoder*>(handle);
}

KXResult ToWide(UConverter* converter, const char** source, const char* sourceLimit,
                char16_t** target, const char16_t* targetLimit, bool atEnd) noexcept {
    if (converter == nullptr) return KX_E_ENC_NOT_OPEN;
    UErrorCode status = U_ZERO_ERROR;
    ucnv_toUnicode(converter, target, targetLimit, source, sourceLimit, nullptr,
                   static_cast<UBool>(atEnd), &status);
    return ResultOf(status);
}

// Text that goes nowhere would be lost in silence.
KXResult FromWide(UConverter* converter, const char16_t** source, const char16_t* sourceLimit,
                  char** target, const char* targetLimit, bool atEnd) noexcept {
    if (converter == nullptr) std::terminate();
    UErrorCode status = U_ZERO_ERROR;
    ucnv_fromUnicode(converter, target, targetLimit, source, sourceLimit, nullptr,
                     static_cast<UBool>(atEnd), &status);
    return ResultOf(status);
}

// One text on its way through two converters, with wide text in between.
class Passage final {
  public:
    Passage(const Encoder& from, const Encoder& to, const char* source, const char* sourceLimit,
            char* target, const char* targetLimit) noexcept
        : m_from(from.converter.get()),
          m_to(to.converter.get()),
          m_source(source),
          m_sourceLimit(sourceLimit),
          m_target(target),
          m_targetLimit(targetLimit) {}

    KXResult Convert() noexcept {
        do {
            if (const KXResult result = ConvertPart(); result < 0) return result;
        } while (m_source < m_sourceLimit);
        return Finish();
    }

    const char* Source() const { return m_source; }
    const char* Target() const { return m_target; }

  private:
    // What was read is written even if reading failed behind it; the first failure counts.
    KXResult ConvertPart() noexcept {
        char16_t* end = m_pivot;
        KXResult read = ToWide(m_from, &m_source, m_sourceLimit, &end, std::end(m_pivot), false);
        if (read == KX_CO_E_INIT_CLASS_CACHE) read = KX_S_OK;
        const KXResult written = Write(end);
        return read < 0 ? read : written;
    }

    // A full pivot is a failure here, since this is done once.
    KXResult Finish() noexcept {
        char16_t* end = m_pivot;
        const char* none = nullptr;
        KXResult result = ToWide(m_from, &none, none, &end, std::end(m_pivot), true);
        if (result < 0) return result;
        result = Write(end);
        if (result < 0) return result;
        const char16_t* empty = nullptr;
        return FromWide(m_to, &empty, empty, &m_target, m_targetLimit, true);
    }

    KXResult Write(const char16_t* end) noexcept {
        const char16_t* begin = m_pivot;
        return FromWide(m_to, &begin, end, &m_target, m_targetLimit, false);
    }

    UConverter* const m_from;
    UConverter* const m_to;
    const char* m_source;
    const char* const m_sourceLimit;
    char* m_target;
    const char* const m_targetLimit;
    char16_t m_pivot[1024];
};

// --- UTF-32 --------------------------------------------------------------------------------------

// The 16-bit text between two others: on the stack while it is short.
class Pivot final {
  public:
    explicit Pivot(std::size_t capacity)
        : m_heap(capacity < kShort ? nullptr : new char16_t[capacity]),
          m_capacity(capacity < kShort ? kShort : capacity) {}

    char16_t* Get() { return m_heap != nullptr ? m_heap.get() : m_short; }
    std::int32_t Capacity() const {
        constexpr std::size_t kMost = std::numeric_limits<std::int32_t>::max();
        return static_cast<std::int32_t>(m_capacity < kMost ? m_capacity : kMost);
    }

  private:
    static constexpr std::size_t kShort = 512;
    const std::unique_ptr<char16_t[]> m_heap;
    const std::size_t m_capacity;
    char16_t m_short[kShort];
};

template <typename Unit>
std::int32_t LengthOf(const Unit* text, int length) {
    return length >= 0 ? length : static_cast<std::int32_t>(std::char_traits<Unit>::length(text));
}

// Both hops; exhausted memory is a status like others.
template <typename Hops>
KXResult ThroughPivot(std::size_t capacity, int* dstLength, Hops&& hops) noexcept {
    UErrorCode status = U_ZERO_ERROR;
    std::int32_t length = 0;
    try {
        Pivot pivot(capacity);
        std::forward<Hops>(hops)(pivot, length, status);
    } catch (const std::bad_alloc&) {
        status = U_MEMORY_ALLOCATION_ERROR;
    }
    *dstLength = length;
    return ResultOf(status);
}

}  // namespace
}  // namespace kx::core

using namespace kx::core;

uint32_t KXEncUtilInit(const char* dataDirectory) {
    u_setDataDirectory(dataDirectory);
    UErrorCode status = U_ZERO_ERROR;
    u_init(&status);
    const std::int32_t count = ucnv_countAvailable();
    availableConverterCount.store(count, std::memory_order_relaxed);
    return static_cast<std::uint16_t>(count);
}

KXEncHandle KXEncToW_Open(const char16_t* encodingName) {
    return reinterpret_cast<KXEncHandle>(new NamedEncoder(encodingName));
}

KXEncHandle KXEncFromW_Open(const char16_t* encodingName) {
    return KXEncToW_Open(encodingName);
}

void KXEncToW_Close(KXEncHandle handle) {
    delete reinterpret_cast<NamedEncoder*>(handle);
}

void KXEncFromW_Close(KXEncHandle handle) {
    KXEncToW_Close(handle);
}

KXResult KXEncToW_SetSubstitutionChar(KXEncHandle handle, int substitution) {
    return EncoderOf(handle).encoder.SetSubstitution(substitution);
}

KXResult KXEncFromW_SetSubstitutionChar(KXEncHandle handle, int substitution) {
    return KXEncToW_SetSubstitutionChar(handle, substitution);
}

KXResult KXEncToW_Convert(KXEncHandle handle, const char** source, const char* sourceLimit,
                          char16_t** target, const char16_t* targetLimit) {
    UConverter* const converter = EncoderOf(handle).encoder.converter.get();
    return ToWide(converter, source, sourceLimit, target, targetLimit, false);
}

KXResult KXEncFromW_Convert(KXEncHandle handle, const char16_t** source,
                            const char16_t* sourceLimit, char** target, const char* targetLimit) {
    UConverter* const converter = EncoderOf(handle).encoder.converter.get();
    return FromWide(converter, source, sourceLimit, target, targetLimit, false);
}

KXResult KXEncToW_Flush(KXEncHandle handle, char16_t** target, const char16_t* targetLimit) {
    const char* none = nullptr;
    UConverter* const converter = EncoderOf(handle).encoder.converter.get();
    return ToWide(converter, &none, none, target, targetLimit, true);
}

KXResult KXEncFromW_Flush(KXEncHandle handle, char** target, const char* targetLimit) {
    const char16_t* none = nullptr;
    UConverter* const converter = EncoderOf(handle).encoder.converter.get();
    return FromWide(converter, &none, none, target, targetLimit, true);
}

KXResult KXEncConvert(const char* source, size_t* sourceLength, const char16_t* sourceEncoding,
                      char* target, size_t* targetLength, const char16_t* targetEncoding,
                      int substitution) {
    Encoder from(sourceEncoding);
    if (const KXResult result = from.SetSubstitution(substitution); result < 0) return result;
    Encoder to(targetEncoding);
    if (const KXResult result = to.SetSubstitution(substitution); result < 0) return result;
    Passage passage(from, to, source, source + *sourceLength, target, target + *targetLength);
    const KXResult result = passage.Convert();
    *sourceLength = static_cast<size_t>(passage.Source() - source);
    *targetLength = static_cast<size_t>(passage.Target() - target);
    return result;
}

KXResult KXEncUTF16ToUTF8(char* dst, int dstCapacity, int* dstLength, const char16_t* src,
                          int srcLength, int substitution) {
    UErrorCode status = U_ZERO_ERROR;
    std::int32_t length = 0;
    u_strToUTF8WithSub(dst, dstCapacity, &length, src, srcLength, substitution, nullptr, &status);
    if (dstLength != nullptr) *dstLength = length;
    return ResultOf(status);
}

KXResult KXEncUTF8ToUTF16(char16_t* dst, int dstCapacity, int* dstLength, const char* src,
                          int srcLength, int substitution) {
    UErrorCode status = U_ZERO_ERROR;
    std::int32_t length = 0;
    u_strFromUTF8WithSub(dst, dstCapacity, &length, src, srcLength, substitution, nullptr, &status);
    if (dstLength != nullptr) *dstLength = length;
    return ResultOf(status);
}

KXResult KXEncUTF32ToUTF8(char* dst, int dstCapacity, int* dstLength, const char32_t* src,
                          int srcLength, int substitution) {
    const std::int32_t units = LengthOf(src, srcLength);
    const auto hops = [&](Pivot& pivot, std::int32_t& length, UErrorCode& status) {
        std::int32_t pivoted = 0;
        u_strFromUTF32WithSub(pivot.Get(), pivot.Capacity(), &pivoted,
                              reinterpret_cast<const UChar32*>(src), units, substitution, nullptr,
                              &status);
        if (U_FAILURE(status)) return;
        status = U_ZERO_ERROR;
        u_strToUTF8(dst, dstCapacity, &length, pivot.Get(), pivoted, &status);
    };
    return ThroughPivot(2 * static_cast<std::size_t>(units), dstLength, hops);
}

KXResult KXEncUTF8ToUTF32(char32_t* dst, int dstCapacity, int* dstLength, const char* src,
                          int srcLength, int substitution) {
    const std::int32_t units = LengthOf(src, srcLength);
    const auto hops = [&](Pivot& pivot, std::int32_t& length, UErrorCode& status) {
        std::int32_t pivoted = 0;
        u_strFromUTF8WithSub(pivot.Get(), pivot.Capacity(), &pivoted, src, units, substitution,
                             nullptr, &status);
        if (U_FAILURE(status)) return;
        status = U_ZERO_ERROR;
        u_strToUTF32(reinterpret_cast<UChar32*>(dst), dstCapacity, &length, pivot.Get(), pivoted,
                     &status);
    };
    return ThroughPivot(static_cast<std::size_t>(units), dstLength, hops);
}

KXResult KXWToUTF8(char* dst, int dstCapacity, int* dstLength, const char16_t* src, int srcLength,
                   int substitution) {
    return KXEncUTF16ToUTF8(dst, dstCapacity, dstLength, src, srcLength, substitution);
}

KXResult KXUTF8ToW(char16_t* dst, int dstCapacity, int* dstLength, const char* src, int srcLength,
                   int substitution) {
    return KXEncUTF8ToUTF16(dst, dstCapacity, dstLength, src, srcLength, substitution);
}
