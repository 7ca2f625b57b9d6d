#include "options.h"

#include <algorithm>

namespace {

bool IsOneOf(const std::vector<std::string>& options, const std::string& option) {
    return std::find(options.begin(), options.end(), option) != options.end();
}

}  // namespace

Options::Options(int argc, char** argv, const std::vector<std::string>& flags,
                 const std::vector<std::string>& withWord) {
    const std::vector<std::string> all(argv + 1, argv + argc);
    for (auto at = all.begin(); at != all.end(); ++at) {
        if (*at == "--") {
            m_words.insert(m_words.end(), at + 1, all.end());
            return;
        }
        if (at->compare(0, 2, "--") != 0) {
            m_words.push_back(*at);
            continue;
        }
        const size_t equals = at->find('=');
        const std::string option = at->substr(0, equals);
        const bool hasWord = equals != std::string::npos;
        if (IsOneOf(flags, option) && !hasWord) {
            m_options[option];
        } else if (!IsOneOf(withWord, option)) {
            throw UsageError("no such option: " + *at);
        } else if (hasWord) {
            m_options[option] = at->substr(equals + 1);
        } else if (at + 1 != all.end()) {
            m_options[option] = *++at;
        } else {
            throw UsageError("something is missing behind " + option);
        }
    }
}

std::string Options::WordOf(const std::string& option, const std::string& none) const {
    const auto found = m_options.find(option);
    return found != m_options.end() ? found->second : none;
}
