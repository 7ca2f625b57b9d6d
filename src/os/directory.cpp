#include "os/directory.h"

#include <kxcore7/calendar.h>
#include <kxcore7/result.h>

#include <cstring>

#include "frame/exception.h"
#include "platform/clock.h"

using namespace kx;
using platform::FoundEntry;

namespace kx::os {
namespace {

constexpr std::uint64_t kUnitsPerSecond = 10'000'000;
constexpr std::uint64_t kSecondsPerSpan = 30;
constexpr std::uint64_t kUnitsPerSpan = kSecondsPerSpan * kUnitsPerSecond;

std::int32_t Convert(std::uint64_t fileTime) {
    KXTimeRecord local;
    if (!platform::LocalTimeFromFileTime(fileTime, &local)) return 0;
    std::int32_t seconds = 0;
    KXTimeToPosix(&local, &seconds);
    return seconds;
}

}  // namespace

std::u16string SearchPattern(std::u16string_view path) {
    if (path.ends_with(u':')) return std::u16string(path) + u'*';
    const std::size_t last = path.find_last_not_of(u"/\\");
    return std::u16string(path.substr(0, last + 1)) + u"\\*";
}

std::int32_t FileTimes::Seconds(std::uint64_t fileTime) {
    const std::uint64_t number = fileTime / kUnitsPerSpan;
    Span& span = m_spans[number % kSpans];
    if (span.number != number) span = {number, Convert(number * kUnitsPerSpan)};
    // At the ends of what the seconds can hold, and below, there is nothing to count from.
    if (span.seconds <= 0 || span.seconds > INT32_MAX - static_cast<int>(kSecondsPerSpan)) {
        return Convert(fileTime);
    }
    return span.seconds + static_cast<std::int32_t>(fileTime % kUnitsPerSpan / kUnitsPerSecond);
}

}  // namespace kx::os

namespace {

CKXDirImpl& DirectoryOf(KXDirHandle handle) {
    return *reinterpret_cast<CKXDirImpl*>(handle);
}

// So that a directory that is missing or may not be read shows before the first entry is asked for.
platform::NativeError Probe(const std::u16string& pattern) {
    platform::FindHandle find = platform::kNoFind;
    FoundEntry entry;
    const auto error = platform::StartFind(pattern.c_str(), &find, &entry);
    if (error == platform::kSuccess) platform::EndFind(find);
    return error;
}

platform::NativeError Find(CKXDirImpl& directory, FoundEntry* found) {
    if (directory.m_find != platform::kNoFind) {
        return platform::FindNext(directory.m_find, found);
    }
    return platform::StartFind(directory.m_pattern.c_str(), &directory.m_find, found);
}

std::uint32_t ModeOf(const FoundEntry& found) {
    return KX_DIR_MODE_READ | (found.isReadOnly ? 0u : KX_DIR_MODE_WRITE) |
           (found.isDirectory ? KX_DIR_MODE_DIRECTORY : 0u);
}

void Fill(KXDirEntry* entry, const FoundEntry& found, os::FileTimes* times) {
    static_assert(sizeof entry->name == sizeof found.name &&
                  sizeof entry->alternateName == sizeof found.alternateName);
    std::memcpy(entry->name, found.name, sizeof entry->name);
    std::memcpy(entry->alternateName, found.alternateName, sizeof entry->alternateName);
    entry->mode = ModeOf(found);
    entry->sizeHigh = static_cast<std::uint32_t>(found.size >> 32);
    entry->sizeLow = static_cast<std::uint32_t>(found.size);
    entry->creationTime = times->Seconds(found.creationTime);
    entry->accessTime = times->Seconds(found.accessTime);
    entry->writeTime = times->Seconds(found.writeTime);
}

}  // namespace

KXResult KXDirCreate(const char16_t* path, uint32_t /*mode*/) {
    return core::Guarded(
        [&] { return KXResultFromNative(platform::MakeDirectory(path != nullptr ? path : u"")); });
}

KXResult KXDirRemove(const char16_t* path) {
    return core::Guarded([&] {
        return KXResultFromNative(platform::DeleteDirectory(path != nullptr ? path : u""));
    });
}

KXResult KXDirOpen(const char16_t* path, KXDirHandle* out) {
    *out = KX_INVALID_HANDLE;
    if (path == nullptr) return KX_ERROR_FILE_NOT_FOUND;
    return core::Guarded([&] {
        const std::u16string pattern = os::SearchPattern(path);
        core::ThrowIfNativeError(Probe(pattern));
        *out = reinterpret_cast<KXDirHandle>(new CKXDirImpl{pattern, platform::kNoFind, {}});
        return KX_S_OK;
    });
}

KXResult KXDirRead(KXDirHandle directory, KXDirEntry* entry, uint32_t /*reserved*/) {
    return core::Guarded([&] {
        CKXDirImpl& listing = DirectoryOf(directory);
        FoundEntry found;
        core::ThrowIfNativeError(Find(listing, &found));
        Fill(entry, found, &listing.m_times);
        return KX_S_OK;
    });
}

KXResult KXDirClose(KXDirHandle directory) {
    CKXDirImpl& listing = DirectoryOf(directory);
    if (listing.m_find != platform::kNoFind) platform::EndFind(listing.m_find);
    delete &listing;
    return KX_S_OK;
}
