// Program-wide switches of the console. Each global has one owner that
// writes it; everyone else only reads.
#pragma once

// Debug trace switches of printfc: bDebug echoes the trace to the screen,
// bDebugLog appends it to the trace file. Both stay 0 in normal use.
extern unsigned char bDebug;
extern unsigned char bDebugLog;
