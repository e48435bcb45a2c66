#include "console/globals.h"

char ProgramDir[kProgramDirSize] = "./";
unsigned char bDebug = 0;
unsigned char bDebugLog = 0;
