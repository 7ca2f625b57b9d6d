/*
 * Events and semaphores: Counter of waitables.cpp, and the line of wait_queue.h beneath it. Each
 * access to memory that threads share is one step here as it is there; what is under the line's
 * guard alone (the line itself) moves as one. The guard is a lock of one step: critical_section.pml
 * shows that it may be.
 *
 * Claims
 *   one a signal   what was given is what has passed, was taken back, or is kept; so a waiter that
 *                  runs out of time neither loses a signal nor doubles it, and a signal without a
 *                  waiter is kept for the next one
 *   nobody left    when nothing moves any more, nobody is in line beside a count, and whoever was
 *                  in line when a signal for it was given has passed, also if the signal was
 *                  taken back at once
 *   line and word  whenever the guard is free, the word is -1 if and only if somebody is in line
 *   hands off      the giver touches neither the object nor a waiter on its stack once that waiter
 *                  may have gone and, if it was the last user, destroyed the object
 *
 * Bounds: WAITERS (of which TIMED have a limit), each waiting ROUNDS times at most, GIVERS, each
 * giving SIGNALS times, SPURIOUS wake-ups in all.
 *   MANUAL      the form that stays set
 *   CEILING     of the count: 1 for an event
 *   TAKES_BACK  a giver takes each signal back at once (reset)
 *   DESTROYS    who leaves as the last waiter destroys the object; a waiter out of time tries again
 *
 * Not modelled: weak order of memory, and exchanges that fail for no reason (they are tried again).
 *
 * Each of these breaks the algorithm in one place, and a claim with it:
 *   SLEEPS_UNSEEN         the futex does not compare the word again before it sleeps
 *   CLOSES_UNSEEN         who gets in line does not look at the count again under the guard
 *   STAYS_CLOSED          the word stays -1 behind the last in line
 *   LEAVES_CLOSED         the same behind one that ran out of time
 *   GIVES_UP_LATE         who was let through in the last moment says that its time ran out
 *   DOES_NOT_AWAIT        the same says at once that it was let through
 *   PASSES_BY             a signal that finds threads in line counts as given
 *   RELEASES_INSIDE       the first in line is released under the guard
 *   OPENS_FOR_NOBODY      giving to all stores the count under the guard also for an empty line
 *   TAKES_BACK_BLINDLY    reset stores 0, whatever the word is
 *   FORGETS_LINE          giving to all stores the count alone
 */

#ifndef WAITERS
#define WAITERS 2
#endif
#ifndef TIMED
#define TIMED 0
#endif
#ifndef ROUNDS
#define ROUNDS 1
#endif
#ifndef GIVERS
#define GIVERS 1
#endif
#ifndef SIGNALS
#define SIGNALS 1
#endif
#ifndef SPURIOUS
#define SPURIOUS 1
#endif
#ifndef CEILING
#define CEILING 1
#endif
#ifdef MANUAL
#define uses 0
#else
#define uses 1
#endif

#define kInLine (-1)
#define nobody 0

/* Counter */
short m_count = 0;
/* WaitQueue: the guard, and the line with its first at [0] */
bool m_guard = false;
byte m_line[WAITERS];
byte m_length = 0;

/* Waiter, one on each waiter's stack */
bool released[WAITERS + 1];
bool inLine[WAITERS + 1];
bool onStack[WAITERS + 1];

bool asleep[WAITERS + 1]; /* in the kernel, on released */
byte spurious = SPURIOUS;

byte given = 0, passed = 0, takenBack = 0;
bool owed[WAITERS + 1];   /* was in line when a signal for it began */
byte users = WAITERS;
byte gone = 0;            /* givers and waiters that have ended */
bool destroyed = false;

inline Touch() { assert(!destroyed) }

/* --- The line ---------------------------------------------------------------------------------*/

inline Lock() { atomic { !m_guard -> Touch(); m_guard = true } }

inline Unlock() {
    d_step {
        Touch();
        assert((m_count == kInLine) == (m_length > 0));
        m_guard = false
    }
}

/* Those behind place n move up. */
inline CloseGap(n) {
    i = n;
    do
    :: i + 1 < m_length -> m_line[i] = m_line[i + 1]; i++
    :: else -> break
    od;
    m_length--;
    m_line[m_length] = nobody;
    i = 0
}

inline Push() {
    d_step {
        Touch();
        inLine[self] = true;
        m_line[m_length] = self;
        m_length++
    }
}

inline Pop(first) {
    d_step {
        Touch();
        first = nobody;
        if
        :: m_length > 0 ->
            first = m_line[0];
            assert(onStack[first]);
            inLine[first] = false;
            given++;
            CloseGap(0)
        :: else
        fi
    }
}

inline Remove(removed) {
    d_step {
        Touch();
        removed = inLine[self];
        inLine[self] = false;
        if
        :: removed ->
            i = 0;
            do
            :: m_line[i] == self -> break
            :: else -> i++
            od;
            CloseGap(i);
            owed[self] = false
        :: else
        fi
    }
}

/* The word is on a stack that is gone behind the store; the wake-up is then a stray one. */
inline Release(waiter) {
    d_step { assert(onStack[waiter]); released[waiter] = true }
    asleep[waiter] = false
}

/* With a limit if there is one: it may run out whenever the thread sleeps. */
inline Sleep(limited, awake) {
    do
    :: awake = released[self];
        if
        :: awake -> break
        :: else
        fi;
        atomic {
            if
#ifdef SLEEPS_UNSEEN
            :: asleep[self] = true
#else
            :: !released[self] -> asleep[self] = true
            :: else
#endif
            fi
        }
        if
        :: !asleep[self]
        :: atomic { asleep[self] && spurious > 0 -> spurious--; asleep[self] = false }
        :: atomic { asleep[self] && limited -> asleep[self] = false }
            awake = released[self];
            break
        fi
    od
}

/* --- Counter ----------------------------------------------------------------------------------*/

inline OpenIfNobodyIsInLine() {
    d_step { Touch(); bare = m_length == 0 }
    if
    :: bare -> d_step { Touch(); m_count = 0 }
    :: else
    fi
}

/* Those in line when a signal begins: all of them, or as many as there are signals. */
inline Owe() {
    d_step {
        i = 0;
        do
        :: i < m_length && (uses == 0 || i == 0) -> owed[m_line[i]] = true; i++
        :: else -> break
        od;
        i = 0
    }
}

/* At the ceiling the word is written as it is. */
inline Give() {
    do
    :: d_step { Touch(); count = m_count }
        if
#ifdef PASSES_BY
        :: count == kInLine -> break
#else
        :: count == kInLine ->
            Lock();
            Pop(first);
            if
            :: first != nobody ->
#ifdef RELEASES_INSIDE
                OpenIfNobodyIsInLine();
                Release(first);
                Unlock();
#else
#ifndef STAYS_CLOSED
                OpenIfNobodyIsInLine();
#endif
                Unlock();
                Release(first);
#endif
                first = nobody;
                break
            :: else -> Unlock()
            fi
#endif
        :: else ->
            d_step {
                Touch();
                took = m_count == count;
                if
                :: took && count < CEILING -> m_count = count + 1; given++
                :: else
                fi
            }
            if
            :: took -> break
            :: else
            fi
        fi
    od;
    count = 0; took = false
}

/* The chain is the line as it was, each released when its turn comes. */
inline GiveToAll() {
    do
    :: d_step {
            Touch();
            count = m_count;
            if
            :: count == 0 -> m_count = 1; given++
            :: else
            fi
        }
        if
        :: count >= 0 -> break
        :: else
        fi;
#ifdef FORGETS_LINE
        d_step { Touch(); m_count = 1 };
        break;
#endif
        Lock();
        d_step {
            Touch();
            i = 0;
            do
            :: i < m_length ->
                chain[i] = m_line[i];
                inLine[chain[i]] = false;
                m_line[i] = nobody;
                i++
            :: else -> break
            od;
            chained = m_length;
            m_length = 0;
            i = 0
        }
        if
#ifdef OPENS_FOR_NOBODY
        :: true ->
#else
        :: chained > 0 ->
#endif
            d_step { Touch(); m_count = 1; given++ }
            Unlock();
            do
            :: next < chained -> Release(chain[next]); chain[next] = nobody; next++
            :: else -> break
            od;
            next = 0; chained = 0;
            break
#ifndef OPENS_FOR_NOBODY
        :: else -> Unlock()
#endif
        fi
    od;
    count = 0
}

inline TakeBack() {
    d_step {
        Touch();
        if
#ifdef TAKES_BACK_BLINDLY
        :: true -> m_count = 0
#else
        :: m_count == 1 -> m_count = 0; takenBack++
        :: else
#endif
        fi
    }
}

inline TryTake(ok) {
    d_step { Touch(); count = m_count; ok = false }
    do
    :: count <= 0 || ok -> break
    :: else ->
        if
        :: uses == 0 -> ok = true
        :: else ->
            d_step {
                Touch();
                ok = m_count == count;
                if
                :: ok -> m_count = count - 1
                :: else -> count = m_count
                fi
            }
        fi
    od;
    count = 0
}

/* Under the guard. */
inline TryTakeOrClose(ok) {
    do
#ifdef CLOSES_UNSEEN
    :: ok = false; d_step { Touch(); m_count = kInLine }
        break
#else
    :: TryTake(ok);
        if
        :: ok -> break
        :: else
        fi;
        d_step {
            Touch();
            took = m_count == 0 || m_count == kInLine;
            if
            :: took -> m_count = kInLine
            :: else
            fi
        }
        if
        :: took -> took = false; break
        :: else
        fi
#endif
    od
}

inline TakeInLine(ok) {
    d_step { onStack[self] = true; released[self] = false }
    Lock();
    TryTakeOrClose(ok);
    if
    :: ok -> Unlock()
    :: else ->
        Push();
        Unlock();
        Sleep(self <= TIMED, ok);
        if
        :: ok
        :: else ->
            Lock();
            Remove(took);
#ifndef LEAVES_CLOSED
            if
            :: took -> OpenIfNobodyIsInLine()
            :: else
            fi;
#endif
            Unlock();
            if
            :: took
            :: else ->
#ifdef GIVES_UP_LATE
                skip
#else
#ifdef DOES_NOT_AWAIT
                ok = true
#else
                Sleep(false, ok)
#endif
#endif
            fi;
            took = false
        fi
    fi;
    d_step { onStack[self] = false; released[self] = false }
}

/* Without a limit, with one, or with one of no time. */
inline Take(ok) {
    TryTake(ok);
    if
    :: ok
    :: !ok && self <= TIMED
    :: !ok -> TakeInLine(ok)
    fi
}

/* --- The threads ------------------------------------------------------------------------------*/

proctype Waiter(byte self) {
    short count = 0;
    byte i = 0;
    byte rounds = ROUNDS;
    bool ok = false;
    bool took = false;
    bool bare = false;

    do
    :: rounds == 0 -> break
    :: else ->
        Take(ok);
        d_step {
            if
            :: ok -> passed++; owed[self] = false; assert(given > 0)
            :: else -> assert(self <= TIMED)
            fi;
#ifdef DESTROYS
            if
            :: ok -> rounds--
            :: else
            fi;
#else
            rounds--;
#endif
            ok = false
        }
    od;
    atomic {
        users--;
        gone++;
        if
#ifdef DESTROYS
        :: users == 0 -> destroyed = true
#endif
        :: else
        fi
    }
}

proctype Giver() {
    short count = 0;
    byte i = 0;
    byte signals = SIGNALS;
    byte first = nobody;
    byte next = 0;
    byte chained = 0;
    byte chain[WAITERS];
    bool took = false;
    bool bare = false;

    do
    :: signals == 0 -> break
    :: else ->
        signals--;
        Owe();
#ifdef MANUAL
        GiveToAll();
#else
        Give();
#endif
#ifdef TAKES_BACK
        TakeBack();
#endif
    od;
    gone++
}

init {
    byte i = 1;
    byte waiting = 0;
    atomic {
        do
        :: i <= WAITERS -> run Waiter(i); i++
        :: else -> break
        od;
        i = 0;
        do
        :: i < GIVERS -> run Giver(); i++
        :: else -> break
        od
    }
    /* Nobody can move any more: whoever has not ended is in line. */
    timeout;
    d_step {
        i = 1;
        do
        :: i <= WAITERS ->
            if
            :: inLine[i] -> waiting++; assert(!owed[i])
            :: else
            fi;
            i++
        :: else -> break
        od
    }
    assert(gone + waiting == WAITERS + GIVERS);
    assert(waiting == m_length);
    assert(waiting == 0 || m_count == kInLine);
    assert(waiting > 0 || m_count >= 0);
    assert(!m_guard);
#ifndef MANUAL
    assert(given == passed + takenBack + (m_count > 0 -> m_count : 0))
#endif
}
