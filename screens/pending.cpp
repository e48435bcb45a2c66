// Screens whose own code is not written yet: until it is, choosing them does
// nothing.
#include "screens/screens.h"

void paralel_fnc() {}
