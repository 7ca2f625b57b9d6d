// The registry in the words of this program: keys, values and their errors.
#ifndef KXREG_REGISTRY_H
#define KXREG_REGISTRY_H

#include <kxcore7/registry.h>
#include <kxcore7/result.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

// A call that failed, in words and with its code.
class RegistryError : public std::runtime_error {
  public:
    RegistryError(const std::string& what, KXResult result);
    KXResult Result() const { return m_result; }

  private:
    const KXResult m_result;
};

struct Key {
    std::uint32_t root = 0;
    std::u16string path;

    Key Child(const std::u16string& name) const;
    // The last component, or the root's name.
    std::u16string Name() const;
};

struct Root {
    std::uint32_t number;
    const char16_t* name;
};
const std::vector<Root>& AllRoots();

// "KX_HKEY_USER\Software", "USER\Software". Throws UsageError for an unknown root.
Key KeyFromText(const std::string& text);
std::u16string TextOf(const Key& key);

struct Value {
    std::uint32_t type = KX_REG_SZ;
    std::vector<unsigned char> data;
};

Value ReadValue(const Key& key, const std::u16string& name);
void WriteValue(const Key& key, const std::u16string& name, const Value& value);
void DeleteValue(const Key& key, const std::u16string& name);
// With all that is under it.
void DeleteKey(const Key& key);

// Both throw for a key that is missing.
std::vector<std::u16string> SubkeyNames(const Key& key);
std::vector<std::u16string> ValueNames(const Key& key);

void Migrate(std::uint32_t source, std::uint32_t destination);

#endif
