// One UPS group: its name and redundancy, which shutdowns it may order and
// after which delays; leads to its members and events, and saves or loads its
// events as a profile file.
#include <cstring>

#include "config/entries.h"
#include "config/group_profile.h"
#include "config/limits.h"
#include "config/record.h"
#include "console/input.h"
#include "console/lang.h"
#include "console/screen.h"
#include "console/terminal.h"
#include "screens/screens.h"

namespace {

constexpr unsigned kFirstLine = 4;
enum Row : unsigned {
    kDelete = 1, kName = 2, kRedundancy = 3,
    kBatterySwitch = 5, kBatteryRuntime = 6, kSystemSwitch = 7, kSystemDelay = 8, kUpsSwitch = 9, kUpsDelay = 10,
    kMembers = 12, kEvents = 14, kLoad = 15, kSave = 16,
    kBack = 18,
};

const char *redundancy(unsigned level) {
    static const char *const kLevels[] = {"N", "N+1", "N+2", "N+3"};
    return level < 4 ? kLevels[level] : "";
}

uint8_t toggled(unsigned value) { return value ? 0 : 1; }

// A switch row and the number row under it, which is dimmed while the
// switch is off; both only labels while the group has no name.
void print_allowed(bool named, unsigned item, int switch_label, int number_label, bool allowed, unsigned number) {
    print_item(named, "\n\r       %u - %s:", item, LangText[switch_label]);
    if (named) {
        con_puts("     [");
        print_switch(allowed, LangText[324], LangText[340]);
    }
    print_item(named && allowed, "\n\r           %u.1 - %s:", item, LangText[number_label]);
    if (named && allowed) print_value("     %u", number);
}

// Asks for a path and loads or saves the group's events; a failure is told
// with the bell.
void profile(int group, int title, int (*transfer)(const char *, GroupEvent *)) {
    draw_title_block(7, LangText[title]);
    con_puts("\n\r");
    con_printf("%s :", LangText[title]);
    print_escapeseq(SEQ_VALUE);
    print_escapeseq(SEQ_SHOW_CURSOR);
    line_mode();
    char path[260] = "";
    get_str(path, sizeof path, "");
    end_line_input();
    if (!path[0]) return;
    // As typed: a relative path is taken from the current directory.
    if (transfer(path, INI1.Group[group].Event) != 0) {
        con_printf("\a\n%s\n", LangText[8]);
        ussleep(2000000);
    }
}

}  // namespace

void load_profile(int group) { profile(group, 165_text, LoadGroupProfile); }
void save_profile(int group) { profile(group, 166_text, SaveGroupProfile); }

void print_group_param(unsigned row, int group) {
    const GroupEntry &entry = INI1.Group[group];
    print_escapeseq(SEQ_CLEAR);
    cursor_gotopos(1, 0, 0);
    print_line(1);
    print_center(LangText[162]);
    print_line(1);
    con_printf("\n\r       1 - %s", LangText[2]);
    con_printf("\n\r       2 - %s", LangText[49]);
    print_value("     %.*s", static_cast<int>(sizeof entry.Name), entry.Name);
    // No name, no group: only the name can be given, the rest is dimmed.
    const bool named = entry.Name[0] != '\0';
    print_item(named, "\n\r       3 - %s:", LangText[310]);
    if (named) {
        con_puts("     [");
        print_value("%s", redundancy(entry.RedundancyLevel));
        con_puts("]");
    }
    print_line(0);
    print_allowed(named, 4, 152_text, 153_text, entry.AllowedBatteryShutdown, entry.BatteryRuntimeShutdown);
    print_allowed(named, 5, 154_text, 155_text, entry.AllowedSystemShutdown, entry.SystemShutdownDelay);
    print_allowed(named, 6, 156_text, 157_text, entry.AllowedUPSShutdown, entry.UPSShutdownDelay);
    print_line(0);
    print_item(named, "\n\r       7 - %s", LangText[150]);
    print_line(0);
    print_item(named, "\n\r       8 - %s", LangText[163]);
    print_item(named, "\n\r       9 - %s", LangText[165]);
    print_item(named, "\n\r      10 - %s", LangText[166]);
    print_line(0);
    con_printf("\n\r       0 - %s", LangText[318]);
    print_line(1);
    place_marker(row, kFirstLine);
}

void group_param(int group) {
    GroupEntry &entry = INI1.Group[group];
    if (!entry.Name[0]) {
        create_group(entry);
    }
    unsigned row = kDelete;
    print_group_param(row, group);
    for (;;) {
        MenuKey key = read_key();
        const bool named = entry.Name[0] != '\0';
        if (key == KEY_DOWN && row <= kSave) {
            unsigned to = row + 1;
            if (!named && row == kName) {
                to = kBack;
            } else if (!entry.AllowedUPSShutdown && row == kUpsSwitch) {
                to = kMembers;
            } else if ((!entry.AllowedBatteryShutdown && row == kBatterySwitch) ||
                       (!entry.AllowedSystemShutdown && row == kSystemSwitch) || row == kRedundancy ||
                       row == kUpsDelay || row == kMembers || row == kSave) {
                to = row + 2;
            }
            move_marker(row, to, kFirstLine);
        } else if (key == KEY_UP && row >= 2) {
            unsigned to = row - 1;
            if (!named && row == kBack) {
                to = kName;
            } else if (!entry.AllowedUPSShutdown && row == kMembers) {
                to = kUpsSwitch;
            } else if ((!entry.AllowedBatteryShutdown && row == kSystemSwitch) ||
                       (!entry.AllowedSystemShutdown && row == kUpsSwitch) || row == kBatterySwitch ||
                       row == kMembers || row == kEvents || row == kBack) {
                to = row - 2;
            }
            move_marker(row, to, kFirstLine);
        }
        if (key != KEY_ENTER) continue;
        switch (row) {
        case kDelete:
            delete_group(entry);
            break;
        case kName: enter_text(LangText[49], entry.Name, sizeof entry.Name); break;
        case kRedundancy: {
            unsigned highest = range_of(Limit::GroupRedundancy).high;
            entry.RedundancyLevel = static_cast<uint8_t>(entry.RedundancyLevel >= highest ? 0 : entry.RedundancyLevel + 1);
            break;
        }
        case kBatterySwitch: entry.AllowedBatteryShutdown = toggled(entry.AllowedBatteryShutdown); break;
        case kBatteryRuntime:
            entry.BatteryRuntimeShutdown = enter_limited(LangText[153], entry.BatteryRuntimeShutdown, range_of(Limit::GroupBatteryRuntime));
            break;
        case kSystemSwitch: entry.AllowedSystemShutdown = toggled(entry.AllowedSystemShutdown); break;
        case kSystemDelay:
            entry.SystemShutdownDelay = enter_limited(LangText[155], entry.SystemShutdownDelay, range_of(Limit::GroupSystemDelay));
            break;
        case kUpsSwitch: entry.AllowedUPSShutdown = toggled(entry.AllowedUPSShutdown); break;
        case kUpsDelay: entry.UPSShutdownDelay = enter_limited(LangText[157], entry.UPSShutdownDelay, range_of(Limit::GroupUpsDelay)); break;
        case kMembers: gr_ups(group); break;
        case kEvents: gr_event(group); break;
        case kLoad: load_profile(group); break;
        case kSave: save_profile(group); break;
        case kBack: return;
        }
        print_group_param(row, group);
    }
}
