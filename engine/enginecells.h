#ifndef MERVANE_ENGINECELLS_H
#define MERVANE_ENGINECELLS_H

// Internal helpers of the engine kernels: relaxed-atomic access to the shared
// field and cost cells, and the per-thread random generator.

#include <atomic>
#include <cstdint>

namespace engine {

// The field and the cost map are read and written by several sweeps at once
// on purpose. Relaxed atomics make those races defined; on x86 they compile
// to the same plain 16-bit moves.
inline int loadCell(const short *cell)
{
    return static_cast<uint16_t>(
        std::atomic_ref<short>(*const_cast<short *>(cell)).load(std::memory_order_relaxed));
}

inline void storeCell(short *cell, int value)
{
    std::atomic_ref<short>(*cell).store(static_cast<short>(value), std::memory_order_relaxed);
}

// Uniform draws in 0 .. 2^31 - 1, like the C library's rand() but with one
// generator per thread (rand() takes a lock and serialises the sweeps).
// xorshift64*, seeded once per thread from a shared counter.
uint64_t nextThreadSeed();

inline int randomDraw()
{
    thread_local uint64_t state = nextThreadSeed();
    state ^= state >> 12;
    state ^= state << 25;
    state ^= state >> 27;
    return static_cast<int>((state * 2685821657736338717ULL) >> 33);
}

// randomDraw() % n for any n != 0 (negative n keeps the C remainder rule:
// the result is then 0 .. |n| - 1). n == 0 yields 0 instead of a trap.
inline int randomBelow(int n)
{
    return n != 0 ? randomDraw() % n : 0;
}

} // namespace engine

#endif // MERVANE_ENGINECELLS_H
