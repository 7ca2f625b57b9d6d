#include "platform/environment.h"

#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/posix/utf8.h"

namespace kx::platform {
namespace {

// Counts all units and keeps those that fit.
class BoundedText final {
  public:
    BoundedText(char16_t* out, std::size_t size) : m_out(out), m_size(size) {}

    void Put(std::u16string_view text) {
        for (const char16_t unit : text) {
            if (m_units < m_size) m_out[m_units] = unit;
            ++m_units;
        }
    }
    std::size_t Units() const { return m_units; }

  private:
    char16_t* const m_out;
    const std::size_t m_size;
    std::size_t m_units = 0;
};

// What %name% stands for; null where the environment has no such variable.
const char* Variable(std::u16string_view name) {
    return name.empty() ? nullptr : std::getenv(PathFromWide(name).c_str());
}

}  // namespace

bool HasVariable(const char* name) noexcept {
    return std::getenv(name) != nullptr;
}

// What stands between two percent signs and is no known variable stays as it is, signs and all: the
// second one begins nothing.
std::size_t ExpandEnvironment(const char16_t* text, char16_t* out, std::size_t size) {
    BoundedText expanded(out, size);
    std::u16string_view rest = text;
    while (!rest.empty()) {
        const std::size_t start = rest.find(u'%');
        expanded.Put(rest.substr(0, start));
        if (start == std::u16string_view::npos) break;
        rest.remove_prefix(start);
        const std::size_t end = rest.find(u'%', 1);
        if (end == std::u16string_view::npos) {
            expanded.Put(rest);
            break;
        }
        if (const char* const value = Variable(rest.substr(1, end - 1))) {
            expanded.Put(WideFromPath(value));
        } else {
            expanded.Put(rest.substr(0, end + 1));
        }
        rest.remove_prefix(end + 1);
    }
    expanded.Put(std::u16string_view(u"\0", 1));
    return expanded.Units();
}

}  // namespace kx::platform
