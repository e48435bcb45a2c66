#include "app/main_menu.h"

#include <cstdio>
#include <cstring>

#include "config/record.h"
#include "console/input.h"
#include "console/lang.h"
#include "console/screen.h"
#include "console/terminal.h"
#include "screens/screens.h"

unsigned char DataChanged = 0;

static const char kVersion[] = "v 5.3.0 10/2012";
constexpr unsigned kFirstLine = 10;
// Selections count the separator line: the exit item is 7.
constexpr unsigned kLastScreen = 5, kExit = 7;

static const struct {
    int label;
    void (*open)();
} kScreens[kLastScreen] = {
    {17_text, main_param}, {127_text, conn_param}, {197_text, mess_param}, {65_text, shed_param}, {161_text, jobs_param},
};

void print_main_menu(unsigned selected) {
    print_escapeseq(SEQ_CLEAR);
    cursor_gotopos(4, 0, 0);
    print_line(1);
    print_center(LangText[0]);
    char title[64];
    std::snprintf(title, sizeof title, "Corvane %s", kVersion);
    print_center(title);
    print_line(3);
    print_center(LangText[0]);
    print_line(1);
    for (unsigned item = 1; item <= kLastScreen; ++item) {
        con_printf("\n\r      %u - %s", item, LangText[kScreens[item - 1].label]);
    }
    print_screen_end("\n\r      0 - ", selected, kFirstLine);
}

void main_menu() {
    key_mode();
    print_escapeseq(SEQ_HIDE_CURSOR);
    print_escapeseq(SEQ_BLACK_BG);
    print_escapeseq(SEQ_NORMAL);
    unsigned selected = 1;
    print_main_menu(selected);
    for (;;) {
        MenuKey key = read_key();
        if (key == KEY_DOWN && selected <= kLastScreen) {
            move_marker(selected, selected == kLastScreen ? kExit : selected + 1, kFirstLine);
        } else if (key == KEY_UP && selected >= 2) {
            move_marker(selected, selected == kExit ? kLastScreen : selected - 1, kFirstLine);
        } else if (key == KEY_ENTER) {
            if (selected == kExit) break;
            kScreens[selected - 1].open();
            print_main_menu(selected);
        }
    }
    DataChanged = std::memcmp(&INI, &INI1, sizeof INI) != 0;
    print_escapeseq(SEQ_CLEAR);
    print_escapeseq(SEQ_SHOW_CURSOR);
    line_mode();
}
