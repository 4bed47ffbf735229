#ifndef MERVANE_WAITPOLICY_H
#define MERVANE_WAITPOLICY_H

// Idle OpenMP threads spin by default while the job thread does its serial
// steps; on a busy machine that spinning takes the core the job needs (about
// 2.5 times slower wall time under load). The runtime reads its wait policy
// once, before main, so a program that wants passive waiting must set it and
// start itself again. Call first thing in main; returns only if the policy is
// already set (by the user or by the restart) or the restart failed.
void restartWithPassiveWaitPolicy(char *argv[]);

#endif // MERVANE_WAITPOLICY_H
