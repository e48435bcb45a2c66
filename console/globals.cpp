#include "console/globals.h"

unsigned char bDebug = 0;
unsigned char bDebugLog = 0;
