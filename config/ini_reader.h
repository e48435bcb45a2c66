// Reading Korvel's files into the record INI.
//
// One parser serves every file. It keeps Korvel's own reading rules even
// where they look odd (they decide what Korvel itself sees): the current
// section is one program-wide value that is not reset between files, keys of
// an unknown section land in the section before it, keys are not trimmed, and
// sections past the end of an array write into the fields that follow it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "config/fields.h"
#include "config/files.h"

// The section slot of the last header recognised; 255 before any. Not reset
// between files.
extern uint8_t actual_section;
// The group whose file is being read.
extern int g_index;
// The value of the key line being stored.
extern const char *p_s;

// Clears INI, loads every file, decodes the schedules and copies INI into
// INI1. 0; 1 when korvel.ini is missing (the other files are optional); 2 when
// a file is there but cannot be read or is no regular file (UnreadablePath
// and UnreadableError say which and why).
int LoadINI();
// The same with only the first `count` files of the reading order
// (korvel.ini, jobs.ini, jobsSTS.ini, the group files, sensor.ini): what a
// later file says cannot change what an earlier one is read as.
int LoadINIFiles(int count);
// Where a load takes a file from, by its name ("korvel.ini"): its bytes, or
// null for the file of ProgramDir. A load takes the bytes remember_files
// last kept of ProgramDir, and reads only the files it kept none of.
using FileSource = const FileBytes *(*)(const char *name);
// The same with each file taken from `source`, into INI alone (INI1 stays
// as it is): what Korvel would read from a mix of files, or from files that
// are not on disk.
int LoadINIFilesFrom(int count, FileSource source);
int LoadKorvelINI();
int LoadJobsINI();
int LoadJobsSTSINI();
int LoadSensorINI();
// Reads group_00.ini to group_09.ini into groups 0-9; only group_09's
// result is returned, unless a file cannot be read (2).
int LoadGroupsINI();

// Parses the file at `path` as file number `file` into INI. 0; 1 when there
// is no such file; 2 when it cannot be read or is no regular file.
int EncodeINIFile(int file, const char *path);
// Parses the bytes of a file as file number `file` into INI.
void EncodeINIText(int file, const char *bytes, size_t size);
// What Korvel reads into number field `field` of entry `entry` (from 0) of
// section kind `kind` from the value `text`: what strtol makes of it, cut to
// 32 bits and then to the field's width, a switch's low 8 bits, the
// Shutdown of every job-status job and of jobs 1-5 and the odd ones as 0, a
// [WapConfig] Port of 0 as 9200.
unsigned ReadNumber(const SectionKind &kind, int entry, const Field &field, const char *text);
// Stores p_s into the field of (file, section slot, key slot), if there is
// one, and returns where (null when nothing is stored).
unsigned char *FillVar(int file, int section, int key);

// What the reader made of each line, told to ReadNote when it is set
// (corvanectl's check sets it; the editor does not).
enum class LineFate { Skipped, Header, UnknownHeader, Key, UnknownKey, NoSection };
struct ReadLine {
    int file;             // the file's number, as for EncodeINIFile
    int number;           // the line's number in its file, from 1
    const char *text;     // as read: at most 298 characters, with the line end if it came
    bool continued;       // the rest of a longer line, read as a line of its own
    LineFate fate;
    int section;          // the section slot in force after the line
    const char *key;      // a key line's key (with what follows it cut off)
    const char *value;    // and the value it was stored from
    unsigned char *where; // the field it was stored in, or null
    int width;            // the field's width in bytes
    bool text_field;
};
extern void (*ReadNote)(const ReadLine &line);

// The name of a file that is not a group file ("korvel.ini" ...), "" for one.
const char *ini_file_name(IniFile file);
// "group_xx.ini" with the two digits of `number`.
void group_file_name(char *name, unsigned size, int number);
