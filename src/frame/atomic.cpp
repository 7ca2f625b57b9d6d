#include <kxcore7/atomic.h>

#include <atomic>

namespace {

template <typename Word>
std::atomic_ref<Word> Atomic(volatile Word* word) {
    return std::atomic_ref<Word>(const_cast<Word&>(*word));
}

// Wraps without the undefined behaviour of a signed sum.
template <typename Word>
Word Sum(Word a, Word b) {
    Word sum;
    __builtin_add_overflow(a, b, &sum);
    return sum;
}

}  // namespace

int32_t KXAtomicAdd32(volatile int32_t* word, int32_t delta) {
    return Sum(Atomic(word).fetch_add(delta), delta);
}

intptr_t KXAtomicAddSZ(volatile intptr_t* word, intptr_t delta) {
    return Sum(Atomic(word).fetch_add(delta), delta);
}

int32_t KXAtomicIncrement(volatile int32_t* word) {
    return KXAtomicAdd32(word, 1);
}

int32_t KXAtomicDecrement(volatile int32_t* word) {
    return KXAtomicAdd32(word, -1);
}

int32_t KXAtomicExchange(volatile int32_t* word, int32_t value) {
    return Atomic(word).exchange(value);
}

int32_t KXAtomicCompareExchange(volatile int32_t* word, int32_t exchange, int32_t comparand) {
    Atomic(word).compare_exchange_strong(comparand, exchange);
    return comparand;
}
