// Messaging: the menu of the short-message settings, and the list of SMS
// recipients.
#include <cstdio>

#include "config/entries.h"
#include "config/record.h"
#include "console/input.h"
#include "console/lang.h"
#include "console/screen.h"
#include "console/terminal.h"
#include "screens/screens.h"

namespace {

constexpr unsigned kMenuFirstLine = 9;
enum MenuRow : unsigned { kRecipients = 1, kModem = 3, kGsmModem = 4, kWap = 5, kMenuBack = 7 };

constexpr unsigned kListFirstLine = 7;
constexpr unsigned kLastRecipient = kSmsRecipients, kListBack = 12;

// Name, then number; "*" as the name removes the recipient.
void edit_recipient(SmsRecipient &recipient) {
    show_entry(LangText[49], "%.*s", static_cast<int>(sizeof recipient.Name), recipient.Name);
    con_printf("\n\r  %s", LangText[336]);
    con_printf("\n\r  %s", LangText[343]);
    begin_line_input();
    get_str(recipient.Name, sizeof recipient.Name, LangText[332]);
    end_line_input();
    if (recipient.Name[0] == '*') {
        // No question asked; the number stays, unused. The writer closes the gap.
        delete_named(recipient.Name, sizeof recipient.Name);
        return;
    }
    enter_text(LangText[59], recipient.TelNumber, sizeof recipient.TelNumber);
}

}  // namespace

void print_mess_param(unsigned row) {
    draw_title_block(4, LangText[197]);
    con_printf("\n\r      1 - %s", LangText[58]);
    print_line(0);
    con_printf("\n\r      2 - %s", LangText[60]);
    con_printf("\n\r      3 - %s", LangText[57]);
    con_printf("\n\r      4 - %s", LangText[62]);
    print_screen_end("\n\r      0 - ", row, kMenuFirstLine);
}

void mess_param() {
    unsigned row = kRecipients;
    print_mess_param(row);
    for (;;) {
        MenuKey key = read_key();
        if (key == KEY_DOWN && row <= kWap) {
            move_marker(row, row == kRecipients || row == kWap ? row + 2 : row + 1, kMenuFirstLine);
        } else if (key == KEY_UP && row >= 2) {
            move_marker(row, row == kModem || row == kMenuBack ? row - 2 : row - 1, kMenuFirstLine);
        }
        if (key != KEY_ENTER) continue;
        switch (row) {
        case kRecipients: gsm_param(); break;
        case kModem: modem_param(); break;
        case kGsmModem: gsm_modem_param(); break;
        case kWap: wap_param(); break;
        case kMenuBack: return;
        }
        print_mess_param(row);
    }
}

void print_gsm_param(unsigned row) {
    draw_title_block(2, LangText[58]);
    for (int i = 0; i < kSmsRecipients; ++i) {
        const SmsRecipient &recipient = INI1.SMS[i];
        print_numbered(static_cast<unsigned>(i) + 1);
        if (!recipient.Name[0]) {
            print_value("%s", LangText[335]);
            continue;
        }
        char name[64];
        std::snprintf(name, sizeof name, " %.*s", static_cast<int>(sizeof recipient.Name), recipient.Name);
        dopln(name, 20, " ");
        con_printf("%s: ", LangText[49]);
        print_value("%s", name);
        con_printf("%s: ", LangText[59]);
        print_value(" %.*s", static_cast<int>(sizeof recipient.TelNumber), recipient.TelNumber);
    }
    print_screen_end("\n\r       0 - ", row, kListFirstLine);
}

void gsm_param() {
    unsigned row = 1;
    print_gsm_param(row);
    for (;;) {
        MenuKey key = read_key();
        if (key == KEY_DOWN && row <= kLastRecipient) {
            move_marker(row, row == kLastRecipient ? kListBack : row + 1, kListFirstLine);
        } else if (key == KEY_UP && row >= 2) {
            move_marker(row, row == kListBack ? kLastRecipient : row - 1, kListFirstLine);
        }
        if (key != KEY_ENTER) continue;
        if (row == kListBack) return;
        edit_recipient(INI1.SMS[row - 1]);
        print_gsm_param(row);
    }
}
