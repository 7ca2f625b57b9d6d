#include "narrator.h"

#include <kxcore7/result.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace {

struct Meaning {
    KXResult result;
    const char* words;
};

constexpr Meaning kMeanings[] = {
    {KX_S_OK, "success"},
    {KX_E_NOTIMPL, "not supported"},
    {KX_E_FAIL, "failed"},
    {KX_CO_E_INIT_TLS, "module not announced"},
    {KX_REGDB_E_CLASSNOTREG, "class not registered"},
    {KX_ERROR_FILE_NOT_FOUND, "not found"},
    {KX_E_ACCESSDENIED, "access denied"},
    {KX_E_HANDLE, "bad handle"},
    {KX_E_OUTOFMEMORY, "out of memory"},
    {KX_E_INVALIDARG, "bad argument"},
};

const char* WordsOf(KXResult result) {
    for (const Meaning& meaning : kMeanings) {
        if (meaning.result == result) return meaning.words;
    }
    return "unknown code";
}

std::string Describe(KXResult result) {
    char code[sizeof "0x00000000"];
    std::snprintf(code, sizeof code, "0x%08X", static_cast<unsigned>(result));
    return std::string(code) + " " + WordsOf(result);
}

}  // namespace

void Narrator::Step(int number, const char* title) {
    m_number = number;
    std::printf("\n(%d) %s\n", number, title);
}

void Narrator::Note(const std::string& text) const {
    std::printf("    -> %s\n", text.c_str());
}

void Narrator::Note(const std::string& text, bool asItShouldBe) const {
    Note(text);
    if (!asItShouldBe) throw std::runtime_error("step " + std::to_string(m_number) + ": " + text);
}

double Narrator::Microseconds(int64_t ticks) {
    // A call shorter than a tick took no more than one.
    const int64_t counted = std::max<int64_t>(ticks, 1);
    return 1e6 * static_cast<double>(counted) / static_cast<double>(KXPerfGetFreq());
}

void Narrator::TellResult(const std::string& what, KXResult result, double microseconds) {
    std::printf("    %-38s %-31s %10.1f us\n", what.c_str(), Describe(result).c_str(),
                microseconds);
}

void Narrator::Fail(const std::string& what, KXResult expected, KXResult result) const {
    throw std::runtime_error("step " + std::to_string(m_number) + ", " + what + ": " +
                             Describe(result) + ", expected " + Describe(expected));
}
