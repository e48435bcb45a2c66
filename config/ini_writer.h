// Writing the record back to Korvel's files, in two steps: producing the
// exact bytes of every file, which touches no disk, and saving those bytes
// all or none.
//
// Files are regenerated from the record every time: two comment lines, an
// empty line, then each section as its header, its keys one per line and an
// empty line.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "config/fields.h"
#include "config/record.h"

// The text of one file a save writes.
struct FileText {
    char name[16];  // "korvel.ini", "group_02.ini" ...
    char *bytes;
    size_t size;
};
// The texts of every file one save writes, in the order it writes them:
// korvel.ini, jobs.ini, jobsSTS.ini, the files of the groups in use
// (group_00.ini, group_01.ini ... in entry order), sensor.ini.
constexpr int kSavedFiles = 4 + kGroups;
struct FileTexts {
    FileText file[kSavedFiles];
    int count;
};

// Produces the texts of every file a save of `record` writes. As a save
// does, it encodes the schedules and stores the writer's defaults in
// `record` (each just before its own section, so that a full-width text of
// an earlier section, which runs on to the next zero byte, shows the record
// as it stood then); it touches no file and no other global. 0, or the
// error number (then no text is kept).
int ProduceINI(ConfigRecord &record, FileTexts &texts);
// The text of one file of `record` ("group" picks the group entry of a
// group file); the same rules, for one file.
int ProduceFile(IniFile file, ConfigRecord &record, int group, FileText &text);
void FreeTexts(FileTexts &texts);
// Stores in `record` what producing its texts stores (the schedules encoded,
// the writer's defaults), producing none.
void StoreSaveDefaults(ConfigRecord &record);

// Saves the texts of `texts` whose `wanted` flag is set (every one when
// `wanted` is null) to ProgramDir and removes the files `removed` there:
// each is staged in order, and only when all are staged, and the files are
// still as remember_files found them, are they put in place. 0; or the
// error number of the first file that could not be staged (then no file
// has changed); kChangedOnDisk when files changed meanwhile (named in
// ChangedFiles; nothing changed); or the error number of a file that could
// not be put in place (then UnsavedFiles names the files that did not
// change, SavedFiles those that did, and unfinished_save says whether the
// journal is left for the next Corvane process to finish). FailedPath
// names the file or directory an error concerns, FailedReading says
// whether the error was met reading it. Signals that end the
// program wait until it returns.
int WriteTexts(const FileTexts &texts, const bool *wanted = nullptr, const std::vector<std::string> &removed = {});
extern char SavedFiles[256], UnsavedFiles[256], FailedPath[4096];
extern bool FailedReading;

// Produces and saves every file from INI. The defaults the save applies
// are stored in INI once the files are staged; a failure before leaves INI
// as it was, but for the schedules, which are encoded first.
int SaveINI();

// Each produces its file from INI and saves it alone. 0 or the error number.
int SaveKorvelINI();
int SaveJobsINI();
int SaveJobsSTSINI();
int SaveSensorINI();
// Writes the groups in use to group_00.ini, group_01.ini ... in entry order.
// Files numbered from the count of groups written on are left alone.
int SaveGroupsINI();
