// One command line, run as a child whose output is kept apart from all others'.
#ifndef KXPAR_JOB_H
#define KXPAR_JOB_H

#include <kxcore7/process.h>
#include <kxcore7/thread.h>

#include <cstdint>
#include <string>

// Reads what comes from a pipe until its end, on a thread of its own: a child that nobody reads
// from would wait for ever once the pipe is full.
class Reader final {
  public:
    Reader() = default;
    ~Reader() { Finish(); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    // Takes the pipe's end over. Throws std::runtime_error if there can be no thread.
    void Start(KXFileHandle end);
    // Everything that came, once it has ended.
    const std::string& Finish();

  private:
    static std::uint32_t Run(void* self);

    KXFileHandle m_end = KX_INVALID_HANDLE;
    KXThreadHandle m_thread = KX_INVALID_THREAD;
    std::string m_text;
};

class Job final {
  public:
    // The first word of the line is the program; quotes keep blanks in it.
    explicit Job(std::string line) : m_line(std::move(line)) {}
    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;

    // Whether it runs; if not, Outcome tells why.
    bool Start();
    // The child has ended, and result tells whether its exit code could be had.
    void End(KXResult result, std::uint32_t exitCode);

    const std::string& Line() const { return m_line; }
    KXProcessHandle Handle() const { return m_handle; }
    const std::string& Output() { return m_output.Finish(); }
    const std::string& Error() { return m_error.Finish(); }
    double Seconds() const;
    // The exit code, or why there is none.
    const std::string& Outcome() const { return m_outcome; }
    bool HasSucceeded() const { return m_outcome == "0"; }

  private:
    const std::string m_line;
    KXProcessHandle m_handle = KX_INVALID_HANDLE;
    Reader m_output;
    Reader m_error;
    std::int64_t m_start = 0;
    std::int64_t m_end = 0;
    std::string m_outcome;
};

#endif
