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
        for (const char *pattern : {"log2_%02d.png", "logo_%02d.png"}) {
            char name[16], path[sizeof html + 16];
            std::snprintf(name, sizeof name, pattern, set);
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

// Before a save: names each file that changed on disk since it was read and
// asks whether to overwrite them. True when there is nothing to ask, or yes.
static bool may_overwrite() {
    bool changed = false;
    for (int i = 0; i < kWatchedFiles; ++i) {
        if (!file_changed(ProgramDir, i)) continue;
        con_puts("\n\r");
        con_printf(LangText[kTextChangedOnDisk], kWatchedNames[i]);
        changed = true;
    }
    return !changed || get_yesno(LangText[316], LangText[317], LangText[kTextOverwrite]) == 1;
}

// Saves INI when no outside change is overwritten unasked. 0, -1 when the
// administrator keeps the outside changes, or SaveINI's error number.
static int save_all() {
    if (!may_overwrite()) return -1;
    int failed = SaveINI();
    if (!failed) remember_files(ProgramDir);
    return failed;
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
            if (failed < 0) {
                con_printf("%s\n\r", LangText[kTextNotSaved]);
                FreeText();
                return 0;
            }
            if (failed && SavedFiles[0]) {
                con_printf(LangText[kTextSavedPartly], SavedFiles, UnsavedFiles);
            } else {
                con_printf("%s", failed ? LangText[12] : LangText[15]);
            }
            con_puts("\n\r");
            ussleep(1000000);
            con_puts("\n\r");
            FreeText();
            return 1;
        }
        DataChanged = 0;
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
