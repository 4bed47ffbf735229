#ifndef MERVANE_PROGRESS_H
#define MERVANE_PROGRESS_H

// Percentage shown for an engine progress value. The engine reports the
// number of the pyramid level it is working on, counting down to 1; the
// first value of a job is the base. Values below 1 (and a base below 1)
// show 0, so nothing ever divides by zero.
inline int progressPercent(long sum, long base)
{
    if (sum < 1 || base < 1)
        return 0;
    return int(100 - (sum * 100) / base);
}

#endif // MERVANE_PROGRESS_H
