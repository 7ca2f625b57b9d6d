/*
 * Semaphores that processes share: SharedCount of shared_semaphore.h. Each access to the word is one
 * step here as it is there, and so is what the kernel does in one call: to compare and go to sleep,
 * to add and wake all. Any process may be killed in front of any step that others notice, and in its
 * sleep, which is as good as between any two instructions.
 *
 * Claims
 *   no sleep beside a count   nobody is ever asleep while there is a count; so when nothing moves any
 *                             more, whoever waits yet and was not killed does so beside none
 *   the ceiling               the count never passes it
 *   one a post                a post that returned added one, and one that failed added nothing
 *   everybody is known        no fewer waiters are written down than wait
 *
 * Bounds: WAITERS (of which TIMED have a limit), each waiting ROUNDS times at most, POSTERS, each
 * posting POSTS times, KILLS in all, SPURIOUS wake-ups in all.
 *   INITIAL, CEILING              of the count
 *   MOST_WAITERS, MOST_PROMISES   that can be written down
 *   BESIDE_FOR_A_MOMENT           the first claim is made only of when nothing moves any more
 *
 * Not modelled: weak order of memory, and exchanges that fail for no reason (they are tried again).
 *
 * Each of these breaks the algorithm in one place, and a claim with it:
 *   SLEEPS_UNSEEN        the futex does not compare the word again before it sleeps
 *   WAKES_NOBODY         the post that ends a count of 0 is like any other
 *   WAKES_ONE            it wakes one waiter: who may be killed before it takes
 *   WAKES_APART          it adds in one step and wakes in another: it may be killed between them
 *   PROMISES_NOTHING     it adds without a promise, whatever the word is by then
 *   REGISTERS_NOBODY     waiters sleep without being written down
 *   FORGETS_THE_MANY     waiters are struck off although nobody knows how many there are
 *   STRIKES_TWICE        who runs out of time is struck off twice
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
#ifndef POSTERS
#define POSTERS 2
#endif
#ifndef POSTS
#define POSTS 1
#endif
#ifndef KILLS
#define KILLS 1
#endif
#ifndef SPURIOUS
#define SPURIOUS 1
#endif
#ifndef INITIAL
#define INITIAL 0
#endif
#ifndef CEILING
#define CEILING 3
#endif
#ifndef MOST_WAITERS
#define MOST_WAITERS 7
#endif
#ifndef MOST_PROMISES
#define MOST_PROMISES 3
#endif

/* Waiters are 0 to WAITERS - 1, posters follow. */
#define PROCESSES (WAITERS + POSTERS)

/* The word */
byte m_promises = 0, m_count = INITIAL, m_waiters = 0;

bool asleep[PROCESSES];     /* in the kernel, on the word */
bool registered[PROCESSES]; /* written down as a waiter */
bool ended[PROCESSES];
byte kills = KILLS, spurious = SPURIOUS;
bool many = false;          /* waiters were once as many as can be written down */
byte known = 0;             /* that are registered, and those who were killed so */

#define load() promises = m_promises; count = m_count; waiters = m_waiters
/* What was loaded is not kept behind the step that was made of it: it would only multiply states. */
#define unload() promises = 0; count = 0; waiters = 0
#define unchanged (promises == m_promises && count == m_count && waiters == m_waiters)

#define may_die :: atomic { kills > 0 -> kills--; asleep[self] = false; goto dead }

inline Check() {
    assert(m_count <= CEILING);
    i = 0;
    do
#ifndef BESIDE_FOR_A_MOMENT
    :: i < PROCESSES -> assert(!asleep[i] || m_count == 0); i++
#endif
    :: else -> break
    od;
    i = 0;
    assert(m_waiters >= known || m_waiters == MOST_WAITERS)
}

/* --- The kernel -------------------------------------------------------------------------------*/

inline WakeAll() {
    i = 0;
    do
    :: i < PROCESSES -> asleep[i] = false; i++
    :: else -> break
    od;
    i = 0
}

/* The first: any is as good as another. */
inline WakeOne() {
    i = 0;
    do
    :: i < PROCESSES && asleep[i] -> asleep[i] = false; break
    :: i < PROCESSES && !asleep[i] -> i++
    :: else -> break
    od;
    i = 0
}

/* While the word is what was loaded. */
inline Sleep() {
    if
    :: d_step {
            if
#ifdef SLEEPS_UNSEEN
            :: true -> asleep[self] = true
#else
            :: unchanged -> asleep[self] = true
            :: else
#endif
            fi;
            unload();
            Check()
        }
    may_die
    fi;
    if
    :: !asleep[self]
    :: atomic { asleep[self] && spurious > 0 -> spurious--; asleep[self] = false }
    :: atomic { asleep[self] && self < TIMED -> asleep[self] = false; late = true }
    may_die
    fi
}

/* --- SharedCount ------------------------------------------------------------------------------*/

/* A plain addition; nothing if the word has changed. */
inline Add() {
    if
    :: d_step {
            done = unchanged;
            if
            :: done -> m_count++; added++
            :: else
            fi;
            unload();
            Check()
        }
    may_die
    fi
}

inline Promise() {
    if
    :: d_step {
            done = unchanged;
            if
            :: done -> m_promises++
            :: else
            fi;
            unload()
        }
    may_die
    fi
}

inline AddAndWake(promised) {
    if
    :: d_step {
            m_promises = m_promises - promised;
            m_count++;
            added++;
#ifdef WAKES_ONE
            WakeOne();
#else
            WakeAll();
#endif
            Check()
        }
    may_die
    fi
}

inline Post() {
    done = false;
    do
    :: done -> break
    :: else ->
        d_step { load() }
        if
        :: count + promises >= CEILING -> failed = true; break
#ifndef WAKES_NOBODY
        :: count + promises < CEILING && count == 0 && waiters > 0 ->
#ifdef PROMISES_NOTHING
            AddAndWake(0);
            done = true
#else
            if
#ifdef WAKES_APART
            :: true ->
#else
            :: promises >= MOST_PROMISES ->
#endif
                Add();
                if
                :: done ->
                    if
                    :: d_step { WakeAll() }
                    may_die
                    fi
                :: else
                fi
#ifndef WAKES_APART
            :: else ->
                Promise();
                if
                :: done -> AddAndWake(1)
                :: else
                fi
#endif
            fi
#endif
#endif
        :: else -> Add()
        fi
    od
}

/* Or takes a count that came meanwhile. */
inline Register() {
    done = false;
    do
    :: done -> break
    :: else ->
        d_step { load() }
        if
        :: d_step {
                done = unchanged;
                if
                :: done && count > 0 -> m_count--; taken = true
#ifndef REGISTERS_NOBODY
                :: done && count == 0 && waiters < MOST_WAITERS ->
                    m_waiters++;
                    known++;
                    registered[self] = true
#endif
                :: else
                fi;
                unload();
                Check()
            }
        may_die
        fi
    od
}

/* Takes, if there is a count, and is struck off, in one step. */
inline Leave() {
    if
    :: d_step {
            done = unchanged;
            if
            :: done ->
                if
                :: count > 0 -> m_count--; taken = true
                :: else
                fi;
                if
#ifdef FORGETS_THE_MANY
                :: waiters > 0 -> m_waiters--
#else
                :: waiters > 0 && waiters < MOST_WAITERS -> m_waiters--
#endif
                :: else
                fi;
#ifdef STRIKES_TWICE
                if
                :: !taken && m_waiters > 0 -> m_waiters--
                :: else
                fi;
#endif
                if
                :: registered[self] -> registered[self] = false; known--
                :: else
                fi
            :: else
            fi;
            unload();
            Check()
        }
    may_die
    fi
}

inline Wait() {
    taken = false; late = false;
    Register();
    if
    :: taken
    :: else ->
        done = false;
        do
        :: done -> break
        :: else ->
            d_step { load() }
            if
            :: count == 0 && !late -> Sleep()
            :: else -> Leave()
            fi
        od
    fi
}

/* --- The processes ----------------------------------------------------------------------------*/

proctype Waiter(byte self) {
    byte promises = 0, count = 0, waiters = 0, i = 0, rounds = ROUNDS;
    bool done = false, taken = false, late = false;
    do
    :: rounds == 0 -> break
    :: else -> rounds--; Wait()
    od;
dead:
    ended[self] = true
}

proctype Poster(byte self) {
    byte promises = 0, count = 0, waiters = 0, i = 0, posts = POSTS, added = 0;
    bool done = false, failed = false;
    do
    :: posts == 0 -> break
    :: else ->
        posts--;
        Post();
        atomic { assert(added == (failed -> 0 : 1)); added = 0; failed = false; done = false }
    od;
dead:
    ended[self] = true
}

init {
    byte i = 0;
    atomic {
        do
        :: i < WAITERS -> run Waiter(i); i++
        :: i >= WAITERS && i < PROCESSES -> run Poster(i); i++
        :: else -> break
        od;
        i = 0
    }
    /* Nobody can move any more. */
    timeout;
    do
    :: i < PROCESSES ->
        assert(ended[i] || (asleep[i] && m_count == 0));
        i++
    :: else -> break
    od;
    assert(m_count <= CEILING)
}
