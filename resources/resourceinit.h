#ifndef RESOURCEINIT_H
#define RESOURCEINIT_H

// Registers the compiled-in pictures and fonts (":/image", ":/rec"). The
// resources live in a static library, so whoever shows them first calls
// this; repeated calls do nothing.
void initResources();

#endif // RESOURCEINIT_H
