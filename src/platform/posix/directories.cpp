#include "platform/directories.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

#include "platform/posix/descriptor.h"
#include "platform/posix/error.h"
#include "platform/posix/utf8.h"

namespace kx::platform {
namespace {

// A search. It asks the system for entries itself: the C library's way takes a lock for each.
struct Search {
    Descriptor directory;
    std::size_t next = 0;  // in entries, up to end
    std::size_t end = 0;
    alignas(dirent64) char entries[32 * 1024];
};

Search& SearchOf(FindHandle find) {
    return *reinterpret_cast<Search*>(find);
}

FindHandle HandleOf(Search* search) {
    return reinterpret_cast<FindHandle>(search);
}

// Null with *error. A directory that was removed meanwhile is one that has no more entries.
const dirent64* NextOf(Search& search, NativeError* error) {
    if (search.next == search.end) {
        const ssize_t bytes =
            getdents64(search.directory.Get(), search.entries, sizeof search.entries);
        if (bytes <= 0) {
            *error = bytes == 0 || errno == ENOENT ? kNoMoreFiles : NativeErrorFromErrno(errno);
            return nullptr;
        }
        search.next = 0;
        search.end = static_cast<std::size_t>(bytes);
    }
    const auto* const entry = reinterpret_cast<const dirent64*>(search.entries + search.next);
    search.next += entry->d_reclen;
    return entry;
}

// The directory that a pattern searches whole. The root's path is nothing but its separator, of
// which the pattern has taken away the one that there was.
std::string DirectoryOf(std::u16string_view pattern) {
    if (pattern.ends_with(u'*')) pattern.remove_suffix(1);
    if (pattern.ends_with(u'\\')) pattern.remove_suffix(1);
    return pattern.empty() ? "/" : PathFromWide(pattern);
}

// What is there, whether a link leads to it or not; a link that leads nowhere is its own.
bool Look(int directory, const char* name, struct statx* out) {
    constexpr unsigned kWanted = STATX_BASIC_STATS | STATX_BTIME;
    if (statx(directory, name, AT_NO_AUTOMOUNT, kWanted, out) == 0) return true;
    return statx(directory, name, AT_NO_AUTOMOUNT | AT_SYMLINK_NOFOLLOW, kWanted, out) == 0;
}

std::uint64_t FileTime(const statx_timestamp& time) {
    constexpr std::int64_t kEpoch = 11'644'473'600;  // seconds from 1601 to 1970
    constexpr std::int64_t kUnitsPerSecond = 10'000'000;
    const std::int64_t seconds = time.tv_sec + kEpoch;
    if (seconds < 0 || seconds > INT64_MAX / kUnitsPerSecond - 1) return 0;
    return static_cast<std::uint64_t>(seconds * kUnitsPerSecond + time.tv_nsec / 100);
}

// All are looked at, whatever comes first: that takes no decisions, and so the processor does many
// at once.
bool IsAscii(std::string_view text) {
    unsigned char all = 0;
    for (const char c : text) all |= static_cast<unsigned char>(c);
    return all < 0x80;
}

// Nearly every name is ASCII alone.
void WriteName(std::string_view name, FoundEntry* entry) {
    constexpr std::size_t kMost = std::size(FoundEntry{}.name) - 1;
    name = name.substr(0, kMost);
    char16_t* out = entry->name;
    if (IsAscii(name)) {
        out = std::copy(name.begin(), name.end(), out);
    } else {
        // A unit takes a byte at least.
        const std::u16string wide = WideFromPath(name);
        out = std::copy(wide.begin(), wide.end(), out);
    }
    std::fill(out, std::end(entry->name), u'\0');
    std::fill(std::begin(entry->alternateName), std::end(entry->alternateName), u'\0');
}

void Describe(const struct statx& status, FoundEntry* entry) {
    entry->isDirectory = S_ISDIR(status.stx_mode);
    entry->isReadOnly = (status.stx_mode & 0222) == 0;
    // What a directory takes up is the file system's own affair.
    entry->size = entry->isDirectory ? 0 : status.stx_size;
    entry->accessTime = FileTime(status.stx_atime);
    entry->writeTime = FileTime(status.stx_mtime);
    entry->creationTime = (status.stx_mask & STATX_BTIME) != 0
                              ? FileTime(status.stx_btime)
                              : std::min(FileTime(status.stx_ctime), entry->writeTime);
}

// An entry of a directory whose names may be read and nothing else.
void DescribeUnseen(unsigned char type, FoundEntry* entry) {
    entry->isDirectory = type == DT_DIR;
    entry->isReadOnly = false;
    entry->size = 0;
    entry->creationTime = entry->accessTime = entry->writeTime = 0;
}

// Something of the name that is no directory is told from a path that leads nowhere.
NativeError ErrorOf(int error, const std::string& path) {
    struct stat status {};
    if (error == ENOTDIR && lstat(path.c_str(), &status) == 0) return kNotADirectory;
    return NativeErrorFromErrno(error);
}

}  // namespace

NativeError MakeDirectory(const char16_t* path) {
    return mkdir(PathFromWide(path).c_str(), 0777) == 0 ? kSuccess : NativeErrorFromErrno(errno);
}

NativeError DeleteDirectory(const char16_t* path) {
    const std::string name = PathFromWide(path);
    if (rmdir(name.c_str()) == 0) return kSuccess;
    const int error = errno;
    if (error == ENOTEMPTY || error == EEXIST) return kDirectoryNotEmpty;
    return ErrorOf(error, name);
}

NativeError StartFind(const char16_t* pattern, FindHandle* out, FoundEntry* entry) {
    const std::string path = DirectoryOf(pattern);
    auto search = std::make_unique_for_overwrite<Search>();
    if (!search->directory.Open(path.c_str(), O_RDONLY | O_DIRECTORY)) return ErrorOf(errno, path);
    const NativeError error = FindNext(HandleOf(search.get()), entry);
    if (error == kSuccess) *out = HandleOf(search.release());
    return error;
}

NativeError FindNext(FindHandle find, FoundEntry* entry) {
    Search& search = SearchOf(find);
    for (;;) {
        NativeError error = kSuccess;
        const dirent64* const next = NextOf(search, &error);
        if (next == nullptr) return error;
        struct statx status;
        if (Look(search.directory.Get(), next->d_name, &status)) {
            Describe(status, entry);
        } else if (errno == ENOENT) {
            continue;  // gone by now
        } else {
            DescribeUnseen(next->d_type, entry);
        }
        WriteName(next->d_name, entry);
        return kSuccess;
    }
}

void EndFind(FindHandle find) noexcept {
    delete &SearchOf(find);
}

}  // namespace kx::platform
