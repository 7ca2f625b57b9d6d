#include <kxcore7/file.h>
#include <kxcore7/result.h>

#include <memory>
#include <new>

#include "frame/exception.h"
#include "frame/global_data.h"
#include "platform/files.h"

using namespace kx;
using platform::Disposition;
using platform::NativeError;

namespace {

constexpr std::uint32_t kHowToOpen = KX_FILE_CREATE | KX_FILE_TRUNCATE | KX_FILE_EXCLUSIVE;
constexpr std::uint32_t kWritePermissions = 0222;
constexpr KXResult kIsNew = 2;
constexpr std::uint32_t kCopiedAtOnce = 16'384;

// Exclusiveness without creation has no meaning, and no disposition.
Disposition DispositionOf(std::uint32_t flags) {
    switch (flags & kHowToOpen) {
        case 0:
            return Disposition::openExisting;
        case KX_FILE_CREATE:
            return Disposition::openAlways;
        case KX_FILE_TRUNCATE:
            return Disposition::truncateExisting;
        case KX_FILE_CREATE | KX_FILE_TRUNCATE:
            return Disposition::createAlways;
        case KX_FILE_CREATE | KX_FILE_EXCLUSIVE:
        case kHowToOpen:
            return Disposition::createNew;
        default:
            return Disposition::none;
    }
}

bool MayBeNew(Disposition disposition) {
    return disposition == Disposition::openAlways || disposition == Disposition::createAlways;
}

bool IsEmpty(const char16_t* path) {
    return path == nullptr || *path == 0;
}

KXResult Open(const char16_t* path, std::uint32_t flags, std::uint32_t permissions,
              KXFileHandle* out) {
    platform::OpenRequest request;
    request.read = (flags & KX_FILE_READ) != 0;
    request.write = (flags & KX_FILE_WRITE) != 0;
    request.temporary = (flags & KX_FILE_TEMPORARY) != 0;
    request.writeThrough = (flags & KX_FILE_WRITE_THROUGH) != 0;
    // By the flags as passed: a temporary file is created without them as well, and then writable.
    if ((flags & KX_FILE_CREATE) != 0) {
        request.readOnly = (permissions & kWritePermissions) == 0;
        request.permissions = permissions;
    }

    char16_t fresh[platform::kTemporaryPathSize];
    std::uint32_t how = flags;
    if (request.temporary && IsEmpty(path)) {
        platform::MakeTemporaryFile(fresh);
        path = fresh;
        how &= ~kHowToOpen;
    } else if (request.temporary) {
        how |= KX_FILE_CREATE;
    }
    request.disposition = DispositionOf(how);

    bool existed = true;
    const NativeError error =
        platform::OpenFile(path != nullptr ? path : u"", request, out, &existed);
    if (error != platform::kSuccess) return KXResultFromNative(error);
    if ((flags & KX_FILE_APPEND) != 0) {
        std::uint64_t end = 0;
        const NativeError lost = platform::Seek(*out, 0, KX_FILE_END, &end);
        if (lost != platform::kSuccess) return KXResultFromNative(lost);
    }
    return MayBeNew(request.disposition) && !existed ? kIsNew : KX_S_OK;
}

bool IsNt() {
    return core::g_data.isNt != 0;
}

// The loop of a copy: reads that fail are ends.
KXResult CopyBytes(KXFileHandle from, KXFileHandle to, void* buffer) {
    for (;;) {
        std::uint32_t count = 0;
        KXFileRead(from, buffer, kCopiedAtOnce, &count);
        if (count == 0) return KX_S_OK;
        std::uint32_t written = 0;
        const KXResult result = KXFileWrite(to, buffer, count, &written);
        if (written != count) return KX_E_FAIL;
        if (result < 0) return result;
    }
}

// The open files are the caller's again where there is no memory for the buffer: he can't be told
// their handles, which is a loss that callers have learnt to live with.
KXResult CopyOpened(KXFileHandle from, KXFileHandle to, KXFileHandle* out) {
    const std::unique_ptr<char[]> buffer(new (std::nothrow) char[kCopiedAtOnce]);
    if (buffer == nullptr) return KX_E_OUTOFMEMORY;
    const KXResult result = CopyBytes(from, to, buffer.get());
    if (out != nullptr && result == KX_S_OK) {
        *out = to;
    } else {
        KXFileClose(to);
    }
    KXFileClose(from);
    return result;
}

}  // namespace

KXResult KXFileOpen(const char16_t* path, uint32_t flags, uint32_t permissions, KXFileHandle* out) {
    *out = KX_INVALID_HANDLE;
    return core::Guarded([&] { return Open(path, flags, permissions, out); });
}

KXResult KXFileClose(KXFileHandle file) {
    return KXResultFromNative(platform::CloseFile(file));
}

KXResult KXFileRead(KXFileHandle file, void* buffer, uint32_t count, uint32_t* read) {
    const NativeError error = platform::ReadFrom(file, buffer, count, read);
    if (error != platform::kSuccess) return KXResultFromNative(error);
    return *read != 0 ? KX_S_OK : KX_ERROR_HANDLE_EOF;
}

KXResult KXFileWrite(KXFileHandle file, const void* buffer, uint32_t count, uint32_t* written) {
    return KXResultFromNative(platform::WriteTo(file, buffer, count, written));
}

KXResult KXFileSeek(KXFileHandle file, int32_t distance, uint32_t origin, uint32_t* position) {
    *position = 0xFFFFFFFF;
    return KXResultFromNative(platform::SeekShort(file, distance, origin, position));
}

KXResult KXFileSeek64(KXFileHandle file, uint32_t distanceLow, uint32_t distanceHigh,
                      uint32_t origin, uint64_t* position) {
    *position = 0;
    const auto distance =
        static_cast<std::int64_t>(std::uint64_t{distanceHigh} << 32 | distanceLow);
    return KXResultFromNative(platform::Seek(file, distance, origin, position));
}

KXResult KXFileGetSize(KXFileHandle file, uint64_t* size) {
    if (!IsNt()) return KX_E_NOTIMPL;
    return KXResultFromNative(platform::QuerySize(file, size));
}

KXResult KXFileLock(KXFileHandle file, uint32_t offset, uint32_t length, uint32_t how) {
    const platform::LockRequest request{(how & KX_FILE_LOCK_SHARED) != 0,
                                        (how & KX_FILE_LOCK_WAIT) != 0};
    return KXResultFromNative(IsNt() ? platform::LockRange(file, offset, length, request)
                                     : platform::LockRangePlainly(file, offset, length));
}

KXResult KXFileUnlock(KXFileHandle file, uint32_t offset, uint32_t length) {
    return KXResultFromNative(IsNt() ? platform::UnlockRange(file, offset, length)
                                     : platform::UnlockRangePlainly(file, offset, length));
}

KXResult KXFileFlush(KXFileHandle file) {
    return KXResultFromNative(platform::FlushFile(file));
}

KXResult KXFileDelete(const char16_t* path) {
    return core::Guarded(
        [&] { return KXResultFromNative(platform::RemoveFile(path != nullptr ? path : u"")); });
}

KXResult KXFileCopy(const char16_t* source, const char16_t* destination, uint32_t flags,
                    uint32_t permissions, KXFileHandle* out) {
    if (out != nullptr) *out = KX_INVALID_HANDLE;
    KXFileHandle from = KX_INVALID_HANDLE;
    if (const KXResult result = KXFileOpen(source, KX_FILE_READ, 0, &from); result < 0) {
        return result;
    }
    KXFileHandle to = KX_INVALID_HANDLE;
    if (const KXResult result = KXFileOpen(destination, flags | KX_FILE_WRITE, permissions, &to);
        result < 0) {
        KXFileClose(from);
        return result;
    }
    return CopyOpened(from, to, out);
}

KXResult KXPathExpand(const char16_t* path, char16_t* buffer, uint32_t size) {
    return core::Guarded([&] {
        return KXResultFromNative(platform::ExpandPath(path != nullptr ? path : u"", buffer, size));
    });
}
