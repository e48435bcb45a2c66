// One UPS entry: its name, model code and serial number, the system and UPS
// shutdown settings, and the way to its connection. Naming an undefined entry
// creates it; "*" as the name deletes it unless a group still uses it.
#include <cstdio>
#include <cstring>

#include "config/model_code.h"
#include "config/entries.h"
#include "config/limits.h"
#include "config/record.h"
#include "console/input.h"
#include "console/lang.h"
#include "console/screen.h"
#include "console/terminal.h"
#include "screens/screens.h"

namespace {

constexpr unsigned kFirstLine = 7;
enum Row : unsigned {
    kName = 1, kModel = 2, kSerial = 3, kConnection = 4,
    kDelaySwitch = 6, kDelay = 7,
    kLeadSwitch = 9, kLead = 10,
    kUpsSwitch = 12, kUpsDelay = 13,
    kBack = 15,
};
// An undefined entry shows its name row and, on row 3, the way back.
constexpr unsigned kUndefinedBack = 3;

void show_message(unsigned row, unsigned below, int text) {
    cursor_gotopos(row, 0, kFirstLine + below);
    con_printf("\a\n%s\n", LangText[text]);
    ussleep(2000000);
}

// Row 1. Returns false when the entry was deleted (the screen closes).
bool edit_name(int index, unsigned row) {
    UpsEntry &entry = INI1.UPS[index];
    show_entry(LangText[68], "%.*s", static_cast<int>(sizeof entry.Name), entry.Name);
    con_printf("\n\r%s", LangText[336]);
    con_printf("\n\r%s", LangText[337]);
    begin_line_input();
    char input[120] = "";
    get_str(input, sizeof input, LangText[332]);
    end_line_input();

    if (!input[0]) return true;
    if (input[0] == '*') {
        // Nothing to delete: renumbering again would move other entries'
        // references onto their neighbours.
        if (!entry.Name[0]) return false;
        if (int refusal = ups_deletion_refused(INI1, index)) {
            show_message(row, 10, refusal);
            return true;
        }
        delete_ups(INI1, index);
        return false;
    }
    if (!entry.Name[0]) create_ups(INI1, index);
    set_text(entry.Name, sizeof entry.Name, input);  // 20 characters or more fill it, unterminated
    return true;
}

// Row 2: asked again until the field holds a code the decoder accepts.
void edit_model(int index, unsigned row) {
    UpsEntry &entry = INI1.UPS[index];
    for (;;) {
        bool known = FindUpsModelTxt(entry.Type, sizeof entry.Type) != nullptr;
        show_entry(LangText[50], "%.*s", static_cast<int>(sizeof entry.Type), known ? entry.Type : LangText[249]);
        begin_line_input();
        get_str(entry.Type, sizeof entry.Type, LangText[332]);
        end_line_input();
        if (FindUpsModelTxt(entry.Type, sizeof entry.Type)) return;
        show_message(row, 9, 249_text);
    }
}

// The lead time must cover the UPS's own shutdown delay (seconds against minutes).
void raise_lead_time(UpsEntry &entry) {
    if (entry.SystemShutdownLead * 60 < entry.UPSShutdownDelay) {
        con_printf("\a\n%s\n", LangText[258]);
        ussleep(2000000);
        entry.SystemShutdownLead = static_cast<uint16_t>(entry.UPSShutdownDelay / 60);
    }
}

}  // namespace

void print_ups_param(unsigned row, int index) {
    const UpsEntry &entry = INI1.UPS[index];
    draw_title_block(2, LangText[127]);
    con_printf("\n\r      1 - %s:", LangText[68]);
    if (!entry.Name[0]) {
        print_value("     %s", LangText[335]);
        print_screen_end("\n\r      0 - ", row, kFirstLine);
        return;
    }
    const char *on = LangText[324], *off = LangText[340];
    print_value("     %.*s", static_cast<int>(sizeof entry.Name), entry.Name);
    con_printf("\n\r      2 - %s:", LangText[50]);
    if (FindUpsModelTxt(entry.Type, sizeof entry.Type)) {
        print_value("     %.*s", static_cast<int>(sizeof entry.Type), entry.Type);
    } else {
        print_value("     %s", LangText[249]);
    }
    con_printf("\n\r      3 - %s:", LangText[129]);
    print_value("     %.*s", static_cast<int>(sizeof entry.Serial), entry.Serial);
    con_printf("\n\r      4 - %s", LangText[130]);
    print_line(0);

    // What is drawn looks at SystemShutdown with each allow flag; the moves
    // look at the allow flags alone.
    bool delay_on = entry.SystemShutdown && entry.SystemShutDelayAllow;
    con_printf("\n\r      5 - %s:     [", LangText[72]);
    print_switch(delay_on, on, off);
    if (delay_on) {
        con_printf("\n\r          5.1 - %s:", LangText[137]);
        print_value("     %u", entry.SystemShutdownDelay);
    } else {
        print_dimmed("\n\r          5.1 - %s:", LangText[137]);
    }
    print_line(0);
    bool lead_on = entry.SystemShutdown && entry.SystemShutLeadAllow;
    con_printf("\n\r      6 - %s:     [", LangText[72]);
    print_switch(lead_on, on, off);
    if (lead_on) {
        con_printf("\n\r          6.1 - %s:", LangText[138]);
        print_value("     %u", entry.SystemShutdownLead);
    } else {
        print_dimmed("\n\r          6.1 - %s:", LangText[138]);
    }
    print_line(0);
    con_printf("\n\r      7 - %s:     [", LangText[139]);
    print_switch(entry.UPSShutdown, on, off);
    if (entry.UPSShutdown) {
        con_printf("\n\r          7.1 - %s:", LangText[141]);
        print_value("     %u", entry.UPSShutdownDelay);
    } else {
        print_dimmed("\n\r          7.1 - %s:", LangText[141]);
    }
    print_screen_end("\n\r      0 - ", row, kFirstLine);
}

void ups_param(int index) {
    UpsEntry &entry = INI1.UPS[index];
    unsigned row = kName;
    print_ups_param(row, index);
    for (;;) {
        MenuKey key = read_key();
        bool defined = entry.Name[0] != '\0';
        if (!defined) {
            if (key == KEY_DOWN && row == kName) move_marker(row, kUndefinedBack, kFirstLine);
            if (key == KEY_UP && row == kUndefinedBack) move_marker(row, kName, kFirstLine);
        } else if (key == KEY_DOWN && row <= kUpsDelay) {
            unsigned to = row + 1;
            if ((row == kDelaySwitch && !entry.SystemShutDelayAllow) ||
                (row == kLeadSwitch && !entry.SystemShutLeadAllow) || (row == kUpsSwitch && !entry.UPSShutdown)) {
                to = row + 3;  // over the hidden value and the separator
            } else if (row == kConnection || row == kDelay || row == kLead || row == kUpsDelay) {
                to = row + 2;
            }
            move_marker(row, to, kFirstLine);
        } else if (key == KEY_UP && row >= 2) {
            unsigned to = row - 1;
            if ((row == kBack && !entry.UPSShutdown) || (row == kUpsSwitch && !entry.SystemShutLeadAllow) ||
                (row == kLeadSwitch && !entry.SystemShutDelayAllow)) {
                to = row - 3;
            } else if (row == kDelaySwitch || row == kLeadSwitch || row == kUpsSwitch || row == kBack) {
                to = row - 2;
            }
            move_marker(row, to, kFirstLine);
        }
        if (key != KEY_ENTER) continue;

        switch (row) {
        case kName:
            if (!edit_name(index, row)) return;
            break;
        case kModel: edit_model(index, row); break;
        case kSerial:  // kUndefinedBack: the way back of an undefined entry
            if (!defined) return;
            enter_text(LangText[129], entry.Serial, sizeof entry.Serial);
            break;
        case kConnection: ups_conn_param(index); break;
        case kDelaySwitch:
            if (entry.SystemShutDelayAllow) {
                entry.SystemShutDelayAllow = 0;
                if (!entry.SystemShutLeadAllow) entry.SystemShutdown = 0;
            } else {
                entry.SystemShutDelayAllow = 1;
                entry.SystemShutdown = 1;
            }
            break;
        case kDelay: entry.SystemShutdownDelay = enter_limited(LangText[137], entry.SystemShutdownDelay, range_of(Limit::UpsSystemDelay)); break;
        case kLeadSwitch:
            if (entry.SystemShutLeadAllow) {
                entry.SystemShutLeadAllow = 0;
                if (!entry.SystemShutDelayAllow) entry.SystemShutdown = 0;
            } else {
                entry.SystemShutLeadAllow = 1;
                entry.SystemShutdown = 1;
            }
            break;
        case kLead:
            entry.SystemShutdownLead = enter_limited(LangText[138], entry.SystemShutdownLead, range_of(Limit::UpsSystemLead));
            if (entry.UPSShutdown) raise_lead_time(entry);
            break;
        case kUpsSwitch: entry.UPSShutdown = entry.UPSShutdown ? 0 : 1; break;
        case kUpsDelay:
            entry.UPSShutdownDelay = enter_limited(LangText[141], entry.UPSShutdownDelay, range_of(Limit::UpsShutdownDelay));
            // Guarded by the lead-time switch here, by the UPS shutdown
            // switch above: the two differ on purpose.
            if (entry.SystemShutLeadAllow) raise_lead_time(entry);
            break;
        case kBack: return;
        }
        print_ups_param(row, index);
    }
}
