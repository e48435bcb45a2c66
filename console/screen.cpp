#include "console/screen.h"

#include <cstdarg>

#include "console/input.h"
#include "console/lang.h"
#include "console/terminal.h"

void draw_title_block(unsigned line, const char *title) {
    print_escapeseq(SEQ_CLEAR);
    cursor_gotopos(line, 0, 0);
    print_line(1);
    print_line(3);
    print_center(title);
    print_line(3);
    print_line(1);
}

void print_value(const char *format, ...) {
    print_escapeseq(SEQ_VALUE);
    va_list args;
    va_start(args, format);
    vfprintf(console_stream(), format, args);
    va_end(args);
    print_escapeseq(SEQ_NORMAL);
}

void print_field(const char *field, size_t size) {
    print_value("%.*s", static_cast<int>(size), field);
}

void print_switch(bool on, const char *on_word, const char *off_word) {
    print_escapeseq(on ? SEQ_ON : SEQ_OFF);
    con_puts(on ? on_word : off_word);
    print_escapeseq(SEQ_NORMAL);
    con_puts("]");
}

static void print_row(bool available, const char *format, va_list args) __attribute__((format(printf, 2, 0)));
static void print_row(bool available, const char *format, va_list args) {
    if (!available) print_escapeseq(SEQ_DIM);
    vfprintf(console_stream(), format, args);
    if (!available) print_escapeseq(SEQ_NORMAL);
}

void print_item(bool available, const char *format, ...) {
    va_list args;
    va_start(args, format);
    print_row(available, format, args);
    va_end(args);
}

void print_dimmed(const char *format, ...) {
    va_list args;
    va_start(args, format);
    print_row(false, format, args);
    va_end(args);
}

void print_screen_end(const char *back, unsigned row, unsigned first_line) {
    print_line(0);
    con_puts(back);
    con_puts(LangText[318]);
    con_puts("\n\r");
    print_line(1);
    place_marker(row, first_line);
}

void place_marker(unsigned row, unsigned first_line) {
    cursor_gotopos(row, 3, first_line);
    con_puts("-->");
}

void move_marker(unsigned &row, unsigned to, unsigned first_line) {
    cursor_gotopos(row, 3, first_line);
    con_puts("   ");
    row = to;
    place_marker(row, first_line);
}

void line_mode() { run_command("stty echo icanon"); }
void key_mode() { run_command("stty -echo -icanon"); }

void show_entry(const char *label, const char *format, ...) {
    menu_insert_value(label);
    va_list args;
    va_start(args, format);
    vfprintf(console_stream(), format, args);
    va_end(args);
    print_escapeseq(SEQ_NORMAL);
    print_line(0);
}

void begin_line_input() {
    con_puts("\n\r");
    print_escapeseq(SEQ_SHOW_CURSOR);
    line_mode();
}

void end_line_input() {
    key_mode();
    print_escapeseq(SEQ_HIDE_CURSOR);
    print_escapeseq(SEQ_NORMAL);
}

void enter_text(const char *label, char *field, size_t size) {
    show_entry(label, "%.*s", static_cast<int>(size), field);
    begin_line_input();
    get_str(field, static_cast<int>(size), LangText[332]);
    end_line_input();
}

uint16_t enter_limited(const char *label, unsigned current, const NumberRange &range, unsigned shown_low,
                       unsigned shown_high, const char *tail) {
    show_entry(label, "%u", current);
    begin_line_input();
    con_printf("\n\r%s [%u-%u]%s", LangText[332], shown_low, shown_high, tail);
    print_escapeseq(SEQ_VALUE);
    uint16_t value = get_int1(range.low, range.high, current, "", LangText[333]);
    end_line_input();
    return value;
}

uint16_t enter_limited(const char *label, unsigned current, const NumberRange &range) {
    return enter_limited(label, current, range, range.low, range.high, "\t");
}

uint16_t ask_in_range(const char *label, unsigned current, const NumberRange &range) {
    begin_line_input();
    con_printf("\n\r%s [%u-%u] : ", label, range.low, range.high);
    uint16_t value = get_int1(range.low, range.high, current, "", LangText[333]);
    end_line_input();
    return value;
}
