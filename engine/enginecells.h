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

// The remainder by a fixed divisor without a division instruction
// (Lemire, Kaser and Kurz, "Faster remainder by direct computation"):
// exact for every 32-bit dividend and divisor, so draw % d gives the same
// value as randomBelow(d) for d >= 1. The sweeps use it for the radii of
// the random search, which are the same for every pixel of a level.
struct Divisor
{
    uint32_t d = 1;
    uint64_t magic = 0; // 2^64 / d rounded up (0 for d == 1)

    Divisor() = default;
    explicit Divisor(uint32_t divisor)
        : d(divisor)
        , magic(UINT64_C(0xFFFFFFFFFFFFFFFF) / divisor + 1)
    {
    }

    uint32_t remainder(uint32_t a) const
    {
        const uint64_t low = magic * a;
        return uint32_t((static_cast<unsigned __int128>(low) * d) >> 64);
    }
};

// randomBelow(divisor.d) for a positive divisor, with the same draw.
inline int randomBelow(const Divisor &divisor)
{
    return int(divisor.remainder(uint32_t(randomDraw())));
}

} // namespace engine

#endif // MERVANE_ENGINECELLS_H
