// System parameters: the system's name, location and contact, the language,
// the event log and the data log with its bounds; leads to the network screen.
#include <cstdio>
#include <cstring>

#include "config/limits.h"
#include "config/record.h"
#include "config/files.h"
#include "config/language.h"
#include "console/input.h"
#include "console/lang.h"
#include "console/session.h"
#include "console/screen.h"
#include "console/terminal.h"
#include "screens/screens.h"

namespace {

constexpr unsigned kFirstLine = 6;
enum Row : unsigned {
    kName = 1, kLocation = 2, kContact = 3,
    kLanguage = 5,
    kEventLog = 7, kDataLog = 8, kRate = 9, kMinimum = 10, kMaximum = 11,
    kNetwork = 13,
    kBack = 15,
};

constexpr int kLanguages = 32;
using LanguageNames = char[kLanguages][50];

// The display name of language file `number` (its first line, at most 31
// characters, the line end dropped) into `name`. False when the file is not
// there or no regular file: a FIFO, a device or a directory is never
// opened, since reading one could wait.
bool read_language_name(int number, char (&name)[32]) {
    char path[kProgramDirSize + 32];
    language_path(path, sizeof path, kCorvane, number);
    FileBytes file = read_file_bytes(path);
    if (unreadable(file)) return false;
    name[0] = '\0';
    const char *at = file.bytes.data();
    if (next_line(at, at + file.bytes.size(), name, sizeof name) && name[0]) name[std::strlen(name) - 1] = '\0';  // the line end, or the 31st character
    return true;
}

// The first line of every language file present, rebuilt on each visit so
// that files added meanwhile are seen.
void read_language_names(LanguageNames names) {
    std::memset(names, 0, sizeof(LanguageNames));
    for (int number = 0; number < kLanguages; ++number) {
        char line[32];
        if (read_language_name(number, line)) std::snprintf(names[number], sizeof names[number], "%s", line);
    }
}

const char *language_name(const LanguageNames names) {
    unsigned language = INI1.System.Language;
    return language < kLanguages ? names[language] : "";
}

unsigned toggled(unsigned value) { return value ? 0 : 1; }

// A language whose texts cannot be loaded (no [Corvane] section, unreadable)
// would stop every later start: it is refused with the file and the reason.
bool refused_language(int language) {
    UnreadableError = 0;
    if (language_loadable(language)) return false;
    char path[kProgramDirSize + 32];
    language_path(path, sizeof path, kCorvane, language);
    con_puts("\a\n");
    con_puts(fill_text(LangText[kTextLanguageUnusable], {path, UnreadableReason()}).c_str());
    con_puts("\n");
    ussleep(2000000);
    UnreadableError = 0;
    return true;
}

}  // namespace

void print_main_param(const char *language, unsigned row) {
    const SystemSettings &system = INI1.System;
    draw_title_block(0, LangText[16]);
    con_printf("\n\r      1 - %s:", LangText[18]);
    print_value("     %.*s", static_cast<int>(sizeof system.Name), system.Name);
    con_printf("\n\r      2 - %s:", LangText[19]);
    print_value("     %.*s", static_cast<int>(sizeof system.Location), system.Location);
    con_printf("\n\r      3 - %s:", LangText[20]);
    print_value("     %.*s", static_cast<int>(sizeof system.Contact), system.Contact);
    print_line(0);
    con_printf("\n\r      4 - %s:", LangText[21]);
    print_value("     %s", language);
    print_line(0);
    con_printf("\n\r      5 - %s:     [", LangText[23]);
    print_switch(system.EventLog, LangText[316], LangText[317]);
    con_printf("\n\r      6 - %s:     [", LangText[24]);
    print_switch(system.DataLog, LangText[316], LangText[317]);
    if (system.DataLog) {
        con_printf("\n\r          6.1 - %s:", LangText[25]);
        print_value("     %u", system.DataLogRate);
        con_printf("\n\r          6.2 - %s:", LangText[26]);
        print_value("     %u", system.DataLogMin);
        con_printf("\n\r          6.3 - %s:", LangText[27]);
        print_value("     %u", system.DataLogMax);
    } else {
        print_dimmed("\n\r          6.1 - %s:", LangText[25]);
        print_dimmed("\n\r          6.2 - %s:", LangText[26]);
        print_dimmed("\n\r          6.3 - %s:", LangText[27]);
    }
    print_line(0);
    con_printf("\n\r      7 - %s", LangText[30]);
    print_screen_end("\n\r      0 - ", row, kFirstLine);
}

void menu_languages(const char (*names)[50]) {
    constexpr unsigned kListFirstLine = 8;
    draw_title_block(3, LangText[4]);
    con_printf("\n\r  --> %s", names[0]);
    unsigned listed = 1;
    while (listed < kLanguages && names[listed][0]) con_printf("\n\r      %s", names[listed++]);
    print_line(0);
    con_printf("\n\r      %s", LangText[318]);
    con_puts("\n\r");
    print_line(1);

    // A gap in the numbering ends the list: the files after it are hidden.
    const unsigned back = listed + 2;
    unsigned row = 1;
    for (;;) {
        MenuKey key = read_key();
        if (key == KEY_DOWN && row <= listed) move_marker(row, row == listed ? back : row + 1, kListFirstLine);
        if (key == KEY_UP && row >= 2) move_marker(row, row == back ? listed : row - 1, kListFirstLine);
        if (key != KEY_ENTER) continue;
        if (row <= listed && !refused_language(static_cast<int>(row) - 1)) INI1.System.Language = static_cast<uint8_t>(row - 1);
        return;
    }
}

void main_param() {
    SystemSettings &system = INI1.System;
    LanguageNames names;
    read_language_names(names);
    unsigned row = kName;
    print_main_param(language_name(names), row);
    for (;;) {
        MenuKey key = read_key();
        if (key == KEY_DOWN && row <= kNetwork) {
            unsigned to = row + 1;
            if (row == kDataLog && !system.DataLog) {
                to = kNetwork;  // over the hidden data-log values
            } else if (row == kContact || row == kLanguage || row == kMaximum || row == kNetwork) {
                to = row + 2;
            }
            move_marker(row, to, kFirstLine);
        } else if (key == KEY_UP && row >= kLocation) {
            unsigned to = row - 1;
            if (row == kNetwork && !system.DataLog) {
                to = kDataLog;
            } else if (row == kLanguage || row == kEventLog || row == kNetwork || row == kBack) {
                to = row - 2;
            }
            move_marker(row, to, kFirstLine);
        }
        if (key != KEY_ENTER) continue;

        switch (row) {
        case kName: enter_text(LangText[18], system.Name, sizeof system.Name); break;
        case kLocation: enter_text(LangText[19], system.Location, sizeof system.Location); break;
        case kContact: enter_text(LangText[20], system.Contact, sizeof system.Contact); break;
        case kLanguage: menu_languages(names); break;
        case kEventLog: system.EventLog = static_cast<uint8_t>(toggled(system.EventLog)); break;
        case kDataLog: system.DataLog = static_cast<uint16_t>(toggled(system.DataLog)); break;
        case kRate: system.DataLogRate = enter_limited(LangText[25], system.DataLogRate, range_of(Limit::DataLogRate)); break;
        case kMinimum:
            // The prompt says 1-3000; up to 30000 is accepted. Both are kept so.
            system.DataLogMin = enter_limited(LangText[26], system.DataLogMin, range_of(Limit::DataLogMin), 1, 3000, "\t");
            if (system.DataLogMin > system.DataLogMax - 1) {
                con_printf("\a\n%s\n", LangText[287]);
                ussleep(2000000);
                system.DataLogMin = static_cast<uint16_t>(system.DataLogMax - 1);
            }
            break;
        case kMaximum:
            system.DataLogMax = enter_limited(LangText[27], system.DataLogMax, range_of(Limit::DataLogMax), 1, 3000, "\t");
            if (system.DataLogMax < system.DataLogMin + 1) {
                con_printf("\a\n%s\n", LangText[287]);
                ussleep(2000000);
                system.DataLogMax = static_cast<uint16_t>(system.DataLogMin + 1);
            }
            break;
        case kNetwork: network_param(); break;
        case kBack: return;
        }
        print_main_param(language_name(names), row);
    }
}

int choice_language(unsigned char *master_language, const unsigned char *working_language) {
    unsigned count = 0;
    for (char name[32]; count < kLanguages && read_language_name(static_cast<int>(count), name); ++count) {
        con_printf("\n\r    %i. %s", static_cast<int>(count) + 1, name);
    }

    char prompt[40];
    std::snprintf(prompt, sizeof prompt, "\n\r [%u-%u] : ", 1u, count);
    *master_language = static_cast<unsigned char>(get_int(1, count, prompt, LangText[333]) - 1);

    if (LoadText(kCorvane, *working_language) != 0) {
        con_printf("\n\rCannot load language strings file !");
        console_exit(5);
    }
    return 0;
}
