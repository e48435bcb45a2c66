// Network: Korvel's own network server, the HTTP access and the password that
// protects the service, kept only as its digest.
#include <cstring>

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
    kCheckRate = 1, kServer = 2, kPort = 3, kIgnoreRemote = 4, kHttp = 5, kHttpPath = 6,
    kProtection = 7, kPassword = 8,
    kBack = 10,
};

unsigned toggled(unsigned value) { return value ? 0 : 1; }

}  // namespace

uint16_t CalculatePassword(const char *text) { return password_digest(text, std::strlen(text)); }

uint16_t password_digest(const char *bytes, size_t count) {
    uint16_t sum = 0;
    for (size_t i = 0; i < count; ++i) sum = static_cast<uint16_t>(sum + static_cast<signed char>(bytes[i]));
    return sum;
}

bool enter_password(unsigned max, uint16_t *protection) {
    draw_title_block(9, LangText[342]);
    con_puts("\n\r");
    print_escapeseq(SEQ_SHOW_CURSOR);
    // Typed without echo: a password does not belong on the screen.
    run_command("stty -echo icanon");
    char password[kLineMax];
    int count = get_secret(password, static_cast<int>(max), LangText[342]);
    end_line_input();
    *protection = password_digest(password, static_cast<size_t>(count));
    explicit_bzero(password, sizeof password);
    return count > 0;
}

void print_network_menu(unsigned row) {
    const NetworkSettings &network = INI1.Network;
    const char *on = LangText[316], *off = LangText[317];
    draw_title_block(2, LangText[30]);
    con_printf("\n\r      1 - %s:", LangText[34]);
    print_value("     %u", network.CheckRate);
    con_printf("\n\r      2 - %s:     [", LangText[35]);
    print_switch(network.Server, on, off);
    con_printf("\n\r      3 - %s:", LangText[33]);
    print_value("     %u", network.Port);
    con_printf("\n\r      4 - %s:     [", LangText[37]);
    print_switch(INI1.System.IgnoreRemoteUPSCommands, on, off);
    con_printf("\n\r      5 - %s:     [", LangText[41]);
    print_switch(network.HTTP, on, off);
    con_printf("\n\r      6 - %s:", LangText[42]);
    print_value("     %.*s", static_cast<int>(sizeof network.HTTPPath), network.HTTPPath);
    con_printf("\n\r      7 - %s:     [", LangText[38]);
    print_switch(INI1.System.PasswordProtection != 0, on, off);
    print_item(INI1.System.PasswordProtection, "\n\r          7.1 - %s", LangText[342]);
    print_screen_end("\n\r      0 - ", row, kFirstLine);
}

void network_param() {
    NetworkSettings &network = INI1.Network;
    SystemSettings &system = INI1.System;
    unsigned row = kCheckRate;
    print_network_menu(row);
    for (;;) {
        MenuKey key = read_key();
        if (key == KEY_DOWN && row <= kPassword) {
            bool skip = row == kPassword || (row == kProtection && !system.PasswordProtection);
            move_marker(row, skip ? kBack : row + 1, kFirstLine);
        } else if (key == KEY_UP && row >= kServer) {
            unsigned to = row - 1;
            if (row == kBack) to = system.PasswordProtection ? kPassword : kProtection;
            move_marker(row, to, kFirstLine);
        }
        if (key != KEY_ENTER) continue;

        switch (row) {
        case kCheckRate: network.CheckRate = static_cast<uint8_t>(enter_limited(LangText[34], network.CheckRate, range_of(Limit::NetworkCheckRate))); break;
        case kServer: network.Server = static_cast<uint8_t>(toggled(network.Server)); break;
        case kPort: network.Port = enter_limited(LangText[33], network.Port, range_of(Limit::NetworkPort)); break;
        case kIgnoreRemote:
            system.IgnoreRemoteUPSCommands = static_cast<uint8_t>(toggled(system.IgnoreRemoteUPSCommands));
            break;
        case kHttp: network.HTTP = static_cast<uint8_t>(toggled(network.HTTP)); break;
        case kHttpPath: enter_text(LangText[42], network.HTTPPath, sizeof network.HTTPPath); break;
        case kProtection: system.PasswordProtection = system.PasswordProtection ? 0 : 1; break;
        case kPassword: {
            uint16_t protection;  // the field itself may sit unaligned in its packed record
            if (!enter_password(256, &protection)) row = kProtection;
            system.PasswordProtection = protection;
            break;
        }
        case kBack:
            // Drawn once more before leaving; the system parameters screen
            // then draws itself over it.
            print_network_menu(row);
            return;
        }
        print_network_menu(row);
    }
}
