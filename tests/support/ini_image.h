// The image of an INI file, as a test sees it.
#ifndef KXCORE7_TESTS_SUPPORT_INI_IMAGE_H
#define KXCORE7_TESTS_SUPPORT_INI_IMAGE_H

#include <string>

#include "registry/ini_file.h"

namespace kx::test {

// "[section]{name|text}{name|text}[section]...".
inline std::u16string ImageOf(const IniFile& file) {
    std::u16string out;
    for (const auto& [section, values] : file.Image()) {
        out.append(u"[").append(section).append(u"]");
        for (const auto& [name, text] : values) {
            out.append(u"{").append(name).append(u"|").append(text).append(u"}");
        }
    }
    return out;
}

// The text of a value, or "<none>".
inline std::u16string TextIn(IniFile& file, const std::u16string& section,
                             const std::u16string& name) {
    char16_t text[4096];
    return file.GetValue(section.c_str(), name.c_str(), text) == KX_S_OK ? text : u"<none>";
}

}  // namespace kx::test

#endif
