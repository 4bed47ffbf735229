#ifndef MERVANE_WAITPOLICY_H
#define MERVANE_WAITPOLICY_H

// Idle OpenMP threads spin by default while the job thread does its serial
// steps; on a busy machine that spinning takes the core the job needs (about
// 2.5 times slower wall time under load). The runtime reads OMP_WAIT_POLICY
// once, in its own library initialiser, before main, so the policy must be
// in the environment before that initialiser runs.
//
// A program linked with waitpolicy.cpp puts OMP_WAIT_POLICY=PASSIVE there
// (unless the user chose a policy) from its pre-initialisation array, which
// the dynamic loader runs before any library's initialiser; no restart.
// setenv() cannot be used so early (the C library resets its environment
// pointer to the original array when it initialises), so the entry borrows,
// in that original array, the slot of a variable no initialiser reads ("_",
// OLDPWD or SHLVL); ensurePassiveWaitPolicy() gives the slot back. With none
// of those set the default policy stays.
//
// Call ensurePassiveWaitPolicy() first thing in main: it restores the
// borrowed variable, keeps this file (and its pre-initialiser) in the
// program, and returns the policy the runtime started with ("" if default).
const char *ensurePassiveWaitPolicy();

#endif // MERVANE_WAITPOLICY_H
