#include "platform/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

#include "platform/posix/descriptor.h"
#include "platform/posix/error.h"
#include "platform/posix/mappings.h"
#include "platform/posix/paths.h"
#include "platform/posix/temporary_files.h"
#include "platform/posix/utf8.h"

namespace kx::platform {
namespace {

constexpr NativeError kInvalidName = 123;

// The system has one number for a descriptor that is none and one without the access it takes.
NativeError ErrorOf(int descriptor) {
    const int error = errno;
    if (error == EBADF && fcntl(descriptor, F_GETFL) >= 0) return kAccessDenied;
    return NativeErrorFromErrno(error);
}

// --- Opening -------------------------------------------------------------------------------------

// The access that grants neither reading nor writing and is good for all else.
constexpr int kNoAccess = O_WRONLY | O_RDWR;

int AccessOf(const OpenRequest& request) {
    if (request.read && request.write) return O_RDWR;
    if (request.read) return O_RDONLY;
    return request.write ? O_WRONLY : kNoAccess;
}

mode_t ModeOf(const OpenRequest& request) {
    const mode_t most = request.readOnly ? 0444 : 0666;
    return most & (request.permissions | 0600);
}

// One opening, from the request to the descriptor.
class Opening final {
  public:
    Opening(const char16_t* path, const OpenRequest& request)
        : m_path(PathFromWide(path)),
          m_request(request),
          m_flags(AccessOf(request) | (request.writeThrough ? O_DSYNC : 0)) {}

    NativeError Run() {
        switch (m_request.disposition) {
            case Disposition::openExisting:
                return OpenExisting();
            case Disposition::truncateExisting:
                return m_request.write ? OpenExisting() : kInvalidParameter;
            case Disposition::createNew:
                return Create() ? Finish() : errno == EEXIST ? kFileExists : Failure();
            case Disposition::openAlways:
            case Disposition::createAlways:
                return OpenOrCreate();
            case Disposition::none:
                break;
        }
        return kInvalidParameter;
    }

    bool HasCreated() const { return m_created; }
    FileHandle Take() { return static_cast<FileHandle>(m_file.Take()); }

  private:
    static NativeError Failure() { return NativeErrorFromErrno(errno); }

    // Without access a file may be had all the same that could neither be read nor written.
    bool Find() {
        if (m_file.Open(m_path.c_str(), m_flags)) return true;
        return errno == EACCES && (m_flags & O_ACCMODE) == kNoAccess &&
               m_file.Open(m_path.c_str(), O_PATH);
    }
    bool Create() {
        m_created = m_file.Open(m_path.c_str(), m_flags | O_CREAT | O_EXCL, ModeOf(m_request));
        return m_created;
    }

    NativeError OpenExisting() { return Find() ? Finish() : Failure(); }

    // Others may create and delete the file meanwhile. A link that leads nowhere is there and is
    // not; what it leads to is created.
    NativeError OpenOrCreate() {
        for (int tries = 0; tries < 16; ++tries) {
            if (Find()) return Finish();
            if (errno != ENOENT) return Failure();
            if (Create()) return Finish();
            if (errno != EEXIST) return Failure();
        }
        m_created = m_file.Open(m_path.c_str(), m_flags | O_CREAT, ModeOf(m_request));
        return m_created ? Finish() : Failure();
    }

    NativeError Finish() {
        const NativeError error = m_created ? GiveToOwner() : Admit();
        if (error != kSuccess || !m_request.temporary) return error;
        return KeepTemporaryFile(m_file.Get(), m_path) ? kSuccess : kGenericFailure;
    }

    // What the process takes off every new file does not count for its owner.
    NativeError GiveToOwner() const {
        const mode_t owners = m_request.readOnly ? 0400 : 0600;
        struct stat status {};
        if (fstat(m_file.Get(), &status) != 0) return Failure();
        if ((status.st_mode & owners) == owners) return kSuccess;
        return fchmod(m_file.Get(), (status.st_mode | owners) & 0777) == 0 ? kSuccess : Failure();
    }

    // What the system lets its administrator do is refused to him, too: read-only is a property of
    // the file.
    NativeError Admit() const {
        struct stat status {};
        if (fstat(m_file.Get(), &status) != 0) return Failure();
        if (S_ISDIR(status.st_mode)) return kAccessDenied;
        const bool cuts = m_request.disposition == Disposition::createAlways ||
                          m_request.disposition == Disposition::truncateExisting;
        const bool changes = m_request.write || m_request.temporary || cuts;
        if (changes && S_ISREG(status.st_mode) && (status.st_mode & 0222) == 0) {
            return kAccessDenied;
        }
        return cuts ? Cut() : kSuccess;
    }

    // By its own name where the descriptor has no right to write.
    NativeError Cut() const {
        const std::string self = "/proc/self/fd/" + std::to_string(m_file.Get());
        const int result = m_request.write ? ftruncate(m_file.Get(), 0) : truncate(self.c_str(), 0);
        // Devices have no length.
        return result == 0 || errno == EINVAL ? kSuccess : Failure();
    }

    const std::string m_path;
    const OpenRequest& m_request;
    const int m_flags;
    Descriptor m_file;
    bool m_created = false;
};

bool TryTemporaryFile(const char* directory, char16_t (&path)[kTemporaryPathSize]) {
    std::string name = std::string(directory) + "/tmpXXXXXX";
    const int file = mkostemp(name.data(), O_CLOEXEC);
    if (file < 0) return false;
    close(file);
    const std::u16string wide = WideFromPath(name);
    if (wide.size() >= kTemporaryPathSize) {
        unlink(name.c_str());
        return false;
    }
    *std::copy(wide.begin(), wide.end(), path) = 0;
    return true;
}

// --- Positions and bytes -------------------------------------------------------------------------

// Reads or writes until nothing is left or a call moves less than the most that the system moves at
// once. What was moved before a failure counts.
template <typename Move>
NativeError Transfer(FileHandle file, std::uint32_t count, std::uint32_t* done, Move move) {
    constexpr ssize_t kMostAtOnce = 0x7FFFF000;
    const int descriptor = DescriptorOf(file);
    *done = 0;
    for (;;) {
        const ssize_t part = move(descriptor, *done, count - *done);
        if (part < 0) {
            if (errno == EINTR) continue;
            return *done != 0 ? kSuccess : ErrorOf(descriptor);
        }
        *done += static_cast<std::uint32_t>(part);
        if (part != kMostAtOnce) return kSuccess;
    }
}

NativeError ErrorOfSeek(int descriptor) {
    return errno == EINVAL ? kNegativeSeek : ErrorOf(descriptor);
}

// Where a seek starts from.
NativeError QueryOrigin(FileHandle file, std::uint32_t origin, std::int64_t* base) {
    *base = 0;
    if (origin == SEEK_SET) return kSuccess;
    if (origin == SEEK_END) {
        std::uint64_t size = 0;
        const NativeError error = QuerySize(file, &size);
        *base = static_cast<std::int64_t>(size);
        return error;
    }
    *base = lseek(DescriptorOf(file), 0, SEEK_CUR);
    return *base >= 0 ? kSuccess : ErrorOf(DescriptorOf(file));
}

// Ranges that hold nothing keep nobody out; to the system they would be endless.
NativeError SetLock(FileHandle file, std::uint32_t offset, std::uint32_t length, short type,
                    bool wait) {
    const int descriptor = DescriptorOf(file);
    if (length == 0) return fcntl(descriptor, F_GETFD) >= 0 ? kSuccess : ErrorOf(descriptor);
    struct flock range {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = offset;
    range.l_len = length;
    while (fcntl(descriptor, wait ? F_OFD_SETLKW : F_OFD_SETLK, &range) != 0) {
        if (errno == EINTR) continue;
        return errno == EAGAIN || errno == EACCES ? kLockConflict : ErrorOf(descriptor);
    }
    return kSuccess;
}

// --- Paths ---------------------------------------------------------------------------------------

std::u16string WithoutDots(std::u16string_view absolute) {
    std::u16string out;
    const bool isDirectory = absolute.ends_with(u'/');
    while (!absolute.empty()) {
        const std::u16string_view part = absolute.substr(0, absolute.find(u'/'));
        absolute.remove_prefix(std::min(part.size() + 1, absolute.size()));
        if (part.empty() || part == u".") continue;
        if (part == u"..") {
            out.resize(out.empty() ? 0 : out.rfind(u'/'));
        } else {
            out.append(u"/").append(part);
        }
    }
    if (out.empty() || isDirectory) out += u'/';
    return out;
}

}  // namespace

NativeError OpenFile(const char16_t* path, const OpenRequest& request, FileHandle* out,
                     bool* existed) {
    Opening opening(path, request);
    const NativeError error = opening.Run();
    if (error != kSuccess) return error;
    *existed = !opening.HasCreated();
    *out = opening.Take();
    return kSuccess;
}

// A program that runs with more rights than its user's does not ask the environment.
void MakeTemporaryFile(char16_t (&path)[kTemporaryPathSize]) {
    path[0] = 0;
    const char* const wanted = secure_getenv("TMPDIR");
    if (wanted != nullptr && *wanted != '\0' && TryTemporaryFile(wanted, path)) return;
    TryTemporaryFile("/tmp", path);
}

NativeError CloseFile(FileHandle file) noexcept {
    if (file > INT_MAX) return CloseMapping(file);
    const int descriptor = DescriptorOf(file);
    EndTemporaryFile(descriptor);
    // The descriptor is gone whatever else the system has to say.
    return close(descriptor) == 0 || errno != EBADF ? kSuccess : kInvalidHandle;
}

NativeError ReadFrom(FileHandle file, void* buffer, std::uint32_t count,
                     std::uint32_t* done) noexcept {
    return Transfer(file, count, done, [buffer](int descriptor, std::size_t at, std::size_t left) {
        return read(descriptor, static_cast<char*>(buffer) + at, left);
    });
}

NativeError WriteTo(FileHandle file, const void* buffer, std::uint32_t count,
                    std::uint32_t* done) noexcept {
    return Transfer(file, count, done, [buffer](int descriptor, std::size_t at, std::size_t left) {
        return write(descriptor, static_cast<const char*>(buffer) + at, left);
    });
}

NativeError Seek(FileHandle file, std::int64_t distance, std::uint32_t origin,
                 std::uint64_t* position) noexcept {
    if (origin > SEEK_END) return kInvalidParameter;
    const off_t result = lseek(DescriptorOf(file), distance, static_cast<int>(origin));
    if (result < 0) return ErrorOfSeek(DescriptorOf(file));
    *position = static_cast<std::uint64_t>(result);
    return kSuccess;
}

NativeError SeekShort(FileHandle file, std::int32_t distance, std::uint32_t origin,
                      std::uint32_t* position) noexcept {
    if (origin > SEEK_END) return kInvalidParameter;
    std::int64_t base = 0;
    if (const NativeError error = QueryOrigin(file, origin, &base); error != kSuccess) return error;
    const std::int64_t target = base + distance;
    if (target > std::int64_t{UINT32_MAX}) return kInvalidParameter;
    if (lseek(DescriptorOf(file), target, SEEK_SET) < 0) return ErrorOfSeek(DescriptorOf(file));
    *position = static_cast<std::uint32_t>(target);
    return kSuccess;
}

NativeError QuerySize(FileHandle file, std::uint64_t* size) noexcept {
    struct stat status {};
    if (fstat(DescriptorOf(file), &status) != 0) return ErrorOf(DescriptorOf(file));
    *size = static_cast<std::uint64_t>(status.st_size);
    return kSuccess;
}

NativeError LockRange(FileHandle file, std::uint32_t offset, std::uint32_t length,
                      LockRequest request) noexcept {
    return SetLock(file, offset, length, request.shared ? F_RDLCK : F_WRLCK, request.wait);
}

NativeError UnlockRange(FileHandle file, std::uint32_t offset, std::uint32_t length) noexcept {
    return SetLock(file, offset, length, F_UNLCK, false);
}

NativeError LockRangePlainly(FileHandle file, std::uint32_t offset, std::uint32_t length) noexcept {
    return LockRange(file, offset, length, {.shared = false, .wait = false});
}

NativeError UnlockRangePlainly(FileHandle file, std::uint32_t offset,
                               std::uint32_t length) noexcept {
    return UnlockRange(file, offset, length);
}

// The system would flush for anybody.
NativeError FlushFile(FileHandle file) noexcept {
    const int descriptor = DescriptorOf(file);
    const int flags = fcntl(descriptor, F_GETFL);
    if (flags < 0) return kInvalidHandle;
    const int access = flags & O_ACCMODE;
    if (access != O_WRONLY && access != O_RDWR) return kAccessDenied;
    return fsync(descriptor) == 0 ? kSuccess : ErrorOf(descriptor);
}

NativeError RemoveFile(const char16_t* path) {
    const std::string name = PathFromWide(path);
    struct stat status {};
    if (lstat(name.c_str(), &status) != 0) return NativeErrorFromErrno(errno);
    if (S_ISREG(status.st_mode) && (status.st_mode & 0222) == 0) return kAccessDenied;
    return unlink(name.c_str()) == 0 ? kSuccess : NativeErrorFromErrno(errno);
}

NativeError ExpandPath(const char16_t* path, char16_t* out, std::uint32_t size) {
    std::u16string absolute = path;
    if (absolute.empty()) return kInvalidName;
    if (!absolute.starts_with(u'/')) {
        std::string here;
        if (!MakeAbsolute(&here)) return NativeErrorFromErrno(errno);
        absolute = WideFromPath(here) + absolute;
    }
    const std::u16string whole = WithoutDots(absolute);
    if (whole.size() >= size) return kSuccess;
    *std::copy(whole.begin(), whole.end(), out) = 0;
    return kSuccess;
}

}  // namespace kx::platform
