#include "platform/posix/registry_names.h"

#include <locale.h>
#include <wctype.h>

#include <algorithm>
#include <cstddef>

#include "platform/posix/utf8.h"

namespace kx::platform {
namespace {

constexpr std::size_t kMaxComponent = 255;
constexpr std::size_t kMaxValueName = 16383;
constexpr std::ptrdiff_t kMaxDepth = 512;

// The C library's own table, the same under every locale of the process.
locale_t FoldingLocale() {
    static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return locale;
}

// Upper case, a unit for a unit. No other unit becomes an ASCII one, so that an ASCII name has
// ASCII spellings only.
char16_t Fold(char16_t unit, locale_t locale) {
    if (unit < 0x80) {
        return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 0x20) : unit;
    }
    const wint_t upper = towupper_l(unit, locale);
    return upper >= 0x80 && upper <= 0xFFFF ? static_cast<char16_t>(upper) : unit;
}

// Without the table a store would be read and written by other rules than its own.
NativeError AppendFolded(std::string& folded, std::u16string_view name) {
    const bool ascii =
        std::all_of(name.begin(), name.end(), [](char16_t unit) { return unit < 0x80; });
    if (ascii) {
        for (const char16_t unit : name) folded += static_cast<char>(Fold(unit, nullptr));
        return kSuccess;
    }
    const locale_t locale = FoldingLocale();
    if (locale == nullptr) return kNotReady;
    std::u16string upper(name);
    for (char16_t& unit : upper) unit = Fold(unit, locale);
    folded += Utf8FromUtf16(upper);
    return kSuccess;
}

}  // namespace

std::u16string_view TakeComponent(std::u16string_view& path) {
    path.remove_prefix(std::min(path.find_first_not_of(u'\\'), path.size()));
    const std::u16string_view component = path.substr(0, path.find(u'\\'));
    path.remove_prefix(component.size());
    return component;
}

NativeError AppendFoldedPath(std::string& folded, std::u16string_view path) {
    if (path.starts_with(u'\\')) return kBadPathName;
    folded.reserve(folded.size() + path.size() + 1);
    std::ptrdiff_t depth = std::count(folded.begin(), folded.end(), '\\');
    for (;;) {
        const std::u16string_view component = TakeComponent(path);
        if (component.empty()) return kSuccess;
        if (component.size() > kMaxComponent || ++depth > kMaxDepth) return kInvalidParameter;
        folded += '\\';
        if (const NativeError error = AppendFolded(folded, component); error != kSuccess) {
            return error;
        }
    }
}

NativeError FoldValueName(std::string& folded, std::u16string_view name) {
    if (name.size() > kMaxValueName) return kInvalidParameter;
    return AppendFolded(folded, name);
}

}  // namespace kx::platform
