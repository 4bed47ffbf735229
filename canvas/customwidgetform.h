#ifndef CUSTOMWIDGETFORM_H
#define CUSTOMWIDGETFORM_H

// Forms include the canvas layer through this name: the form compiler
// replaces a header called customwidget.h by one of its own plugin headers.
#include "customwidget.h"

#endif // CUSTOMWIDGETFORM_H
