// Text in any encoding: neither the room nor the pieces that it comes in change what becomes of it.
#include <kxcore7/encoding.h>
#include <kxcore7/result.h>

#include <algorithm>
#include <iterator>
#include <vector>

#include "fuzz/fuzz.h"

using namespace kx::test;

namespace {

constexpr const char16_t* kEncodings[] = {
    u"UTF-8",       u"UTF-16",   u"UTF-16BE",     u"UTF-32",     u"UTF-7",       u"Shift_JIS",
    u"EUC-JP",      u"EUC-KR",   u"GB18030",      u"Big5",       u"ISO-2022-JP", u"ISO-2022-KR",
    u"ISO-8859-15", u"US-ASCII", u"windows-1252", u"HZ-GB-2312", u"KOI8-R",      u"none such",
};
constexpr int kSubstitutions[] = {-1, '?', 0, 0x10FFFE, 0x10FFFF};

struct Task {
    const char16_t* from;
    const char16_t* to;
    int substitution;
    std::size_t piece;
    std::string text;
};

struct Answer {
    KXResult result;
    std::size_t read;
    std::string text;
};

Answer AtOnce(const Task& task, std::size_t room) {
    std::string target(room + 1, '#');
    std::size_t read = task.text.size();
    std::size_t written = room;
    const KXResult result = KXEncConvert(task.text.data(), &read, task.from, target.data(),
                                         &written, task.to, task.substitution);
    Require(result == KX_S_OK || result == KX_E_ENC_INVALID || result == KX_E_FAIL ||
            result == KX_CO_E_INIT_CLASS_CACHE);
    Require(read <= task.text.size() && written <= room && target[room] == '#');
    return {result, read, target.substr(0, written)};
}

// Calls a step with a small target for as long as it is full.
template <typename Unit, typename Step>
KXResult Drain(std::basic_string<Unit>& out, Step&& step) {
    Unit units[3];
    for (;;) {
        Unit* target = units;
        const KXResult result = step(&target, std::end(units));
        out.append(units, target);
        if (result != KX_CO_E_INIT_CLASS_CACHE) return result;
        Require(target == std::end(units));
    }
}

KXResult ReadInPieces(const Task& task, std::u16string& wide) {
    const KXEncHandle handle = KXEncToW_Open(task.from);
    KXResult result = KXEncToW_SetSubstitutionChar(handle, task.substitution);
    const char* source = task.text.data();
    const char* const end = source + task.text.size();
    while (result >= 0 && source < end) {
        const char* const limit =
            source +
            std::min<std::ptrdiff_t>(static_cast<std::ptrdiff_t>(task.piece), end - source);
        result = Drain(wide, [&](char16_t** target, const char16_t* targetLimit) {
            return KXEncToW_Convert(handle, &source, limit, target, targetLimit);
        });
    }
    if (result >= 0) {
        result = Drain(wide, [&](char16_t** target, const char16_t* targetLimit) {
            return KXEncToW_Flush(handle, target, targetLimit);
        });
    }
    KXEncToW_Close(handle);
    return result;
}

KXResult WriteInPieces(const Task& task, const std::u16string& wide, std::string& text) {
    const KXEncHandle handle = KXEncFromW_Open(task.to);
    KXResult result = KXEncFromW_SetSubstitutionChar(handle, task.substitution);
    const char16_t* source = wide.data();
    const char16_t* const end = source + wide.size();
    while (result >= 0 && source < end) {
        const char16_t* const limit =
            source +
            std::min<std::ptrdiff_t>(static_cast<std::ptrdiff_t>(task.piece), end - source);
        result = Drain(text, [&](char** target, const char* targetLimit) {
            return KXEncFromW_Convert(handle, &source, limit, target, targetLimit);
        });
    }
    if (result >= 0) {
        result = Drain(text, [&](char** target, const char* targetLimit) {
            return KXEncFromW_Flush(handle, target, targetLimit);
        });
    }
    KXEncFromW_Close(handle);
    return result;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 4) return 0;
    const Task task{kEncodings[data[0] % std::size(kEncodings)],
                    kEncodings[data[1] % std::size(kEncodings)],
                    kSubstitutions[data[2] % std::size(kSubstitutions)],
                    data[3] % 8u + 1,
                    {data + 4, data + size}};
    const Answer whole = AtOnce(task, task.text.size() * 32 + 64);
    Require(whole.result != KX_CO_E_INIT_CLASS_CACHE);
    if (whole.result != KX_S_OK) {
        std::u16string wide;
        std::string text;
        const KXResult read = ReadInPieces(task, wide);
        Require(read < 0 || WriteInPieces(task, wide, text) < 0);
        return 0;
    }
    Require(whole.read == task.text.size());

    // ICU may take a target for full behind a substitute that fills it to the last byte.
    const Answer ample = AtOnce(task, whole.text.size() + 1);
    Require(ample.result == KX_S_OK && ample.text == whole.text);
    const Answer less = AtOnce(task, whole.text.size() / 2);
    Require(less.text == whole.text.substr(0, whole.text.size() / 2));
    Require(whole.text.empty() || less.result == KX_CO_E_INIT_CLASS_CACHE);

    std::u16string wide;
    std::string text;
    Require(ReadInPieces(task, wide) == KX_S_OK);
    Require(WriteInPieces(task, wide, text) == KX_S_OK);
    Require(text == whole.text);
    return 0;
}
