// A one-screen program on the console module, built only for the tests: a
// framed title, a text field, a number field, a separator and the way back,
// moved through with the arrow keys and edited with Enter, as every editor
// screen is. Its argument is the directory that holds lang_00.ini.
#include <cstdio>

#include "console/globals.h"
#include "console/input.h"
#include "console/lang.h"
#include "console/screen.h"
#include "console/session.h"
#include "console/terminal.h"

static char name[32];
static uint16_t number = 5;

constexpr unsigned kNameRow = 1, kNumberRow = 2, kBackRow = 4;
constexpr unsigned kFirstLine = 7;

static void draw(unsigned row) {
    draw_title_block(2, LangText[16]);
    con_printf("\n\r      1 - %s:", LangText[18]);
    print_value("     %s", name);
    con_printf("\n\r      2 - %s:", LangText[25]);
    print_value("     %u", number);
    print_line(0);
    con_printf("\n\r      0 - %s", LangText[318]);
    con_puts("\n\r");
    print_line(1);
    place_marker(row, kFirstLine);
}

int main(int argc, char **argv) {
    if (argc > 1) std::snprintf(ProgramDir, kProgramDirSize, "%s", argv[1]);
    console_start();
    if (AllocText() != 0) return 4;
    if (LoadText(kCorvane, 0) != 0) {
        con_printf("\n\rCannot load language strings file !");
        return 5;
    }
    key_mode();
    print_escapeseq(SEQ_HIDE_CURSOR);
    print_escapeseq(SEQ_BLACK_BG);
    print_escapeseq(SEQ_NORMAL);

    unsigned row = kNameRow;
    draw(row);
    for (;;) {
        MenuKey key = read_key();
        if (key == KEY_DOWN && row < kBackRow) move_marker(row, row == kNumberRow ? kBackRow : row + 1, kFirstLine);
        if (key == KEY_UP && row > kNameRow) move_marker(row, row == kBackRow ? kNumberRow : row - 1, kFirstLine);
        if (key != KEY_ENTER) continue;
        if (row == kBackRow) break;
        if (row == kNameRow) {
            enter_text(LangText[18], name, sizeof name);
        } else {
            number = enter_number(LangText[25], number, 1, 1000);
        }
        draw(row);
    }

    print_escapeseq(SEQ_CLEAR);
    print_escapeseq(SEQ_SHOW_CURSOR);
    line_mode();
    con_printf("\n\rname=%s number=%u\n\r", name, number);
    FreeText();
    return 0;
}
