#include "platform/posix/shared_object.h"

#include <dirent.h>
#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

#include "platform/posix/error.h"
#include "platform/posix/futex.h"

namespace kx::platform {
namespace {

// No directory of our own: this one belongs to the system, and nobody can remove from it what is
// another's.
constexpr const char* kDirectory = "/dev/shm";
constexpr std::string_view kPrefix = "kxcore7.";
constexpr std::size_t kHashDigits = 32;

// No symbolic link is followed, and nothing that is planted there can make the call wait.
constexpr int kOpenFlags = O_RDWR | O_NOFOLLOW | O_NONBLOCK;

constexpr mode_t kForEverybody = 0666;

constexpr std::uint32_t kMagic = 0x376F786B;  // "kxo7"
constexpr std::uint32_t kVersion = 1;
constexpr std::uint32_t kReady = 0x79646572;  // "redy"

// The first page of the file.
struct Header {
    std::uint32_t magic;
    std::uint32_t version;
    std::uint32_t kind;
    std::uint32_t size;  // of the data
    std::uint32_t nameLength;
    std::uint32_t ready;  // written last
    char name[kSharedHeaderSize - 6 * sizeof(std::uint32_t)];
};
static_assert(sizeof(Header) == kSharedHeaderSize && sizeof Header::name >= kMaxSharedName);

bool SetLock(int descriptor, short type) noexcept {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = 0;
    lock.l_len = 1;
    return fcntl(descriptor, F_OFD_SETLK, &lock) == 0;
}

struct stat StatusOf(int descriptor) noexcept {
    struct stat status {};
    fstat(descriptor, &status);
    return status;
}

bool IsPlain(const struct stat& status) noexcept {
    return S_ISREG(status.st_mode) && status.st_nlink <= 1;
}

void Nap(std::int64_t nanoseconds) noexcept {
    const timespec time{0, static_cast<long>(nanoseconds)};
    nanosleep(&time, nullptr);
}

bool WriteAll(int descriptor, const void* data, std::size_t size, off_t at) noexcept {
    const char* from = static_cast<const char*>(data);
    while (size != 0) {
        const ssize_t written = pwrite(descriptor, from, size, at);
        if (written < 0 && errno != EINTR) return false;
        if (written <= 0) continue;
        from += written;
        at += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

bool ReadHeader(int descriptor, Header* header) noexcept {
    ssize_t read = -1;
    do {
        read = pread(descriptor, header, sizeof *header, 0);
    } while (read < 0 && errno == EINTR);
    return read == static_cast<ssize_t>(sizeof *header);
}

// Takes an object along that nobody holds: under the exclusive lock. What belongs to another
// account can't be removed, but need not take room. Here the lock is given up by itself, since a
// child of a fork that happened meanwhile is no holder.
void Discard(int descriptor, const char* path) noexcept {
    if (unlink(path) != 0 && ftruncate(descriptor, 0) != 0) {
        // It is somebody's who does not let us.
    }
    SetLock(descriptor, F_UNLCK);
}

void Reap(const char* path) noexcept {
    Descriptor descriptor;
    if (!descriptor.Open(path, kOpenFlags) || !IsPlain(StatusOf(descriptor.Get()))) return;
    if (!SetLock(descriptor.Get(), F_WRLCK)) return;
    if (StatusOf(descriptor.Get()).st_nlink != 1) {
        SetLock(descriptor.Get(), F_UNLCK);
        return;
    }
    Discard(descriptor.Get(), path);
}

std::int64_t Now() noexcept {
    return DeadlineIn(0);
}

// At most once a second, and at once when it was never done.
void SweepNowAndThen() noexcept {
    constexpr std::int64_t kPause = 1'000'000'000;
    static std::atomic<std::int64_t> due{0};
    const std::int64_t now = Now();
    std::int64_t expected = due.load(std::memory_order_relaxed);
    if (now < expected) return;
    if (!due.compare_exchange_strong(expected, now + kPause, std::memory_order_relaxed)) return;
    SweepSharedObjects();
}

// What an attempt to open comes to, beside native errors: the file went while we looked at it.
constexpr NativeError kAgain = ~NativeError{0};

// The way to one object. Whatever stands in the way is gone in a moment, or is refused: an attempt
// that can't tell begins again.
class Opening final {
  public:
    Opening(const SharedRequest& request, SharedObject* out) noexcept
        : m_request(request),
          m_out(*out),
          m_path(out->file.GetPath()),
          m_deadline(DeadlineIn(request.patience)) {}

    NativeError Run() noexcept {
        for (;;) {
            m_reason = kBusy;
            const NativeError outcome = Attempt();
            if (outcome != kAgain) return outcome;
            if (Now() >= m_deadline) return m_reason;
            sched_yield();
        }
    }

  private:
    // What may be somebody's who is about to make it good is looked at so often.
    static constexpr int kDoubts = 200;
    static constexpr std::int64_t kShortestNap = 50'000;
    static constexpr std::int64_t kLongestNap = 1'000'000;

    int File() const noexcept { return m_out.descriptor.Get(); }

    NativeError Attempt() noexcept {
        if (const NativeError error = OpenFile(); error != kSuccess) return error;
        if (!IsPlain(StatusOf(File()))) return kInvalidHandle;
        const NativeError outcome = SetLock(File(), F_WRLCK) ? Make() : Join();
        // A child of a fork that happened meanwhile is no holder of what failed.
        if (outcome != kSuccess) SetLock(File(), F_UNLCK);
        return outcome;
    }

    // Without the flag for creating first: with it some systems refuse another account's file.
    NativeError OpenFile() noexcept {
        if (m_out.descriptor.Open(m_path.data(), kOpenFlags)) return kSuccess;
        if (errno == ENOENT) return m_request.create ? CreateFile() : kFileNotFound;
        return ErrorOfOpening(errno);
    }

    NativeError CreateFile() noexcept {
        if (m_out.descriptor.Open(m_path.data(), kOpenFlags | O_CREAT | O_EXCL, kForEverybody)) {
            return kSuccess;
        }
        return errno == EEXIST ? kAgain : ErrorOfOpening(errno);
    }

    NativeError ErrorOfOpening(int error) noexcept {
        switch (error) {
            case ELOOP:
            case EISDIR:
            case ENXIO:
            case ENODEV:
                return kInvalidHandle;
            case EACCES:
                // Its maker may be about to open it to everybody.
                return Doubt(kAccessDenied);
            default:
                return NativeErrorFromErrno(error);
        }
    }

    bool IsGone() const noexcept { return StatusOf(File()).st_nlink == 0; }

    // Under the exclusive lock.
    NativeError Make() noexcept {
        if (IsGone()) return kAgain;
        const NativeError error = m_request.create ? Write() : kFileNotFound;
        if (error != kSuccess) {
            Discard(File(), m_path.data());
            return error;
        }
        m_out.size = m_request.size;
        m_out.existed = false;
        return SetLock(File(), F_RDLCK) ? kSuccess : kBusy;
    }

    // All of its room is taken now: later there is nobody to tell that there is none.
    NativeError Write() noexcept {
        fchmod(File(), kForEverybody);  // refused for another account's, which had it done
        if (ftruncate(File(), 0) != 0) return NativeErrorFromErrno(errno);
        const off_t whole = static_cast<off_t>(kSharedHeaderSize) + m_request.size;
        int error = 0;
        do {
            error = posix_fallocate(File(), 0, whole);
        } while (error == EINTR);
        if (error != 0) return NativeErrorFromErrno(error);

        Header header{kMagic,
                      kVersion,
                      static_cast<std::uint32_t>(m_request.kind),
                      m_request.size,
                      static_cast<std::uint32_t>(m_request.name.size()),
                      0,
                      {}};
        m_request.name.copy(header.name, sizeof header.name);
        constexpr std::uint32_t ready = kReady;
        const std::size_t first = std::min<std::size_t>(sizeof m_request.firstWord, m_request.size);
        const bool written = WriteAll(File(), &header, sizeof header, 0) &&
                             WriteAll(File(), &m_request.firstWord, first, kSharedHeaderSize) &&
                             WriteAll(File(), &ready, sizeof ready, offsetof(Header, ready));
        return written ? kSuccess : NativeErrorFromErrno(errno);
    }

    // Behind those who hold it, make it or take it along.
    NativeError Join() noexcept {
        for (std::int64_t nap = kShortestNap; !SetLock(File(), F_RDLCK);
             nap = std::min(2 * nap, kLongestNap)) {
            if (IsGone()) return kAgain;
            if (Now() >= m_deadline) return kBusy;
            Nap(nap);
        }
        if (IsGone()) return kAgain;
        Header header;
        if (!ReadHeader(File(), &header) || header.ready != kReady) {
            // Its maker was killed: by now it may be somebody else's to make.
            SetLock(File(), F_UNLCK);
            return Doubt(kInvalidHandle);
        }
        if (!IsTheOneMeant(header)) return kInvalidHandle;
        m_out.size = header.size;
        m_out.existed = true;
        return kSuccess;
    }

    bool IsTheOneMeant(const Header& header) const noexcept {
        return header.magic == kMagic && header.version == kVersion &&
               header.kind == static_cast<std::uint32_t>(m_request.kind) &&
               header.nameLength == m_request.name.size() &&
               std::memcmp(header.name, m_request.name.data(), m_request.name.size()) == 0 &&
               StatusOf(File()).st_size == static_cast<off_t>(kSharedHeaderSize) + header.size;
    }

    NativeError Doubt(NativeError error) noexcept {
        if (++m_doubts >= kDoubts) return error;
        m_reason = error;
        Nap(std::min(kShortestNap * m_doubts, kLongestNap));
        return kAgain;
    }

    const SharedRequest& m_request;
    SharedObject& m_out;
    const SharedFile::Path m_path;
    const Deadline m_deadline;
    int m_doubts = 0;
    NativeError m_reason = kBusy;  // what is said if patience runs out now
};

}  // namespace

// FNV-1a of 128 bits. Its prime is 2^88 + 0x13B.
SharedFile::SharedFile(std::string_view name) noexcept
    : m_high(0x6C62272E07BB0142), m_low(0x62B821756295C58D) {
    constexpr std::uint64_t kFactor = 0x13B;
    constexpr unsigned kShift = 88 - 64;
    constexpr unsigned kHalf = 32;
    for (const char byte : name) {
        m_low ^= static_cast<unsigned char>(byte);
        const std::uint64_t lower = (m_low & ~std::uint32_t{0}) * kFactor;
        const std::uint64_t upper = (m_low >> kHalf) * kFactor + (lower >> kHalf);
        m_high = m_high * kFactor + (upper >> kHalf) + (m_low << kShift);
        m_low *= kFactor;
    }
}

SharedFile::Path SharedFile::GetPath() const noexcept {
    Path path;
    std::snprintf(path.data(), path.size(), "%s/%s%016llx%016llx", kDirectory, kPrefix.data(),
                  static_cast<unsigned long long>(m_high), static_cast<unsigned long long>(m_low));
    return path;
}

NativeError OpenSharedObject(const SharedRequest& request, SharedObject* out) noexcept {
    if (request.name.size() > kMaxSharedName) return kNameTooLong;
    out->file = SharedFile(request.name);
    const NativeError error = Opening(request, out).Run();
    if (error != kSuccess) {
        out->descriptor.Close();
    } else if (!out->existed) {
        SweepNowAndThen();
    }
    return error;
}

void* MapSharedData(const SharedObject& object, bool writable, NativeError* error) noexcept {
    void* const data = mmap(nullptr, object.size, writable ? PROT_READ | PROT_WRITE : PROT_READ,
                            MAP_SHARED, object.descriptor.Get(), kSharedHeaderSize);
    if (data != MAP_FAILED) return data;
    *error = NativeErrorFromErrno(errno);
    return nullptr;
}

void LeaveSharedObject(const SharedFile& file) noexcept {
    Reap(file.GetPath().data());
    SweepNowAndThen();
}

void SweepSharedObjects() noexcept {
    DIR* const directory = opendir(kDirectory);
    if (directory == nullptr) return;
    while (const dirent* const entry = readdir(directory)) {
        const std::string_view name = entry->d_name;
        if (!name.starts_with(kPrefix) || name.size() != kPrefix.size() + kHashDigits) continue;
        if (entry->d_type != DT_REG) continue;
        char path[64];
        std::snprintf(path, sizeof path, "%s/%s", kDirectory, entry->d_name);
        Reap(path);
    }
    closedir(directory);
}

}  // namespace kx::platform
