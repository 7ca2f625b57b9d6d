// Reads a text file in one encoding and writes it in another, a piece at a time, whatever its size.
#include <kxcore7/conversion.h>
#include <kxcore7/encoding.h>
#include <kxcore7/option.h>
#include <kxcore7/result.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <iterator>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "progress.h"

namespace {

constexpr const char* kUsage =
    "usage: recode [--strict] FROM TO INPUT OUTPUT\n"
    "\n"
    "Writes the text of INPUT, in the encoding FROM, to OUTPUT in the encoding TO. Encodings go "
    "by\n"
    "the names that ICU knows: UTF-8, UTF-16, windows-1252, Shift_JIS, ... A name that it does "
    "not\n"
    "know stands for ISO-8859-1. What TO does not have is replaced; with --strict, that and text "
    "that\n"
    "is not valid in FROM end the work, and OUTPUT stays as it was.\n";

[[noreturn]] void ThrowErrno(const std::string& what) {
    throw std::runtime_error(what + ": " + std::generic_category().message(errno));
}

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

File Open(const std::string& path, const char* mode) {
    File file(std::fopen(path.c_str(), mode));
    if (file == nullptr) ThrowErrno(path);
    return file;
}

std::u16string Widen(const std::string& name) {
    std::u16string wide(name.size() + 1, u'\0');
    wide.resize(KXAnsiToWstring(wide.data(), name.c_str(), wide.size()));
    return wide;
}

// The encoding on one side; reading and writing are one kind of object.
class Encoding final {
  public:
    explicit Encoding(const std::string& name) : m_handle(KXEncToW_Open(Widen(name).c_str())) {}
    ~Encoding() { KXEncToW_Close(m_handle); }
    Encoding(const Encoding&) = delete;
    Encoding& operator=(const Encoding&) = delete;

    KXEncHandle Get() const { return m_handle; }

    void StopAtErrors() const {
        if (KXEncToW_SetSubstitutionChar(m_handle, -1) < 0)
            throw std::runtime_error("no converter");
    }

  private:
    const KXEncHandle m_handle;
};

// Takes the text in pieces, converts it by way of wide text, and writes it.
class Recoder final {
  public:
    Recoder(const Encoding& from, const Encoding& to, std::FILE* output)
        : m_from(from), m_to(to), m_output(output) {}

    void Take(const char* bytes, size_t count) {
        const char* source = bytes;
        const char* const limit = bytes + count;
        KXResult result = KX_S_OK;
        do {
            char16_t* end = m_wide;
            result = KXEncToW_Convert(m_from.Get(), &source, limit, &end, std::end(m_wide));
            Write(end);
            Check(result, m_taken + static_cast<std::uintmax_t>(source - bytes));
        } while (result == KX_CO_E_INIT_CLASS_CACHE);
        m_taken += count;
    }

    void Finish() {
        KXResult result = KX_S_OK;
        do {
            char16_t* end = m_wide;
            result = KXEncToW_Flush(m_from.Get(), &end, std::end(m_wide));
            Write(end);
            Check(result, m_taken);
        } while (result == KX_CO_E_INIT_CLASS_CACHE);
        do {
            char* end = m_narrow;
            result = KXEncFromW_Flush(m_to.Get(), &end, std::end(m_narrow));
            Put(end);
            Check(result, m_taken);
        } while (result == KX_CO_E_INIT_CLASS_CACHE);
    }

  private:
    // A full buffer is no failure: there is more to come.
    static void Check(KXResult result, std::uintmax_t place) {
        if (result >= 0 || result == KX_CO_E_INIT_CLASS_CACHE) return;
        if (result != KX_E_ENC_INVALID) throw std::runtime_error("the conversion failed");
        throw std::runtime_error("text that does not convert, near byte " + std::to_string(place));
    }

    void Write(const char16_t* wideEnd) {
        const char16_t* source = m_wide;
        KXResult result = KX_S_OK;
        do {
            char* end = m_narrow;
            result = KXEncFromW_Convert(m_to.Get(), &source, wideEnd, &end, std::end(m_narrow));
            Put(end);
            Check(result, m_taken);
        } while (result == KX_CO_E_INIT_CLASS_CACHE);
    }

    void Put(const char* end) {
        const auto count = static_cast<size_t>(end - m_narrow);
        if (std::fwrite(m_narrow, 1, count, m_output) != count) ThrowErrno("writing");
    }

    const Encoding& m_from;
    const Encoding& m_to;
    std::FILE* const m_output;
    std::uintmax_t m_taken = 0;
    char16_t m_wide[16 * 1024];
    char m_narrow[64 * 1024];
};

struct Task {
    bool strict = false;
    std::string from;
    std::string to;
    std::string input;
    std::string output;
};

std::optional<Task> TaskOf(int argc, char** argv) {
    static constexpr KXOptionRecord kOptions[] = {{"strict", KX_OPTION_NO_ARGUMENT, 's'},
                                                  {nullptr, 0, 0}};
    Task task;
    for (int option; (option = KXGetOption(argc, argv, kOptions, nullptr)) != KX_OPTION_END;) {
        if (option == KX_OPTION_ERROR) return {};
        task.strict = true;
    }
    if (argc - KXGetOptionIndex != 4) return {};
    char** const words = argv + KXGetOptionIndex;
    task.from = words[0];
    task.to = words[1];
    task.input = words[2];
    task.output = words[3];
    return task;
}

void Convert(const Task& task, const std::string& outputPath) {
    const File input = Open(task.input, "rb");
    File output = Open(outputPath, "wb");
    const Encoding from(task.from);
    const Encoding to(task.to);
    if (task.strict) from.StopAtErrors();
    if (task.strict) to.StopAtErrors();

    std::error_code noSize;
    const std::uintmax_t total = std::filesystem::file_size(task.input, noSize);
    Progress progress(noSize ? 0 : total);
    const auto recoder = std::make_unique<Recoder>(from, to, output.get());
    std::vector<char> piece(64 * 1024);
    std::uintmax_t done = 0;
    while (const size_t count = std::fread(piece.data(), 1, piece.size(), input.get())) {
        recoder->Take(piece.data(), count);
        progress.Show(done += count);
    }
    if (std::ferror(input.get()) != 0) ThrowErrno(task.input);
    recoder->Finish();
    if (std::fclose(output.release()) != 0) ThrowErrno(outputPath);
}

// The new text takes its place when it is whole, so that INPUT and OUTPUT may be one file.
void Run(const Task& task) {
    const std::string part = task.output + ".part";
    try {
        Convert(task, part);
        std::filesystem::rename(part, task.output);
    } catch (...) {
        std::error_code ignored;
        std::filesystem::remove(part, ignored);
        throw;
    }
}

}  // namespace

int main(int argc, char** argv) {
    const std::optional<Task> task = TaskOf(argc, argv);
    if (!task) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    try {
        Run(*task);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "recode: %s\n", error.what());
        return 1;
    }
}
