/*
 * The reader-writer lock of rwlock.cpp. Each access to memory that threads share is one step here as
 * it is there; what m_arrayLock alone guards (the array) moves with the step beside it. The mutexes
 * and the gate are things of one step: critical_section.pml and event.pml show that they may be.
 *
 * Claims
 *   exclusion         nobody reads or writes beside a writer; but see below
 *   writers first     nobody becomes a reader while a writer waits at the gate
 *   readers go on     a thread that reads gets to neither m_lock nor the gate in order to read again
 *   nobody left       nobody waits for ever (lost wake-up, deadlock), whoever else stops at whatever
 *                     point without a hold
 *   nothing behind    when nobody holds or asks, the lock is free in every field, and until then a
 *                     release by a holder never fails. The gate alone may stay closed, behind a
 *                     thread that gave its read holds up while it wrote: who finds the array empty
 *                     does not look at it
 *
 * What is meant and is no fault: behind an upgrade that waited the gate stays open, until all
 * readers have gone, and a writer may get in beside them. The model forgives that and no more, and
 * looks at no way any further on which it has happened. With STRICT it does not forgive. With GOES_ON
 * it looks further, and finds the lock stuck: a reader that lets go beside such a writer takes from
 * counts that are being parked.
 *
 * What is meant to be left to callers, and is found here:
 *   - two that upgrade at one time wait for each other;
 *   - so do one that upgrades and a writer that waits for it to stop reading.
 * A try for the write lock does neither.
 *
 * Each thread does, in any order and without end, what its MAY_ says: the sum of kRead, kTryRead,
 * kWrite and kTryWrite (while it does not read), kUpgrade and kTryUpgrade (while it does); at most
 * HOLDS read holds and HOLDS write holds at a time. It may read while it writes if it may read.
 *
 * Not modelled: weak order of memory; a gate, a mutex or an allocation that fails; threads that
 * release what they do not hold; the order of the array, which nothing asks for.
 *
 * Each of these breaks the algorithm in one place, and a claim with it:
 *   TRY_MARKS       a try shows as the pending writer until it fails
 *   SWAPPED         with TRY_MARKS: the mark is taken back behind m_lock
 *   COUNT_ALONE     the last other reader does not open the gate for a writer that reads itself
 *   MARKS_LATE      the pending writer shows only when it is at the gate
 *   READS_ANEW      a thread that reads already queues to read again
 *   WAITS_OUTSIDE   a writer gives m_lock up while it waits at the gate
 *   NEVER_CLOSES    the first reader leaves the gate open
 *   FORGETS_PARKED  the end of a write does not give the parked holds back
 *   TRY_KEEPS       a try to read that fails keeps m_lock
 */

#define kRead 1
#define kTryRead 2
#define kWrite 4
#define kTryWrite 8
#define kUpgrade 16
#define kTryUpgrade 32

#ifndef MAY_1
#define MAY_1 kRead
#endif
#ifndef MAY_2
#define MAY_2 kWrite
#endif
#ifndef HOLDS
#define HOLDS 2
#endif
#ifdef MAY_3
#define THREADS 3
#else
#define THREADS 2
#endif

/* m_lock, which is recursive, and m_arrayLock: who holds them, 0 for nobody */
byte lockOwner = 0;
byte lockDepth = 0;
byte arrayOwner = 0;
/* m_writerGate, and who waits there */
bool gateOpen = true;
bool atGate[THREADS + 1];

short m_count = 0;
short m_savedReads = 0;
byte m_array[THREADS + 1]; /* a thread's holds; 0 where it has no entry */
byte m_pendingWriter = 0;
bool m_writerActive = false;

/* What the threads believe that they hold. */
byte reads[THREADS + 1];
byte writes[THREADS + 1];
bool leftOpen = false;  /* the gate, behind an upgrade that waited */
bool tries = false;     /* the pending writer only tries */
bool overlap = false;   /* somebody got in through a gate left open */
byte done = 0;

#if THREADS > 2
#define others(what) ((self == 1 || what[1] == 0) && (self == 2 || what[2] == 0) && \
                      (self == 3 || what[3] == 0))
#else
#define others(what) ((self == 1 || what[1] == 0) && (self == 2 || what[2] == 0))
#endif

#ifdef GOES_ON
#define stops false
#else
#define stops overlap
#endif
#define surely(claim) assert(overlap || (claim))

#ifdef STRICT
#define exclusively(claim) assert(claim)
#else
#define exclusively(claim) surely(claim)
#endif

/* --- Mutexes and the gate ---------------------------------------------------------------------*/

inline AcquireLock() {
    assert(arrayOwner != self);
    atomic { lockOwner == 0 || lockOwner == self -> lockOwner = self; lockDepth++ }
}

inline TryAcquireLock() {
    d_step {
        ok = lockOwner == 0 || lockOwner == self;
        if
        :: ok -> lockOwner = self; lockDepth++
        :: else
        fi
    }
}

inline ReleaseLock() {
    d_step {
        assert(lockOwner == self);
        lockDepth--;
        if
        :: lockDepth == 0 -> lockOwner = 0
        :: else
        fi
    }
}

inline AcquireArray() { atomic { arrayOwner == 0 -> arrayOwner = self } }

inline TryAcquireArray() {
    d_step {
        ok = arrayOwner == 0;
        if
        :: ok -> arrayOwner = self
        :: else
        fi
    }
}

inline ReleaseArray() { d_step { assert(arrayOwner == self); arrayOwner = 0 } }

inline GateOpen() {
    d_step {
        gateOpen = true;
        atGate[1] = false;
        atGate[2] = false;
#if THREADS > 2
        atGate[3] = false;
#endif
        if
        :: m_count > 0 && !tries -> leftOpen = true
        :: else
        fi
    }
}

inline GateClose() { d_step { gateOpen = false; leftOpen = false } }

inline GateWait() {
    assert(arrayOwner != self);
    d_step { atGate[self] = !gateOpen }
    !atGate[self]
}

/* --- What several operations share ------------------------------------------------------------*/

inline AddHold() {
#ifdef READS_ANEW
    ok = false
#else
    if
    :: m_array[self] == 0 -> ok = false
    :: else ->
        seen = m_writerActive;
        if
        :: seen -> m_savedReads++
        :: else -> d_step { m_count++; m_array[self]++ }
        fi;
        ok = true;
        seen = 0
    fi
#endif
}

inline AddReader() {
    seen = m_writerActive;
    if
    :: seen -> m_savedReads++
    :: else ->
        d_step { surely(others(atGate)); m_count++; seen = m_count }
        if
#ifndef NEVER_CLOSES
        :: seen == 1 -> GateClose()
#endif
        :: else
        fi;
        m_array[self] = m_array[self] + 1
    fi;
    seen = 0
}

inline OnlyPendingWriterReads() {
    d_step {
        ok = m_pendingWriter != 0 && (m_pendingWriter == 1 || m_array[1] == 0) &&
#if THREADS > 2
             (m_pendingWriter == 3 || m_array[3] == 0) &&
#endif
             (m_pendingWriter == 2 || m_array[2] == 0)
    }
}

/* Here is where a writer gets in. */
inline BeginWriting(depth) {
    d_step {
        if
        :: others(m_array)
        :: else -> surely(leftOpen); overlap = true
        fi;
        seen = m_count
    }
    d_step { m_savedReads = seen; seen = 0 }
    m_count = depth;
    d_step { m_pendingWriter = 0; tries = false }
    m_writerActive = true
}

inline EndWriting() {
#ifdef FORGETS_PARKED
    m_count = 0;
#else
    seen = m_savedReads;
    d_step { m_count = seen; seen = 0 }
#endif
    AcquireArray();
    if
    :: m_array[self] != 0 -> m_array[self] = m_savedReads
    :: else
    fi;
    ReleaseArray();
    m_savedReads = 0;
    m_writerActive = false
}

/* --- Reading ----------------------------------------------------------------------------------*/

inline AcquireRead() {
    AcquireArray();
    AddHold();
    ReleaseArray();
    if
    :: ok
    :: else ->
        surely(reads[self] == 0 || writes[self] > 0);
        AcquireLock();
        AcquireArray();
        AddReader();
        ReleaseArray();
        ReleaseLock();
        ok = true
    fi
}

inline TryAcquireRead() {
    TryAcquireArray();
    if
    :: ok ->
        AddHold();
        ReleaseArray();
        if
        :: ok
        :: else ->
            TryAcquireLock();
            if
            :: ok ->
                TryAcquireArray();
                if
                :: ok -> AddReader(); ReleaseArray()
                :: else
                fi;
                if
#ifdef TRY_KEEPS
                :: !ok
#endif
                :: else -> ReleaseLock()
                fi
            :: else
            fi
        fi
    :: else
    fi
}

inline ReleaseRead() {
    seen = m_writerActive;
    if
    :: seen ->
        seen = m_savedReads;
        if
        :: seen > 0 -> m_savedReads--; ok = true
        :: else -> ok = false
        fi
    :: else ->
        AcquireArray();
        if
        :: m_array[self] == 0 -> ok = false
        :: else ->
            d_step { m_array[self]--; m_count--; ok = m_count == 0 }
            if
#ifndef COUNT_ALONE
            :: !ok -> OnlyPendingWriterReads()
#endif
            :: else
            fi;
            if
            :: ok -> GateOpen()
            :: else
            fi;
            ok = true
        fi;
        ReleaseArray()
    fi;
    seen = 0
}

/* --- Writing ----------------------------------------------------------------------------------*/

inline AcquireWrite() {
    AcquireLock();
    seen = m_writerActive;
    if
    :: seen
    :: else ->
#ifndef MARKS_LATE
        m_pendingWriter = self;
#endif
        AcquireArray();
        OnlyPendingWriterReads();
        ReleaseArray();
        if
        :: ok
        :: else ->
#ifdef MARKS_LATE
            m_pendingWriter = self;
#endif
#ifdef WAITS_OUTSIDE
            ReleaseLock();
            GateWait();
            AcquireLock()
#else
            GateWait()
#endif
        fi;
        BeginWriting(0)
    fi;
    m_count++;
    ok = true;
    seen = 0
}

inline TryAcquireWrite() {
    TryAcquireLock();
    if
    :: !ok
    :: else ->
        seen = m_writerActive;
        if
        :: seen -> m_count++
        :: else ->
#ifdef TRY_MARKS
            d_step { m_pendingWriter = self; tries = true }
#endif
            TryAcquireArray();
            if
            :: ok ->
                ok = others(m_array);
                ReleaseArray();
                if
                :: ok
                :: else -> ok = gateOpen
                fi
            :: else
            fi;
            if
            :: ok -> BeginWriting(1)
            :: else ->
#ifdef SWAPPED
                ReleaseLock();
                d_step { m_pendingWriter = 0; tries = false }
#else
#ifdef TRY_MARKS
                d_step { m_pendingWriter = 0; tries = false }
#endif
                ReleaseLock()
#endif
            fi
        fi
    fi;
    seen = 0
}

inline ReleaseWrite() {
    seen = m_writerActive;
    if
    :: seen ->
        d_step { m_count--; seen = m_count }
        if
        :: seen < 0 -> ok = false
        :: else ->
            if
            :: seen == 0 -> EndWriting()
            :: else
            fi;
            ReleaseLock();
            ok = true
        fi
    :: else -> ok = false
    fi;
    seen = 0
}

/* --- The threads ------------------------------------------------------------------------------*/

/* What has no bound of its own would show here, and not as a search without end. */
#define bounded() \
    surely(m_count >= 0 && m_count <= THREADS * HOLDS && m_savedReads >= 0 && \
           m_savedReads <= THREADS * HOLDS)

inline NoteRead() {
    d_step {
        bounded();
        if
        :: ok ->
            exclusively(others(writes));
            entered = entered || writes[self] == 0;
            reads[self]++
        :: else
        fi;
        ok = false
    }
}

inline NoteWrite() {
    d_step {
        bounded();
        if
        :: ok ->
            exclusively(others(reads) && others(writes));
            writes[self]++
        :: else
        fi;
        ok = false
    }
}

#define mayWrite(plain, upgrade) \
    ((MAY & ((reads[self] == 0 || writes[self] > 0) -> plain : upgrade)) != 0)

proctype Thread(byte self; byte MAY) {
    short seen = 0;
    bool ok = false;
    bool entered = false; /* its read holds have an entry in the array */

    do
    :: stops -> break
    :: else ->
        if
        :: reads[self] < HOLDS && (MAY & kRead) != 0 -> AcquireRead(); NoteRead()
        :: reads[self] < HOLDS && (MAY & kTryRead) != 0 -> TryAcquireRead(); NoteRead()
        :: reads[self] > 0 ->
            d_step {
                reads[self]--;
                entered = entered && (reads[self] > 0 || writes[self] > 0)
            }
            ReleaseRead();
            d_step { surely(ok); ok = false }
        :: writes[self] < HOLDS && mayWrite(kWrite + kUpgrade, kUpgrade) -> AcquireWrite(); NoteWrite()
        :: writes[self] < HOLDS && mayWrite(kTryWrite + kTryUpgrade, kTryUpgrade) ->
            TryAcquireWrite(); NoteWrite()
        /* Read holds without an entry are released before the write lock is. */
        :: writes[self] > 1 || (writes[self] == 1 && (reads[self] == 0 || entered)) ->
            d_step {
                writes[self]--;
                entered = entered && (reads[self] > 0 || writes[self] > 0)
            }
            ReleaseWrite();
            d_step { surely(ok); ok = false }
        :: reads[self] == 0 && writes[self] == 0 -> break
        fi
    od;
    done++
}

init {
    atomic {
        run Thread(1, MAY_1);
        run Thread(2, MAY_2);
#if THREADS > 2
        run Thread(3, MAY_3);
#endif
    }
    /* Nobody can move any more: then everybody is to be through, and the lock free. */
    timeout;
    assert(stops || done == THREADS);
    surely(lockOwner == 0 && arrayOwner == 0);
    surely(m_count == 0 && m_savedReads == 0 && m_pendingWriter == 0 && !m_writerActive);
    surely(m_array[1] == 0 && m_array[2] == 0);
#if THREADS > 2
    surely(m_array[3] == 0)
#endif
}
