// Alerts that reach their real ends: the debug output and the event log.
#include <kxcore7/alert.h>
#include <windows.h>

#include <string>
#include <vector>

#include "support/results.h"
#include "support/wine.h"

namespace {

// What debug output raises for a debugger when there is none to take it first: the wide text, or on
// some systems the narrow one only.
constexpr DWORD kWideDebugOutput = 0x4001000A;
constexpr DWORD kNarrowDebugOutput = 0x40010006;

std::vector<std::wstring> g_outputs;

std::wstring FromAnsi(const char* text) {
    wchar_t wide[1024];
    return MultiByteToWideChar(CP_ACP, 0, text, -1, wide, 1024) != 0 ? wide : L"<failed>";
}

LONG CALLBACK TakeOutput(EXCEPTION_POINTERS* raised) {
    const EXCEPTION_RECORD& record = *raised->ExceptionRecord;
    if (record.ExceptionCode == kWideDebugOutput) {
        g_outputs.emplace_back(reinterpret_cast<const wchar_t*>(record.ExceptionInformation[1]));
    } else if (record.ExceptionCode == kNarrowDebugOutput) {
        g_outputs.push_back(
            FromAnsi(reinterpret_cast<const char*>(record.ExceptionInformation[1])));
    } else {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    return EXCEPTION_CONTINUE_EXECUTION;
}

// Gathers the debug output of this process for the time of a scope.
class DebugOutput final {
  public:
    DebugOutput() : m_handler(AddVectoredExceptionHandler(1, TakeOutput)) { g_outputs.clear(); }
    ~DebugOutput() { RemoveVectoredExceptionHandler(m_handler); }
    DebugOutput(const DebugOutput&) = delete;
    DebugOutput& operator=(const DebugOutput&) = delete;

  private:
    void* const m_handler;
};

// The application log, read from its newest entry on.
class ApplicationLog final {
  public:
    ApplicationLog() : m_log(OpenEventLogW(nullptr, L"Application")) {}
    ~ApplicationLog() { CloseEventLog(m_log); }
    ApplicationLog(const ApplicationLog&) = delete;
    ApplicationLog& operator=(const ApplicationLog&) = delete;

    // The newest entries of the source, each one's texts in one string with bars between.
    std::vector<std::wstring> Newest(std::size_t count, const std::wstring& source) const {
        std::vector<std::wstring> found;
        std::vector<BYTE> buffer(0x10000);
        DWORD read = 0;
        DWORD needed = 0;
        while (found.size() < count &&
               ReadEventLogW(m_log, EVENTLOG_SEQUENTIAL_READ | EVENTLOG_BACKWARDS_READ, 0,
                             buffer.data(), static_cast<DWORD>(buffer.size()), &read, &needed)) {
            for (DWORD at = 0; at < read && found.size() < count;) {
                const auto* const record = reinterpret_cast<EVENTLOGRECORD*>(buffer.data() + at);
                const auto* const name = reinterpret_cast<const wchar_t*>(record + 1);
                if (name == source) found.push_back(Texts(*record));
                at += record->Length;
            }
        }
        return found;
    }

  private:
    static std::wstring Texts(const EVENTLOGRECORD& record) {
        const auto* text = reinterpret_cast<const wchar_t*>(reinterpret_cast<const BYTE*>(&record) +
                                                            record.StringOffset);
        std::wstring texts;
        for (WORD i = 0; i < record.NumStrings; ++i) {
            texts += text + std::wstring(L"|");
            text += wcslen(text) + 1;
        }
        return texts;
    }

    const HANDLE m_log;
};

}  // namespace

TEST(Alert, TraceGoesToTheDebugOutputInTwoPieces) {
    const DebugOutput output;
    KXTrace(u"caf\u00E9 %d\n", 7);
    ASSERT_EQ(2u, g_outputs.size());
    wchar_t prefix[16];
    swprintf(prefix, 16, L"[%#lx]", GetCurrentThreadId());
    EXPECT_EQ(prefix, g_outputs[0]);
    EXPECT_EQ(L"caf\u00E9 7\n", g_outputs[1]);
}

TEST(Alert, TraceOfTheLongestTextArrivesWhole) {
    const DebugOutput output;
    KXTrace(u"%s", std::u16string(600, u'\u00E9').c_str());
    ASSERT_EQ(2u, g_outputs.size());
    EXPECT_EQ(std::wstring(511, L'\u00E9'), g_outputs[1]);
}

TEST(Alert, EventLogTakesAMissingTitle) {
    KXErrorAlert(KX_ALERT_EVENTLOG, nullptr, u"100%% untitled");
    KXErrorAlert(KX_ALERT_EVENTLOG, u"Tank", u"%hs is \u00FCber %d", "level", 9);
}

TEST(Alert, EventLogReachesTheApplicationLog) {
    SKIP_UNDER_WINE("its event log keeps nothing");
    KXErrorAlert(KX_ALERT_EVENTLOG, u"Tank", u"%hs is \u00FCber %d", "level", 9);
    KXErrorAlert(KX_ALERT_EVENTLOG, nullptr, u"100%% untitled");
    EXPECT_EQ((std::vector<std::wstring>{L"|100% untitled|", L"Tank|level is \u00FCber 9|"}),
              ApplicationLog().Newest(2, L"Corvanite Services"));
}
