// Program-wide state shared by every module. Each global has one owner that
// writes it; everyone else only reads.
#pragma once

// The editor's own directory, always ending in "/". Every file the editor
// touches is ProgramDir followed by a file name. Set once by start-up.
constexpr unsigned kProgramDirSize = 256;
extern char ProgramDir[kProgramDirSize];

// Debug trace switches of printfc: bDebug echoes the trace to the screen,
// bDebugLog appends it to debugs.log. Both stay 0 in normal use.
extern unsigned char bDebug;
extern unsigned char bDebugLog;
