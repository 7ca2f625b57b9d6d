// A ring of items in memory that two processes share, a producer and a consumer. Either may be
// killed at any moment and started again; then it goes on where the killed one was.
//
// The truth is in two numbers in that memory: how many items were produced, and how many consumed.
// Each is written by one side only, in one store that publishes all that the side did for an item:
// one that was killed before has done nothing, whatever it left in the item, and its successor does
// it anew; one that was killed after has done it all. So no item is lost and none comes twice.
// (Work that leaves traces elsewhere, on paper say, may be done twice for the one item that the
// killed process had in its hands.)
//
// The semaphores say no more than "look at the numbers again", and nobody sleeps before having
// looked. One post too many costs a look. One too few is what hangs: the side that was killed
// behind its number and before its post leaves the other asleep beside an item; that is the post
// which its successor makes first of all. And a count that was taken by a process which was then
// killed is no loss, since its successor looks before it sleeps.
//
// Memory, semaphores and places live as long as a process that has them: when both sides are gone
// nothing is left behind, and the next exchange of the name begins afresh. (So it is for one that
// is killed behind the last item, when the other side has ended: it finds nothing to go on with.)
#ifndef EXCHANGE_RING_H
#define EXCHANGE_RING_H

#include <kxcore7/semaphore.h>
#include <kxcore7/sharedmem.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

struct Item {
    std::uint64_t words[128];
};

enum class Role { producer, consumer };

// A name that one process has until it ends, however it ends.
class Place final {
  public:
    // Waits for whoever has it. Throws std::runtime_error if the system refuses it.
    explicit Place(const std::string& name);
    ~Place();
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

  private:
    KXSharedMemHandle m_handle = KX_INVALID_HANDLE;
};

// One process's side of it. Only one thread works; the numbers may be asked for by others.
class Ring final {
  public:
    static constexpr std::size_t kSlots = 256;

    // Waits for whoever has that role in the exchange. Throws std::runtime_error.
    Ring(const std::string& name, Role role);
    ~Ring();
    Ring(const Ring&) = delete;
    Ring& operator=(const Ring&) = delete;

    // How many there are to be, as the first producer has said it; 0 until then.
    std::uint64_t Total() const { return m_shared->total; }
    void Announce(std::uint64_t total);

    // How many this side has done, the other, and a sum over this side's.
    std::uint64_t Done() const { return m_own.count; }
    std::uint64_t DoneByOther() const { return m_other.count; }
    std::uint64_t Sum() const;

    // The item to work on, once the other side has left it; null when all of them are done.
    Item* Next();
    // It is done, and adds so much to the sum.
    void Commit(std::uint64_t addend);
    // Waits until the other side has done as many.
    void AwaitOther();

  private:
    // The sum over n items lies where the one over n - 1 does not, so that it can be written before
    // the count tells which of them holds.
    struct Side {
        alignas(64) std::atomic<std::uint64_t> count;
        std::uint64_t sums[2];
    };
    // All zero, as new memory is, it is an empty ring.
    struct Shared {
        std::atomic<std::uint64_t> total;
        Side producer;
        Side consumer;
        Item items[kSlots];
    };
    static_assert(std::atomic<std::uint64_t>::is_always_lock_free);

    // What is opened is closed, also when the next one fails to open.
    class Memory final {
      public:
        explicit Memory(const std::string& name);
        ~Memory();
        Memory(const Memory&) = delete;
        Memory& operator=(const Memory&) = delete;
        Shared* Get() const { return static_cast<Shared*>(m_view); }

      private:
        KXSharedMemHandle m_handle = KX_INVALID_HANDLE;
        void* m_view = nullptr;
    };
    class Bell final {
      public:
        explicit Bell(const std::string& name);
        ~Bell();
        Bell(const Bell&) = delete;
        Bell& operator=(const Bell&) = delete;
        void Sound();
        void Wait();

      private:
        KXSemaphoreHandle m_handle = KX_INVALID_HANDLE;
    };

    bool IsAllDone() const;
    bool IsReady() const;

    const Role m_role;
    const Place m_place;
    const Memory m_memory;
    Bell m_otherBell;
    Bell m_ownBell;
    Shared* const m_shared;
    Side& m_own;
    Side& m_other;
};

#endif
