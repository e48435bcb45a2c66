#include "app/startup.h"

#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <unistd.h>

#include "app/main_menu.h"
#include "app/model_code.h"
#include "config/ini_reader.h"
#include "config/ini_writer.h"
#include "config/record.h"
#include "console/globals.h"
#include "console/input.h"
#include "console/lang.h"
#include "console/session.h"
#include "console/terminal.h"

bool getprgdir(const char *path, char *out, size_t size) {
    const char *slash = std::strrchr(path, '/');
    int written = slash ? std::snprintf(out, size, "%.*s/", static_cast<int>(slash - path), path)
                        : std::snprintf(out, size, "./");
    return written >= 0 && static_cast<size_t>(written) < size;
}

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

[[noreturn]] static void cannot_load_texts() {
    con_printf("\n\rCannot load language strings file !");
    FreeText();
    console_exit(5);
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
            SaveINI();
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
            int failed = SaveINI();
            con_printf("\n\r%s", failed ? LangText[12] : LangText[15]);
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
    if (!getprgdir(argc > 0 ? argv[0] : "", ProgramDir, kProgramDirSize) || LoadINI() != 0) {
        con_printf("\n\rCannot load initialization file !");
        console_exit(2);
    }
    if (AllocText() != 0) {
        con_printf("\n\rLow memory for strings !");
        console_exit(4);
    }
    if (LoadText(kCorvane, INI.System.Language) != 0) cannot_load_texts();
    if (GetBrand(INI.System.KeyCode, sizeof INI.System.KeyCode) == 255) first_use();
    std::memcpy(&INI1, &INI, sizeof INI1);
    main_menu();
    return leave();
}
