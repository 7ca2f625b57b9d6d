// The registry in a text file: sections of values, all text. This is the file's image in memory and
// the rules that keep it in step with the disk and with other processes.
//
//   [KX_HKEY_CONFIG\Software\Sample]     a section begins with its name
//   CacheSize=128                        a value: name, text
//   Home = C:\data                       blanks around either go
//                                        a line that begins with white space ends the section
//   # anything else between sections is passed over
//
// The blank line carries meaning: nothing else ends a section but the end of the file. Inside a
// section there are no comments; a line without "=" there is the end of what is read, and takes its
// section with it. Nothing is escaped. Text is in the encoding of the process's locale.
//
// Every operation takes the lock that all processes share, reads the file again if it has become
// newer, and writes all of it if something changed. A file is newer if it is so by whole seconds: a
// change by others in the second of the last look is not seen, and is overwritten by the next
// write. There is no journal and no backup: a process that dies while it writes leaves a file that
// is cut short.
#ifndef KXCORE7_SRC_REGISTRY_INI_FILE_H
#define KXCORE7_SRC_REGISTRY_INI_FILE_H

#include <kxcore7/result.h>
#include <kxcore7/semaphore.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "locks/handle.h"

// Names as they compare: without case, by the process's locale, unit by unit as unsigned numbers,
// the shorter first.
struct NoCaseLess {
    using is_transparent = void;
    bool operator()(std::u16string_view left, std::u16string_view right) const;
};

class IniFile {
  public:
    using Values = std::map<std::u16string, std::u16string, NoCaseLess>;
    using Sections = std::map<std::u16string, Values, NoCaseLess>;

    // Opens the lock and loads the file; null is the empty path. Throws if the lock can't be had.
    explicit IniFile(const char16_t* path);
    // Neither writes nor locks.
    virtual ~IniFile() = default;
    IniFile(const IniFile&) = delete;
    IniFile& operator=(const IniFile&) = delete;

    // --- Taking the lock; they throw if it can't be had or given back ----------------------------

    // 0 stored; -1 the value exists and is not to be replaced. Whether the file could be written is
    // not told.
    int SetValue(const char16_t* section, const char16_t* name, const char16_t* text,
                 bool overwrite);
    // Copies the text with its terminator, however long. KX_ERROR_FILE_NOT_FOUND.
    KXResult GetValue(const char16_t* section, const char16_t* name, char16_t* out);

    // Holds the lock for a scope.
    class Lock final {
      public:
        explicit Lock(KXSemaphoreHandle lock);
        ~Lock();
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;
        // Gives it back before the end of the scope, and throws if that fails.
        void Release();

      private:
        KXSemaphoreHandle m_lock;
    };

    // The same, over an image that is in step with the file.
    class Turn final {
      public:
        explicit Turn(IniFile& file) : m_lock(file.m_fileLock.Get()) { file.Refresh(); }
        void End() { m_lock.Release(); }

      private:
        Lock m_lock;
    };

    // --- For those who hold it -------------------------------------------------------------------

    // Reads the file into an image that is empty before; a file that can't be opened is empty.
    // Always 0.
    int Load();
    // Writes the image, to the file unless a path is given. 1 if that can't be opened, otherwise 0.
    int Save(const char16_t* path);
    // Loads the file if it has become newer. One that is gone leaves the image as it is.
    void Refresh();

    bool HasValue(const char16_t* section, const char16_t* name) const;
    std::vector<std::u16string> GetSections() const;
    // The names at a path or below. Case counts here.
    std::vector<std::u16string> GetSectionsUnder(const char16_t* path) const;
    // Whether there is a section of that name, or below it; there case counts.
    bool HasSection(const char16_t* path) const;
    const Sections& Image() const { return m_sections; }

  private:
    const std::u16string* Find(const char16_t* section, const char16_t* name) const;

    // The named semaphore that all files of all processes share, whatever their path.
    kx::core::OwnedHandle<KXNamedSemClose> m_fileLock;
    std::u16string m_path;
    Sections m_sections;
    // Seconds since 1970; 0 before the first look.
    std::int64_t m_lastModified = 0;
};

// A walk over names that were taken at its start, under the lock: what happens to the file later,
// or to the object, does not show in it.
class IniFileIteratorBase {
  public:
    explicit IniFileIteratorBase(const char16_t* path) : m_path(path) {}
    virtual ~IniFileIteratorBase() = default;
    IniFileIteratorBase(const IniFileIteratorBase&) = delete;
    IniFileIteratorBase& operator=(const IniFileIteratorBase&) = delete;

    virtual std::u16string GetPath() const { return m_path; }
    // Throws KX_ERROR_HANDLE_EOF at the end.
    virtual std::u16string Next() = 0;
    virtual bool HasNext() const = 0;

  private:
    const std::u16string m_path;
};

class IniFileNameIterator : public IniFileIteratorBase {
  public:
    using IniFileIteratorBase::IniFileIteratorBase;
    std::u16string Next() final;
    bool HasNext() const final { return m_current != m_names.size(); }

  protected:
    std::vector<std::u16string> m_names;

  private:
    std::size_t m_current = 0;
};

// The keys right below a path, in the order of their units; case counts throughout. None is no
// failure.
class IniFileSetIterator final : public IniFileNameIterator {
  public:
    IniFileSetIterator(IniFile& file, const char16_t* path);
};

// The names of a section's values, in the order of the image. Throws KX_ERROR_FILE_NOT_FOUND where
// neither the section is nor one below it.
class IniFileKeyIterator final : public IniFileNameIterator {
  public:
    IniFileKeyIterator(IniFile& file, const char16_t* section);
};

#endif
