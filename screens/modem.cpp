// The dial-out modem, the GSM modem that sends the short messages, and the
// WAP switch.
#include "config/limits.h"
#include "config/record.h"
#include "console/input.h"
#include "console/lang.h"
#include "console/screen.h"
#include "console/terminal.h"
#include "screens/screens.h"

namespace {

constexpr unsigned kFirstLine = 7;
enum ModemRow : unsigned { kModemAllowed = 1, kModemPort = 2, kNumber1 = 3, kNumber2 = 4, kRepeat = 5, kDelay = 6,
                           kIncoming = 7, kModemBack = 9 };
enum GsmRow : unsigned { kGsmAllowed = 1, kGsmPort = 2, kCentre = 3, kGsmType = 4, kGsmBack = 6 };

constexpr unsigned kWapFirstLine = 9;
enum WapRow : unsigned { kWapAllowed = 1, kWapBack = 3 };

uint8_t toggled(unsigned value) { return value ? 0 : 1; }

}  // namespace

void print_modem_param(unsigned row) {
    const DialOutModem &modem = INI1.ModemConfig;
    const char *on = LangText[316], *off = LangText[317];
    draw_title_block(2, LangText[190]);
    con_printf("\n\r      1 - %s:     [", LangText[191]);
    print_switch(modem.Allowed, on, off);
    if (modem.Allowed) {
        con_printf("\n\r      2 - %s:", LangText[187]);
        print_value("     %.*s", static_cast<int>(sizeof modem.Port), modem.Port);
        con_printf("\n\r      3 - [1] %s:", LangText[192]);
        print_value("     %.*s", static_cast<int>(sizeof modem.Number1), modem.Number1);
        con_printf("\n\r      4 - [2] %s:", LangText[193]);
        print_value("     %.*s", static_cast<int>(sizeof modem.Number2), modem.Number2);
        con_printf("\n\r      5 - %s:", LangText[194]);
        print_value("     %u", modem.Repeat);
        con_printf("\n\r      6 - %s:", LangText[195]);
        print_value("     %u", modem.Delay);
        con_printf("\n\r      7 - %s:     [", LangText[196]);
        print_switch(modem.IncommingAllowed, on, off);
    } else {
        print_dimmed("\n\r      2 - %s:", LangText[187]);
        print_dimmed("\n\r      3 - [1] %s:", LangText[192]);
        print_dimmed("\n\r      4 - [2] %s:", LangText[193]);
        print_dimmed("\n\r      5 - %s:", LangText[194]);
        print_dimmed("\n\r      6 - %s:", LangText[195]);
        print_dimmed("\n\r      7 - %s:", LangText[196]);
    }
    print_screen_end("\n\r      0 - ", row, kFirstLine);
}

void modem_param() {
    DialOutModem &modem = INI1.ModemConfig;
    unsigned row = kModemAllowed;
    print_modem_param(row);
    for (;;) {
        MenuKey key = read_key();
        if (key == KEY_DOWN && row <= kIncoming) {
            // With the modem off only its switch and the way back remain.
            bool skip = !modem.Allowed || row == kIncoming;
            move_marker(row, skip ? kModemBack : row + 1, kFirstLine);
        } else if (key == KEY_UP && row >= 2) {
            unsigned to = row - 1;
            if (row == kModemBack) to = modem.Allowed ? kIncoming : kModemAllowed;
            move_marker(row, to, kFirstLine);
        }
        if (key != KEY_ENTER) continue;
        switch (row) {
        case kModemAllowed: modem.Allowed = toggled(modem.Allowed); break;
        case kModemPort: enter_text(LangText[187], modem.Port, sizeof modem.Port); break;
        case kNumber1: enter_text(LangText[192], modem.Number1, sizeof modem.Number1); break;
        case kNumber2: enter_text(LangText[193], modem.Number2, sizeof modem.Number2); break;
        case kRepeat: modem.Repeat = static_cast<uint8_t>(enter_limited(LangText[194], modem.Repeat, range_of(Limit::ModemRepeat))); break;
        case kDelay: modem.Delay = static_cast<uint8_t>(enter_limited(LangText[195], modem.Delay, range_of(Limit::ModemDelay))); break;
        case kIncoming: modem.IncommingAllowed = toggled(modem.IncommingAllowed); break;
        case kModemBack: return;
        }
        print_modem_param(row);
    }
}

void print_gsm_modem_param(unsigned row) {
    const SmsService &gsm = INI1.SMSConfig;
    draw_title_block(2, LangText[184]);
    con_printf("\n\r      1 - %s:     [", LangText[186]);
    print_switch(gsm.Allowed, LangText[316], LangText[317]);
    if (gsm.Allowed) {
        con_printf("\n\r      2 - %s:", LangText[187]);
        print_value("     %.*s", static_cast<int>(sizeof gsm.Port), gsm.Port);
        con_printf("\n\r      3 - %s:", LangText[188]);
        print_value("     %.*s", static_cast<int>(sizeof gsm.SMSCentre), gsm.SMSCentre);
        con_printf("\n\r      4 - %s:     [", LangText[189]);
        print_value("%s", gsm.Type ? "1 - Falcom" : "0 - Siemens");
        con_puts("]");
    } else {
        print_dimmed("\n\r      2 - %s:", LangText[187]);
        print_dimmed("\n\r      3 - %s:", LangText[188]);
        print_dimmed("\n\r      4 - %s:", LangText[189]);
    }
    print_screen_end("\n\r      0 - ", row, kFirstLine);
}

void gsm_modem_param() {
    SmsService &gsm = INI1.SMSConfig;
    unsigned row = kGsmAllowed;
    print_gsm_modem_param(row);
    for (;;) {
        MenuKey key = read_key();
        if (key == KEY_DOWN && row <= kGsmType) {
            bool skip = (row == kGsmAllowed && !gsm.Allowed) || row == kGsmType;
            move_marker(row, skip ? kGsmBack : row + 1, kFirstLine);
        } else if (key == KEY_UP && row >= 2) {
            unsigned to = row - 1;
            // Up from the way back looks at the dial-out modem's switch, not
            // this screen's: with the GSM modem off and the dial-out modem on,
            // the dimmed rows can be reached and edited. Kept so on purpose.
            if (row == kGsmBack) to = INI1.ModemConfig.Allowed ? kGsmType : kGsmAllowed;
            move_marker(row, to, kFirstLine);
        }
        if (key != KEY_ENTER) continue;
        switch (row) {
        case kGsmAllowed: gsm.Allowed = toggled(gsm.Allowed); break;
        case kGsmPort: enter_text(LangText[187], gsm.Port, sizeof gsm.Port); break;
        case kCentre: enter_text(LangText[188], gsm.SMSCentre, sizeof gsm.SMSCentre); break;
        case kGsmType: gsm.Type = toggled(gsm.Type); break;
        case kGsmBack: return;
        }
        print_gsm_modem_param(row);
    }
}

void print_wap_param(unsigned row) {
    draw_title_block(4, LangText[204]);
    con_printf("\n\r      1 - %s:     [", LangText[205]);
    print_switch(INI1.WapConfig.Allowed, LangText[316], LangText[317]);
    print_screen_end("\n\r      0 - ", row, kWapFirstLine);
}

void wap_param() {
    unsigned row = kWapAllowed;
    print_wap_param(row);
    for (;;) {
        MenuKey key = read_key();
        if (key == KEY_DOWN && row == kWapAllowed) move_marker(row, kWapBack, kWapFirstLine);
        if (key == KEY_UP && row == kWapBack) move_marker(row, kWapAllowed, kWapFirstLine);
        if (key != KEY_ENTER) continue;
        if (row == kWapBack) return;
        INI1.WapConfig.Allowed = toggled(INI1.WapConfig.Allowed);
        print_wap_param(row);
    }
}
