// The words of a command line: those that begin with two dashes are options, in any place; behind
// "--" nothing is one.
#ifndef KXREG_OPTIONS_H
#define KXREG_OPTIONS_H

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

// A command line that means nothing.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

class Options final {
  public:
    // Throws UsageError for an unknown option, and for one that lacks its word.
    Options(int argc, char** argv, const std::vector<std::string>& flags,
            const std::vector<std::string>& withWord);

    bool Has(const std::string& option) const { return m_options.count(option) != 0; }
    // The word behind an option ("--type dword", "--type=dword"), or what stands for none.
    std::string WordOf(const std::string& option, const std::string& none) const;
    // What is no option.
    const std::vector<std::string>& Words() const { return m_words; }

  private:
    std::map<std::string, std::string> m_options;
    std::vector<std::string> m_words;
};

#endif
