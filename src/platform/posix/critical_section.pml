/*
 * The critical section: FutexMutex of futex.h, and the owner and depth that locks.cpp puts on it.
 * Each access to memory that threads share is one step here as it is there; what surrounds it in
 * atomic or d_step is the model's own bookkeeping.
 *
 * Claims
 *   one inside     no two threads hold the lock, and the owner's recursion always finds itself
 *   nobody left    no thread sleeps for ever once the others are done (lost wake-up, deadlock)
 *   clean          the lock is free, with neither owner nor depth, when nobody holds it
 *   hands off      whoever releases touches nothing once another may have destroyed the lock
 *
 * Bounds: THREADS, DEPTH of recursion, SPINS before a sleep, SPURIOUS wake-ups in all. The number
 * of times that a thread takes the lock has no bound.
 *
 * Not modelled: weak order of memory. Every step is seen by all at once.
 *
 * Each of these breaks the algorithm in one place, and a claim with it:
 *   SLEEPS_UNSEEN   the futex does not compare the word again before it sleeps
 *   NO_WAKE         nobody is woken
 *   WAKES_AS_HELD   who wakes takes the lock as held
 *   TORN_TRY        the try reads and writes in two steps
 *   OWNER_LATE      the owner is forgotten behind the release
 *   LOOKS_BACK      the release reads the word again
 */

#ifndef THREADS
#define THREADS 3
#endif
#ifndef DEPTH
#define DEPTH 2
#endif
#ifndef SPINS
#define SPINS 1
#endif
#ifndef SPURIOUS
#define SPURIOUS 1
#endif

/* FutexMutex::m_word */
#define kFree 0
#define kHeld 1
#define kContended 2

byte m_word = kFree;
byte m_owner = 0; /* 0, or a thread: 1 to THREADS */
byte m_depth = 0;

bool asleep[THREADS + 1]; /* in the kernel, on m_word */
byte spurious = SPURIOUS;

byte inside = 0;       /* how many believe that they hold the lock */
byte users = THREADS;  /* under the lock: who goes last destroys it */
bool destroyed = false;
byte done = 0;

inline Touch() { assert(!destroyed) }

/* --- The kernel -------------------------------------------------------------------------------*/

inline FutexWait(expected) {
    atomic {
        Touch();
        if
#ifdef SLEEPS_UNSEEN
        :: asleep[self] = true
#else
        :: m_word == expected -> asleep[self] = true
        :: else
#endif
        fi
    }
    if
    :: !asleep[self]
    :: atomic { asleep[self] && spurious > 0 -> spurious--; asleep[self] = false }
    fi
}

/* Any one of those who sleep. The word may be gone: nothing of it is read. */
inline FutexWake() {
#ifdef NO_WAKE
    skip
#else
    atomic {
        if
        :: asleep[1] -> asleep[1] = false
        :: asleep[2] -> asleep[2] = false
#if THREADS > 2
        :: asleep[3] -> asleep[3] = false
#endif
#if THREADS > 3
        :: asleep[4] -> asleep[4] = false
#endif
        :: else
        fi
    }
#endif
}

/* --- FutexMutex -------------------------------------------------------------------------------*/

inline TryLock() {
#ifdef TORN_TRY
    d_step { Touch(); ok = m_word == kFree }
    if
    :: ok -> m_word = kHeld
    :: else
    fi
#else
    d_step {
        Touch();
        ok = m_word == kFree;
        if
        :: ok -> m_word = kHeld
        :: else
        fi
    }
#endif
}

inline LockContended() {
    ok = false;
    spins = SPINS;
    do
    :: spins == 0 || ok -> break
    :: else ->
        spins--;
        d_step { Touch(); seen = m_word }
        if
        :: seen == kFree -> TryLock()
        :: else
        fi
    od;
    do
    :: ok -> break
    :: else ->
        d_step { Touch(); seen = m_word; m_word = kContended }
        if
        :: seen == kFree -> ok = true
        :: else ->
            FutexWait(kContended);
#ifdef WAKES_AS_HELD
            TryLock()
#endif
        fi
    od;
    seen = 0
}

inline Unlock() {
    d_step { Touch(); seen = m_word; m_word = kFree }
    if
    :: seen == kContended -> FutexWake()
    :: else
    fi;
#ifdef LOOKS_BACK
    d_step { Touch(); seen = m_word };
#endif
    seen = 0
}

/* --- FutexLock --------------------------------------------------------------------------------*/

inline TryEnter() {
    d_step { Touch(); seen = m_owner }
    if
    :: seen != self ->
        TryLock();
        if
        :: ok ->
            d_step { Touch(); m_owner = self; inside++; assert(inside == 1) }
        :: else
        fi
    :: else -> d_step { ok = true; assert(held > 0) }
    fi;
    if
    :: ok -> d_step { Touch(); m_depth++; held++; assert(m_depth == held) }
    :: else
    fi;
    seen = 0
}

inline EnterContended() {
    LockContended();
    d_step { Touch(); m_owner = self; inside++; assert(inside == 1) }
    d_step { Touch(); m_depth = 1; held++; assert(held == 1) }
}

inline Leave() {
    d_step { Touch(); m_depth--; held--; assert(m_depth == held) }
    if
    :: held == 0 ->
#ifdef OWNER_LATE
        inside--;
        Unlock();
        d_step { Touch(); m_owner = 0 }
#else
        d_step { Touch(); m_owner = 0; inside-- }
        Unlock()
#endif
    :: else
    fi
}

inline Enter() {
    TryEnter();
    if
    :: !ok -> EnterContended()
    :: else
    fi;
    ok = false
}

/* --- The threads ------------------------------------------------------------------------------*/

proctype Thread(byte self) {
    byte seen = 0;
    byte spins = 0;
    byte held = 0;
    bool ok = false;
    bool last;

    do
    :: held < DEPTH -> Enter()
    :: held < DEPTH -> TryEnter(); ok = false
    :: held > 0 -> Leave()
    :: held == 0 -> break
    od;

    Enter();
    d_step { users--; last = users == 0 }
    Leave();
    if
    :: last -> d_step { assert(m_word != kHeld && m_owner == 0 && m_depth == 0); destroyed = true }
    :: else
    fi;
    done++
}

init {
    atomic {
        run Thread(1);
        run Thread(2);
#if THREADS > 2
        run Thread(3);
#endif
#if THREADS > 3
        run Thread(4);
#endif
    }
    /* Nobody can move any more: then everybody is to be through. */
    timeout;
    assert(done == THREADS);
    assert(m_word == kFree && m_owner == 0 && m_depth == 0)
}
