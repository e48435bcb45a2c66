#include "app/startup.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <unistd.h>

#include "app/main_menu.h"
#include "config/model_code.h"
#include "config/ini_reader.h"
#include "config/ini_writer.h"
#include "config/journal.h"
#include "config/language.h"
#include "config/record.h"
#include "config/replace_file.h"
#include "config/files.h"
#include "console/input.h"
#include "console/lang.h"
#include "console/session.h"
#include "console/terminal.h"
#include "screens/screens.h"

void delete_loghi() {
    // Each brand has its logo set; brands without one of their own use set 02.
    int kept;
    switch (GetBrand(INI.System.KeyCode, sizeof INI.System.KeyCode)) {
    case 0: kept = 0; break;
    case 1: kept = 1; break;
    case 4: kept = 3; break;
    default: kept = 2; break;
    }
    char html[kProgramDirSize + 8];
    std::snprintf(html, sizeof html, "%shtml%c", ProgramDir, '/');
    for (int set = 0; set < 4; ++set) {
        if (set == kept) continue;
        for (const char *kind : {"log2", "logo"}) {
            char name[16], path[sizeof html + 16];
            std::snprintf(name, sizeof name, "%s_%02d.png", kind, set);
            std::snprintf(path, sizeof path, "%s%s", html, name);
            if (FILE *image = std::fopen(path, "r")) {
                std::fclose(image);
                unlink(path);
            }
        }
    }
}

static const char *program_name = "corvane";

// A start that cannot go on: the message on the screen, then on standard
// error the program, the file and why, as a careful tool says it.
[[noreturn]] static void end_start(const char *message, int status) {
    con_printf("\n\r%s\n", message);
    console_flush();
    if (UnreadableError) std::fprintf(stderr, "%s: %s: %s\n", program_name, UnreadablePath, UnreadableReason());
    FreeText();
    console_exit(status);
}

[[noreturn]] static void cannot_load_texts() { end_start("Cannot load language strings file !", 5); }

// Before a save: names each file that changed on disk since it was read,
// or cannot be read now, and asks whether to overwrite them. True when
// there is nothing to ask, or yes: then the files as they are now are
// what the save may replace.
static bool may_overwrite() {
    bool changed = false;
    for (int i = 0; i < kWatchedFiles; ++i) {
        int how = file_changed(ProgramDir, i);
        if (!how) continue;
        con_puts("\n\r");
        if (how == kChangedOnDisk) {
            con_puts(fill_text(LangText[kTextChangedOnDisk], {kWatchedNames[i]}).c_str());
        } else {
            con_puts(fill_text(LangText[kTextCannotRead], {kWatchedNames[i], std::strerror(how)}).c_str());
        }
        changed = true;
    }
    if (!changed) return true;
    if (get_yesno(LangText[316], LangText[317], LangText[kTextOverwrite]) != 1) return false;
    remember_files(ProgramDir);
    return true;
}

// The administrator kept the files changed on disk.
constexpr int kKeptOnDisk = -2;

// Saves INI when no outside change is overwritten unasked, asking again
// when one comes between the question and the save's commit point. 0,
// kKeptOnDisk, or SaveINI's error number.
static int save_all() {
    for (;;) {
        if (!may_overwrite()) return kKeptOnDisk;
        int failed = SaveINI();
        if (failed == kChangedOnDisk) continue;
        if (!failed) remember_files(ProgramDir);
        return failed;
    }
}

// Why a save failed: the file and the reason, which files changed, and
// whether the next start finishes it.
static void say_why_not_saved(int failed) {
    const char *reason = std::strerror(failed);
    con_puts("\n\r");
    con_puts(fill_text(LangText[FailedReading ? kTextCannotRead : kTextCannotWrite], {FailedPath, reason}).c_str());
    if (SavedFiles[0]) {
        con_puts("\n\r");
        con_puts(fill_text(LangText[kTextSavedPartly], {SavedFiles, UnsavedFiles}).c_str());
    }
    if (unfinished_save(ProgramDir)) {
        con_puts("\n\r");
        con_puts(LangText[kTextSaveFinishedLater]);
    }
}

// No valid model code: choose the language, then ask for the code until one
// decodes, and save it at once.
static void first_use() {
    con_printf("\n\r%s\n\r", LangText[3]);
    choice_language(&INI.System.Language, &INI1.System.Language);
    if (LoadText(kCorvane, INI.System.Language) != 0) cannot_load_texts();
    for (;;) {
        char code[32] = "";
        get_prtk(code, sizeof code, LangText[5]);
        std::memcpy(INI.System.KeyCode, code, sizeof INI.System.KeyCode);
        if (GetBrand(INI.System.KeyCode, sizeof INI.System.KeyCode) != 255) {
            // A failure here is not reported: the code stays in memory and
            // is saved again on leaving if the user saves.
            save_all();
            delete_loghi();
            return;
        }
        con_printf("\n\r%s\n\r", LangText[7]);
        beep();
    }
}

// After the main menu: ask whether to save what changed. 1 when saved.
static int leave() {
    if (DataChanged) {
        con_printf("\n\r%s %s : ", LangText[11], yesnostr(LangText[316], LangText[317]));
        if (test_key() == console::toupper(static_cast<unsigned char>(LangText[316][0]))) {
            std::memcpy(&INI, &INI1, sizeof INI);
            int failed = save_all();
            con_puts("\n\r");
            if (failed == kKeptOnDisk) {
                con_printf("%s\n\r", LangText[kTextNotSaved]);
                FreeText();
                return 0;
            }
            con_printf("%s", failed ? LangText[12] : LangText[15]);
            if (failed) say_why_not_saved(failed);
            con_puts("\n\r");
            ussleep(1000000);
            con_puts("\n\r");
            FreeText();
            return 1;
        }
        DataChanged = 0;
        // Any other word throws the session's changes away: say so.
        con_puts("\n\r");
        con_puts(LangText[kTextNotSaved]);
    }
    con_puts("\n\r");
    FreeText();
    return DataChanged ? 1 : 0;
}

int run_editor(int argc, char **argv) {
    console_start();
    char directory[kProgramDirSize];
    bool located = getprgdir(argc > 0 ? argv[0] : "", directory, sizeof directory) && set_program_dir(directory);
    // One editor per directory, held until the end; taken before the files
    // are read, so that another editor's save is never read half-way.
    int locked = located ? lock_directory(ProgramDir) : 0;
    if (located) remember_files(ProgramDir);
    if (argc > 0 && argv[0][0]) {
        const char *slash = std::strrchr(argv[0], '/');
        program_name = slash ? slash + 1 : argv[0];
    }
    // A save left half done and not finishable now: the files are not one set.
    if (located && !locked && LastRecoveryError) {
        std::fprintf(stderr, "%s: %s: an interrupted save cannot be finished: %s\n", program_name, ProgramDir,
                     std::strerror(LastRecoveryError));
        end_start("Cannot load initialization file !", 2);
    }
    if (!located || LoadINI() != 0) end_start("Cannot load initialization file !", 2);
    if (AllocText() != 0) end_start("Low memory for strings !", 4);
    if (LoadText(kCorvane, INI.System.Language) != 0) cannot_load_texts();
    if (locked == EWOULDBLOCK) {
        con_printf("\n\r%s\n\r", LangText[kTextAlreadyEditing]);
        FreeText();
        console_exit(3);
    }
    if (GetBrand(INI.System.KeyCode, sizeof INI.System.KeyCode) == 255) first_use();
    std::memcpy(&INI1, &INI, sizeof INI1);
    main_menu();
    return leave();
}
