// A process that opens named objects and works with them, word by word, until it is done or killed.
// It prints what each call came to.
//
//   sem NAME COUNT           opens a named semaphore
//   post, wait, try, drop    with it; drop closes it
//   shm NAME FLAGS SIZE      opens named memory, the flags in hexadecimal
//   attach ACCESS            maps it
//   detach, close            the view, the handle
//   poke AT BYTE, peek AT    writes a byte; prints one
//   await AT BYTE            returns when the byte is there
//   count AT TIMES           under the semaphore as a lock, adds one to a byte in two steps, and
//                            prints "overlap" if somebody else was in there too
//   storm SEED               opens, posts, takes and closes for ever
//   hold                     does nothing for ever
#include <kxcore7/kxcore7.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <utility>

namespace {

class Worker final {
  public:
    Worker(int count, char** words) : m_word(words), m_end(words + count) {}
    // Nothing is to look like a leak.
    ~Worker() {
        KXNamedSemClose(m_semaphore);
        KXSharedMemDetach(m_view);
        KXSharedMemClose(m_memory);
    }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    int Run() {
        while (m_word != m_end) {
            if (!Do(*m_word++)) return 64;
        }
        return 0;
    }

  private:
    std::string Next() { return m_word != m_end ? *m_word++ : ""; }
    std::uint32_t Number(int base = 10) {
        return static_cast<std::uint32_t>(std::strtoul(Next().c_str(), nullptr, base));
    }
    volatile unsigned char& Byte() {
        return static_cast<volatile unsigned char*>(m_view)[Number()];
    }

    static bool Print(KXResult result) {
        std::printf("0x%08X\n", static_cast<unsigned>(result));
        std::fflush(stdout);
        return true;
    }

    bool Do(const std::string& verb) {
        return DoWithSemaphore(verb) || DoWithMemory(verb) || DoForLong(verb);
    }

    bool DoWithSemaphore(const std::string& verb) {
        if (verb == "sem") {
            m_name = Next();
            return Print(KXNamedSemOpen(m_name.c_str(), Number(), &m_semaphore));
        }
        if (verb == "post") return Print(KXNamedSemPost(m_semaphore));
        if (verb == "wait") return Print(KXNamedSemWait(m_semaphore));
        if (verb == "try") return Print(KXNamedSemTryWait(m_semaphore));
        if (verb == "drop") return Print(KXNamedSemClose(std::exchange(m_semaphore, 0)));
        return false;
    }

    bool DoWithMemory(const std::string& verb) {
        if (verb == "shm") {
            const std::string name = Next();
            const std::uint32_t flags = Number(16);
            return Print(KXSharedMemOpen(name.c_str(), flags, 0, Number(), &m_memory));
        }
        if (verb == "attach") return Print(KXSharedMemAttach(m_memory, Number(16), &m_view));
        if (verb == "detach") return Print(KXSharedMemDetach(m_view));
        if (verb == "close") return Print(KXSharedMemClose(m_memory));
        if (verb == "peek") return Print(Byte());
        if (verb == "poke") {
            volatile unsigned char& byte = Byte();
            byte = static_cast<unsigned char>(Number());
            return true;
        }
        if (verb == "await") {
            volatile unsigned char& byte = Byte();
            for (const std::uint32_t value = Number(); byte != value;) std::this_thread::yield();
            return true;
        }
        return false;
    }

    bool DoForLong(const std::string& verb) {
        if (verb == "count") return Count();
        if (verb == "storm") return Storm(Number());
        if (verb != "hold") return false;
        KXSemaphoreHandle never = 0;
        KXSemaphoreCreate(0, "", 0, &never);
        return Print(KXSemaphoreWait(never));
    }

    // The byte behind is set by whoever is in there.
    bool Count() {
        volatile unsigned char& byte = Byte();
        volatile unsigned char& inside = *(&byte + 1);
        for (std::uint32_t times = Number(); times != 0; --times) {
            KXNamedSemWait(m_semaphore);
            if (inside != 0) {
                std::puts("overlap");
                std::fflush(stdout);
            }
            inside = 1;
            const unsigned char before = byte;
            if (times % 8 == 0) std::this_thread::yield();
            byte = static_cast<unsigned char>(before + 1);
            inside = 0;
            KXNamedSemPost(m_semaphore);
        }
        return Print(KX_S_OK);
    }

    bool Storm(std::uint32_t seed) {
        for (;;) {
            seed = seed * 1664525 + 1013904223;
            KXSemaphoreHandle other = 0;
            switch (seed >> 29) {
                case 0:
                case 1:
                    KXNamedSemOpen(m_name.c_str(), 1, &other);
                    KXNamedSemTryWait(other);
                    KXNamedSemClose(other);
                    break;
                case 2:
                    KXNamedSemWait(m_semaphore);
                    break;
                case 3:
                    KXNamedSemTryWait(m_semaphore);
                    break;
                default:
                    KXNamedSemPost(m_semaphore);
            }
        }
    }

    char** m_word;
    char** const m_end;
    std::string m_name;
    KXSemaphoreHandle m_semaphore = 0;
    KXSharedMemHandle m_memory = KX_INVALID_HANDLE;
    void* m_view = nullptr;
};

}  // namespace

int main(int argc, char** argv) {
    return Worker(argc - 1, argv + 1).Run();
}
