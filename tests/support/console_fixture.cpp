// A one-screen program on the console module, built only for the tests: a
// framed title, a text field, a number field, a separator and the way back,
// moved through with the arrow keys and edited with Enter, as every editor
// screen is. Its argument is the directory that holds lang_00.ini.
#include <cstdio>

#include "console/globals.h"
#include "console/input.h"
#include "console/lang.h"
#include "console/session.h"
#include "console/terminal.h"

static char name[32];
static uint16_t number = 5;

constexpr unsigned kNameRow = 1, kNumberRow = 2, kBackRow = 4;
constexpr unsigned kFirstLine = 7;

static void draw(unsigned row) {
    print_escapeseq(SEQ_CLEAR);
    cursor_gotopos(2, 0, 0);
    print_line(1);
    print_line(3);
    print_center(LangText[16]);
    print_line(3);
    print_line(1);
    con_printf("\n\r      1 - %s:", LangText[18]);
    print_escapeseq(SEQ_VALUE);
    con_printf("     %s", name);
    print_escapeseq(SEQ_NORMAL);
    con_printf("\n\r      2 - %s:", LangText[25]);
    print_escapeseq(SEQ_VALUE);
    con_printf("     %u", number);
    print_escapeseq(SEQ_NORMAL);
    print_line(0);
    con_printf("\n\r      0 - %s", LangText[318]);
    con_puts("\n\r");
    print_line(1);
    cursor_gotopos(row, 3, kFirstLine);
    con_puts("-->");
}

static void move_marker(unsigned &row, unsigned to) {
    cursor_gotopos(row, 3, kFirstLine);
    con_puts("   ");
    row = to;
    cursor_gotopos(row, 3, kFirstLine);
    con_puts("-->");
}

int main(int argc, char **argv) {
    if (argc > 1) std::snprintf(ProgramDir, kProgramDirSize, "%s", argv[1]);
    console_start();
    if (AllocText() != 0) return 4;
    if (LoadText(kCorvane, 0) != 0) {
        con_printf("\n\rCannot load language strings file !");
        return 5;
    }
    run_command("stty -echo -icanon");
    print_escapeseq(SEQ_HIDE_CURSOR);
    print_escapeseq(SEQ_BLACK_BG);
    print_escapeseq(SEQ_NORMAL);

    unsigned row = kNameRow;
    draw(row);
    for (;;) {
        MenuKey key = read_key();
        if (key == KEY_DOWN && row < kBackRow) move_marker(row, row == kNumberRow ? kBackRow : row + 1);
        if (key == KEY_UP && row > kNameRow) move_marker(row, row == kBackRow ? kNumberRow : row - 1);
        if (key != KEY_ENTER) continue;
        if (row == kBackRow) break;
        if (row == kNameRow) {
            menu_insert_value(LangText[18]);
            con_printf("%s", name);
            print_escapeseq(SEQ_NORMAL);
            print_line(0);
            run_command("stty echo icanon");
            get_str(name, sizeof name, LangText[332]);
        } else {
            menu_insert_value(LangText[25]);
            con_printf("%u", number);
            print_escapeseq(SEQ_NORMAL);
            print_line(0);
            run_command("stty echo icanon");
            con_printf("\n\r%s [%u-%u]\t", LangText[332], 1u, 1000u);
            number = get_int1(1, 1000, number, "", LangText[333]);
        }
        run_command("stty -echo -icanon");
        draw(row);
    }

    print_escapeseq(SEQ_CLEAR);
    print_escapeseq(SEQ_SHOW_CURSOR);
    run_command("stty echo icanon");
    con_printf("\n\rname=%s number=%u\n\r", name, number);
    FreeText();
    return 0;
}
