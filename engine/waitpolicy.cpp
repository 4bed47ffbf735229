#include "waitpolicy.h"

#include <cstdlib>
#include <initializer_list>

namespace {

char g_passive[] = "OMP_WAIT_POLICY=PASSIVE";
char **g_borrowedSlot = nullptr;
char *g_borrowedEntry = nullptr;

// True if `entry` ("NAME=value") is the variable `name`. No library call:
// this runs before the C library has initialised.
bool isVariable(const char *entry, const char *name)
{
    while (*name && *entry == *name) {
        ++entry;
        ++name;
    }
    return *name == '\0' && *entry == '=';
}

char **findVariable(char **environment, const char *name)
{
    for (char **e = environment; *e; ++e)
        if (isVariable(*e, name))
            return e;
    return nullptr;
}

void lendPassivePolicy(int, char **, char **environment)
{
    if (!environment || findVariable(environment, "OMP_WAIT_POLICY"))
        return; // the user's policy stays
    for (const char *name : {"_", "OLDPWD", "SHLVL"}) {
        if (char **slot = findVariable(environment, name)) {
            g_borrowedSlot = slot;
            g_borrowedEntry = *slot;
            *slot = g_passive;
            return;
        }
    }
}

// Run by the dynamic loader before the initialisers of all shared libraries,
// the OpenMP runtime's among them.
__attribute__((section(".preinit_array"), used)) void (*const g_lendPassivePolicy)(int, char **, char **) =
    lendPassivePolicy;

} // namespace

const char *ensurePassiveWaitPolicy()
{
    if (g_borrowedSlot) {
        *g_borrowedSlot = g_borrowedEntry;
        g_borrowedSlot = nullptr;
        return "PASSIVE";
    }
    const char *policy = std::getenv("OMP_WAIT_POLICY");
    return policy ? policy : "";
}
