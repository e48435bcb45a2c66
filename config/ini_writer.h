// Writing the record INI back to Korvel's files.
//
// Files are regenerated from the record every time: two comment lines, an
// empty line, then each section as its header, its keys one per line and an
// empty line. Each file is replaced whole or not at all.
#pragma once

#include <cstddef>

#include "config/fields.h"

// Encodes the schedules and writes every file: korvel.ini, jobs.ini,
// jobsSTS.ini, the group files, sensor.ini, all or none. Each is staged in
// that order, and only when all are staged are they put in place. 0, or the
// error number of the first file that could not be staged (then no file has
// changed) or put in place (then UnsavedFiles names the files that are not
// new, SavedFiles those that are). Signals that end the program wait until it
// returns.
int SaveINI();
extern char SavedFiles[256], UnsavedFiles[256];

// Asked, once a file's new text is complete, whether the save is to write
// it. Null, the editor's way, writes every file; corvanectl writes only the
// files whose text changes.
extern bool (*SaveWanted)(const char *name, const char *bytes, size_t size);

// Each writes its file from INI and returns 0 or the error number.
int SaveKorvelINI();
int SaveJobsINI();
int SaveJobsSTSINI();
int SaveSensorINI();
// Writes the groups in use to group_00.ini, group_01.ini ... in entry order.
// Files numbered from the count of groups written on are left alone.
int SaveGroupsINI();

// Writes every section of `file` from `base` (the record, or one group)
// to ProgramDir + `name`. 0 or the error number. Once the file is open,
// `before_section` (when given) is called before each kind of section.
int write_ini_file(IniFile file, const char *name, const unsigned char *base,
                   void (*before_section)(const SectionKind &) = nullptr);
