// The numbered user-interface texts, which the store loads from
// lang_NN.ini in the program directory (config/language.h).
//
// A language file serves several programs of one family: its first line is
// the language's name, an optional "Version:" line follows, then one section
// per program with String000="..." to String1099="..." in strict order.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>

constexpr int kTextCount = 1100;
constexpr int kTextSize = 101;  // 100 characters and the terminator

// A text's number kept for later (a label in a table, a message handed
// down) is written N_text: tools/used-texts lists the texts the editor
// shows from LangText[N], these marks and the runs below, and the tests
// check that each shipped language words exactly those.
constexpr int operator""_text(unsigned long long number) { return static_cast<int>(number); }

// Texts read by an item's position in a run that starts at `first`.
struct TextRun {
    int first, last;
    constexpr int operator[](int item) const { return first + item; }
};
constexpr TextRun kJobNames{79, 100};             // jobs 0-21 of jobs.ini
constexpr TextRun kActionNames{106, 113};         // the eight actions of a job
constexpr TextRun kQualifierForms{171, 174};      // the four forms of an event's qualifier
constexpr TextRun kWeekdays{227, 233};            // Sunday first
constexpr TextRun kStatusJobMessages{384, 391};   // jobs 22-29 reset, in any mode
constexpr TextRun kOtherJobMessages{400, 421};    // jobs 0-21 reset for the family's other programs

// Texts this editor adds to the numbers its family shares, from 1000 up.
enum OwnText {
    kTextScheduleUsesUps = 1000_text,  // a UPS that a schedule names cannot be deleted
    kTextAlreadyEditing = 1001_text,   // another Corvane holds the directory's lock
    kTextChangedOnDisk = 1002_text,    // "%s" changed since it was read
    kTextOverwrite = 1003_text,        // the question whether to overwrite those
    kTextNotSaved = 1004_text,         // the answer was no
    kTextSavedPartly = 1005_text,      // "%s" changed, "%s" did not
    kTextWindowTooSmall = 1006_text,   // the window's columns and lines, the screen's
    kTextCannotWrite = 1007_text,      // "%s" the file, "%s" why
    kTextCannotRead = 1008_text,       // "%s" the file, "%s" why
    kTextSaveFinishedLater = 1009_text,  // a save stopped after its commit point
    kTextLanguageUnusable = 1010_text,   // "%s" the language file, "%s" why it cannot be loaded
};

// A language text with each "%s" (or "%u", a number given as text)
// replaced by the next of `values`, "%%" by "%", and anything else as it
// is: a text is data, never a format, whatever a translation holds.
std::string fill_text(const char *text, std::initializer_list<const char *> values);

// One buffer per text number; "Text 042" until a file supplies text 42.
extern char *LangText[kTextCount];
// The "Version:" line of the last loaded file, empty when it has none.
extern char LangFileVersion[21];
// Filled only for the program kinds that show status lines (1 and 4).
extern char LM[50][100];
extern char sys_mess[20][30];

// The programs of the family, each reading its own section of a language
// file; this editor is kCorvane. kTarnwick and kHalverton also fill LM and
// sys_mess, and kHalverton's files are named lang1_NN.ini.
enum LanguageKind { kTarnwick = 1, kBrisken = 2, kCorvane = 3, kHalverton = 4, kPellmoor = 5 };

// Allocates every text buffer and presets it with "Text %03d". 0, or 1 when
// memory runs out (nothing stays allocated then).
int AllocText();
void FreeText();

// Copies at most `limit` characters of `source` into `destination`, which
// has room for limit + 1 bytes, and always terminates.
void copy_text(char *destination, const char *source, size_t limit);
// Sets text `number` to its placeholder, "Text 042".
void preset_text(int number);
