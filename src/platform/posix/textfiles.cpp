#include "platform/textfiles.h"

#include <cstring>
#include <memory>
#include <new>
#include <string>

namespace kx::platform {
namespace {

// A line with CR at its end: on the stack while it is short, nowhere when memory is exhausted.
class LineWithReturn final {
  public:
    explicit LineWithReturn(const char16_t* line) noexcept {
        const std::size_t length = std::char_traits<char16_t>::length(line);
        if (length + 2 > kShort) {
            m_heap.reset(new (std::nothrow) char16_t[length + 2]);
            m_text = m_heap.get();
        }
        if (m_text == nullptr) return;
        std::memcpy(m_text, line, length * sizeof *line);
        m_text[length] = u'\r';
        m_text[length + 1] = 0;
    }
    const char16_t* Get() const { return m_text; }

  private:
    static constexpr std::size_t kShort = 512;
    char16_t m_short[kShort];
    std::unique_ptr<char16_t[]> m_heap;
    char16_t* m_text = m_short;
};

}  // namespace

// ICU ends a line in LF alone here, so that the text brings its CR along.
std::int32_t PutLine(const char16_t* line, UFILE* file) noexcept {
    const LineWithReturn whole(line);
    return whole.Get() != nullptr ? u_fputs(whole.Get(), file) : 0;
}

}  // namespace kx::platform
