#include <apr_file_info.h>
#include <apr_file_io.h>
#include <dirent.h>
#include <fcntl.h>
#include <kxcore7/directory.h>
#include <kxcore7/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "apr.h"
#include "comparison.h"
#include "contest.h"
#include "report.h"
#include "subjects.h"

namespace bench {
namespace {

constexpr std::uint64_t kMebibyte = 1024 * 1024;

// --- Bytes ---------------------------------------------------------------------------------------

// Small enough for the processor's caches, for the most part: what a call costs beside the copying
// of its bytes is to be seen.
constexpr std::uint64_t kFileSize = 16 * kMebibyte;
constexpr std::uint32_t kBlocks[] = {512, 16 * 1024, 1024 * 1024};

class KxFile final {
  public:
    explicit KxFile(const std::filesystem::path& path) {
        const KXResult result =
            KXFileOpen(path.u16string().c_str(), KX_FILE_READ | KX_FILE_WRITE, 0, &m_file);
        Require(result == 0, "a kxcore7 file");
    }
    ~KxFile() { KXFileClose(m_file); }
    KxFile(const KxFile&) = delete;
    KxFile& operator=(const KxFile&) = delete;
    bool Read(void* buffer, std::uint32_t count) {
        std::uint32_t done = 0;
        return KXFileRead(m_file, buffer, count, &done) == 0 && done == count;
    }
    bool Write(const void* buffer, std::uint32_t count) {
        std::uint32_t done = 0;
        return KXFileWrite(m_file, buffer, count, &done) == 0 && done == count;
    }
    void Seek(std::uint64_t position) {
        std::uint64_t now = 0;
        KXFileSeek64(m_file, static_cast<std::uint32_t>(position),
                     static_cast<std::uint32_t>(position >> 32), KX_FILE_BEGIN, &now);
    }

  private:
    KXFileHandle m_file = KX_INVALID_HANDLE;
};

class BareFile final {
  public:
    explicit BareFile(const std::filesystem::path& path)
        : m_file(open(path.c_str(), O_RDWR | O_CLOEXEC)) {
        Require(m_file >= 0, "a descriptor");
    }
    ~BareFile() { close(m_file); }
    BareFile(const BareFile&) = delete;
    BareFile& operator=(const BareFile&) = delete;
    bool Read(void* buffer, std::uint32_t count) { return read(m_file, buffer, count) == count; }
    bool Write(const void* buffer, std::uint32_t count) {
        return write(m_file, buffer, count) == count;
    }
    void Seek(std::uint64_t position) { lseek(m_file, static_cast<off_t>(position), SEEK_SET); }

  private:
    const int m_file;
};

class AprFile final {
  public:
    explicit AprFile(const std::filesystem::path& path) {
        const apr_status_t status = apr_file_open(&m_file, path.c_str(), APR_READ | APR_WRITE,
                                                  APR_OS_DEFAULT, m_pool.Get());
        Require(status == APR_SUCCESS, "APR's file");
    }
    bool Read(void* buffer, std::uint32_t count) {
        apr_size_t done = count;
        return apr_file_read(m_file, buffer, &done) == APR_SUCCESS && done == count;
    }
    bool Write(const void* buffer, std::uint32_t count) {
        apr_size_t done = count;
        return apr_file_write(m_file, buffer, &done) == APR_SUCCESS && done == count;
    }
    void Seek(std::uint64_t position) {
        auto offset = static_cast<apr_off_t>(position);
        apr_file_seek(m_file, APR_SET, &offset);
    }

  private:
    AprPool m_pool;
    apr_file_t* m_file = nullptr;
};

// The file's blocks one behind the other, and from the first on again.
class InOrder final {
  public:
    template <typename File>
    void Prepare(File& file, std::uint32_t block) {
        if (m_position == kFileSize) {
            file.Seek(0);
            m_position = 0;
        }
        m_position += block;
    }

  private:
    std::uint64_t m_position = kFileSize;
};

// Any of them, the same for everybody.
class AtRandom final {
  public:
    template <typename File>
    void Prepare(File& file, std::uint32_t block) {
        m_state = m_state * 6364136223846793005u + 1442695040888963407u;
        file.Seek((m_state >> 33) % (kFileSize / block) * block);
    }

  private:
    std::uint64_t m_state = 1;
};

struct OpenFiles {
    explicit OpenFiles(const std::filesystem::path& path) : kx(path), bare(path), apr(path) {}
    KxFile kx;
    BareFile bare;
    AprFile apr;
    alignas(4096) std::array<char, kBlocks[std::size(kBlocks) - 1]> buffer{};
};

template <typename Steps, typename File>
auto Reading(File& file, char* buffer, std::uint32_t block) {
    return [&file, buffer, block, steps = Steps()]() mutable {
        steps.Prepare(file, block);
        return file.Read(buffer, block);
    };
}

template <typename Steps, typename File>
auto Writing(File& file, const char* buffer, std::uint32_t block) {
    return [&file, buffer, block, steps = Steps()]() mutable {
        steps.Prepare(file, block);
        return file.Write(buffer, block);
    };
}

template <typename Steps>
void AddReadAndWrite(Report& report, const std::shared_ptr<OpenFiles>& files,
                     const std::string& order) {
    constexpr double kAsTheCall = 1.03;
    char* const buffer = files->buffer.data();
    for (const std::uint32_t block : kBlocks) {
        const std::string what = order + ", " + std::to_string(block) + " bytes";
        Comparison reads("read " + what, files);
        reads.Own(Reading<Steps>(files->kx, buffer, block), Is(true));
        reads.Peer("bare calls", Reading<Steps>(files->bare, buffer, block), Is(true));
        reads.Aside("APR", Reading<Steps>(files->apr, buffer, block), Is(true));
        reads.AddTo(report, kAsTheCall);
        Comparison writes("write " + what, files);
        writes.Own(Writing<Steps>(files->kx, buffer, block), Is(true));
        writes.Peer("bare calls", Writing<Steps>(files->bare, buffer, block), Is(true));
        writes.Aside("APR", Writing<Steps>(files->apr, buffer, block), Is(true));
        writes.AddTo(report, kAsTheCall);
    }
}

// --- A file copied over another ------------------------------------------------------------------

// Made when somebody asks for it: it takes its time.
class CopiedFile final {
  public:
    CopiedFile(const std::filesystem::path& folder, std::uint64_t size)
        : m_source(folder / "source"), m_destination(folder / "copy"), m_size(size) {}

    const std::filesystem::path& Source() {
        if (!std::filesystem::exists(m_source)) Make();
        return m_source;
    }
    const std::filesystem::path& Destination() const { return m_destination; }

    // Whether the copy is there, by its size and its last byte.
    bool IsCopied() const {
        std::ifstream copy(m_destination, std::ios::binary);
        copy.seekg(-1, std::ios::end);
        return std::filesystem::file_size(m_destination) == m_size && copy.get() == kLast;
    }

  private:
    static constexpr char kLast = '.';

    void Make() const {
        std::ofstream out(m_source, std::ios::binary);
        const std::string piece(kMebibyte, kLast);
        for (std::uint64_t done = 0; done < m_size; done += kMebibyte) out << piece;
        out.close();
        Require(out.good(), "the file to copy");
    }

    const std::filesystem::path m_source;
    const std::filesystem::path m_destination;
    const std::uint64_t m_size;
};

void AddCopy(Report& report, const std::filesystem::path& folder, std::uint64_t mebibytes) {
    const auto file = std::make_shared<CopiedFile>(folder, mebibytes * kMebibyte);
    CopiedFile* const copied = file.get();
    const auto isRight = [copied](bool done) { return done && copied->IsCopied(); };
    Comparison copy("copy of " + std::to_string(mebibytes) + " MiB", file);
    copy.Own(
        [copied] {
            return KXFileCopy(copied->Source().u16string().c_str(),
                              copied->Destination().u16string().c_str(),
                              KX_FILE_CREATE | KX_FILE_TRUNCATE, 0666, nullptr) == 0;
        },
        isRight);
    copy.Peer(
        "APR",
        [copied] {
            const AprPool pool;
            return apr_file_copy(copied->Source().c_str(), copied->Destination().c_str(),
                                 APR_FILE_SOURCE_PERMS, pool.Get()) == APR_SUCCESS;
        },
        isRight);
    copy.Peer(
        "std::filesystem",
        [copied] {
            return std::filesystem::copy_file(copied->Source(), copied->Destination(),
                                              std::filesystem::copy_options::overwrite_existing);
        },
        isRight);
    copy.AddTo(report);
}

// --- A directory ---------------------------------------------------------------------------------

// What a listing found: so many files, and their sizes added up.
struct Found {
    std::uint64_t files = 0;
    std::uint64_t bytes = 0;
    bool operator==(const Found&) const = default;
};

// Made when somebody asks for it.
class ListedFolder final {
  public:
    ListedFolder(const std::filesystem::path& folder, std::uint64_t files)
        : m_path(folder / "listed"), m_files(files) {}

    const std::filesystem::path& Path() {
        if (!std::filesystem::exists(m_path)) Make();
        return m_path;
    }
    Found All() const { return {m_files, (m_files - 1) * m_files / 2}; }

  private:
    // The files have sizes and hold nothing.
    void Make() const {
        std::filesystem::create_directory(m_path);
        for (std::uint64_t i = 0; i < m_files; ++i) {
            const auto file = m_path / ("A file of the listing, number " + std::to_string(i));
            std::ofstream(file).close();
            std::filesystem::resize_file(file, i);
        }
    }

    const std::filesystem::path m_path;
    const std::uint64_t m_files;
};

Found KxListing(const std::filesystem::path& folder) {
    KXDirHandle listing = KX_INVALID_HANDLE;
    if (KXDirOpen(folder.u16string().c_str(), &listing) < 0) return {};
    Found found;
    KXDirEntry entry;
    while (KXDirRead(listing, &entry, 0) >= 0) {
        benchmark::DoNotOptimize(entry);
        if ((entry.mode & KX_DIR_MODE_DIRECTORY) != 0) continue;
        ++found.files;
        found.bytes += std::uint64_t{entry.sizeHigh} << 32 | entry.sizeLow;
    }
    KXDirClose(listing);
    return found;
}

Found BareListing(const std::filesystem::path& folder) {
    DIR* const listing = opendir(folder.c_str());
    if (listing == nullptr) return {};
    Found found;
    while (const dirent* const entry = readdir(listing)) {
        struct stat status {};
        if (fstatat(dirfd(listing), entry->d_name, &status, 0) != 0) continue;
        benchmark::DoNotOptimize(status);
        if (S_ISDIR(status.st_mode)) continue;
        ++found.files;
        found.bytes += static_cast<std::uint64_t>(status.st_size);
    }
    closedir(listing);
    return found;
}

Found AprListing(const std::filesystem::path& folder) {
    constexpr apr_int32_t kWanted = APR_FINFO_NAME | APR_FINFO_TYPE | APR_FINFO_SIZE |
                                    APR_FINFO_CTIME | APR_FINFO_ATIME | APR_FINFO_MTIME;
    const AprPool pool;
    apr_dir_t* listing = nullptr;
    if (apr_dir_open(&listing, folder.c_str(), pool.Get()) != APR_SUCCESS) return {};
    Found found;
    apr_finfo_t entry;
    while (apr_dir_read(&entry, kWanted, listing) == APR_SUCCESS) {
        benchmark::DoNotOptimize(entry);
        if (entry.filetype == APR_DIR) continue;
        ++found.files;
        found.bytes += static_cast<std::uint64_t>(entry.size);
    }
    apr_dir_close(listing);
    return found;
}

Found StdListing(const std::filesystem::path& folder) {
    Found found;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        auto time = entry.last_write_time();
        benchmark::DoNotOptimize(time);
        if (entry.is_directory()) continue;
        ++found.files;
        found.bytes += entry.file_size();
    }
    return found;
}

void AddListing(Report& report, const std::filesystem::path& where, std::uint64_t files) {
    constexpr double kAsGood = 1.0;
    const auto folder = std::make_shared<ListedFolder>(where, files);
    ListedFolder* const listed = folder.get();
    const auto of = [listed](Found (*listing)(const std::filesystem::path&)) {
        return [listed, listing] { return listing(listed->Path()); };
    };
    const auto isRight = Is(listed->All());
    Comparison comparison("listing of " + std::to_string(files) + " files", folder);
    comparison.Own(of(KxListing), isRight);
    comparison.Peer("readdir + fstatat", of(BareListing), isRight);
    comparison.Peer("APR", of(AprListing), isRight);
    comparison.Peer("std::filesystem", of(StdListing), isRight);
    comparison.AddTo(report, kAsGood);
}

}  // namespace

void RegisterFiles(Report& report, const std::filesystem::path& scratch, bool quick) {
    const auto file = scratch / "file";
    std::ofstream(file, std::ios::binary) << std::string(kFileSize, '.');
    const auto files = std::make_shared<OpenFiles>(file);
    AddReadAndWrite<InOrder>(report, files, "in order");
    AddReadAndWrite<AtRandom>(report, files, "at random");
    AddCopy(report, scratch, quick ? 64 : 1024);
    AddListing(report, scratch, quick ? 10'000 : 100'000);
}

}  // namespace bench
