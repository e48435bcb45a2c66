// Parallel operation: the switches that govern UPS groups, and the list of
// the ten groups.
#include "config/record.h"
#include "console/input.h"
#include "console/lang.h"
#include "console/screen.h"
#include "console/terminal.h"
#include "screens/screens.h"

namespace {

constexpr unsigned kFirstLine = 9;
enum Row : unsigned { kEnabled = 1, kDeviceActions = 2, kLostComm = 3, kSingleUps = 4, kGroupList = 6, kBack = 8 };

constexpr unsigned kListFirstLine = 7;
constexpr unsigned kLastGroup = ::kGroups, kListBack = 12;

uint8_t toggled(unsigned value) { return value ? 0 : 1; }

void group_list() {
    unsigned row = 1;
    print_paralel_group(row);
    for (;;) {
        MenuKey key = read_key();
        if (key == KEY_DOWN && row <= kLastGroup) move_marker(row, row == kLastGroup ? kListBack : row + 1, kListFirstLine);
        if (key == KEY_UP && row >= 2) move_marker(row, row == kListBack ? kLastGroup : row - 1, kListFirstLine);
        if (key != KEY_ENTER) continue;
        if (row == kListBack) return;
        group_param(static_cast<int>(row) - 1);
        print_paralel_group(row);
    }
}

}  // namespace

void print_paralel_fnc(unsigned row) {
    const SystemSettings &system = INI1.System;
    const char *on = LangText[316], *off = LangText[317];
    draw_title_block(4, LangText[47]);
    con_printf("\n\r      1 - %s:     [", LangText[144]);
    print_switch(system.EnabledGroups, on, off);
    con_printf("\n\r      2 - %s:     [", LangText[146]);
    print_switch(system.DeviceActions, on, off);
    con_printf("\n\r      3 - %s:     [", LangText[147]);
    print_switch(system.LostCommRaiseAlarm, on, off);
    con_printf("\n\r      4 - %s:     [", LangText[148]);
    print_switch(system.DisableShutdownForSingleUPS, on, off);
    print_line(0);
    print_item(system.EnabledGroups, "\n\r      5 - %s", LangText[149]);
    print_screen_end("\n\r      0 - ", row, kFirstLine);
}

void print_paralel_group(unsigned row) {
    draw_title_block(2, LangText[149]);
    for (int group = 0; group < kGroups; ++group) {
        print_numbered(static_cast<unsigned>(group) + 1);
        const GroupEntry &entry = INI1.Group[group];
        if (entry.Name[0]) {
            print_value("%.*s", static_cast<int>(sizeof entry.Name), entry.Name);
        } else {
            print_value("%s", LangText[335]);
        }
    }
    print_screen_end("\n\r      0 - ", row, kListFirstLine);
}

void paralel_fnc() {
    SystemSettings &system = INI1.System;
    unsigned row = kEnabled;
    print_paralel_fnc(row);
    for (;;) {
        MenuKey key = read_key();
        if (key == KEY_DOWN && row <= kGroupList) {
            unsigned to = row + 1;
            if (!system.EnabledGroups && row == kSingleUps) {
                to = kBack;  // the groups are skipped while parallel operation is off
            } else if (row == kSingleUps || row == kGroupList) {
                to = row + 2;
            }
            move_marker(row, to, kFirstLine);
        } else if (key == KEY_UP && row >= 2) {
            // With groups off, back counts as row 4 first, so up lands on
            // row 3. Kept so on purpose.
            unsigned from = !system.EnabledGroups && row == kBack ? kSingleUps : row;
            move_marker(row, from == kGroupList || from == kBack ? from - 2 : from - 1, kFirstLine);
        }
        if (key != KEY_ENTER) continue;
        switch (row) {
        case kEnabled: system.EnabledGroups = toggled(system.EnabledGroups); break;
        case kDeviceActions: system.DeviceActions = toggled(system.DeviceActions); break;
        case kLostComm: system.LostCommRaiseAlarm = toggled(system.LostCommRaiseAlarm); break;
        case kSingleUps: system.DisableShutdownForSingleUPS = toggled(system.DisableShutdownForSingleUPS); break;
        case kGroupList: group_list(); break;
        case kBack: return;
        }
        print_paralel_fnc(row);
    }
}
