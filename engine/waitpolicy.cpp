#include "waitpolicy.h"

#include <cstdlib>
#include <unistd.h>

void restartWithPassiveWaitPolicy(char *argv[])
{
    if (std::getenv("OMP_WAIT_POLICY"))
        return;
    setenv("OMP_WAIT_POLICY", "PASSIVE", 1);
    execv("/proc/self/exe", argv);
    // exec failed: carry on with the default policy.
}
