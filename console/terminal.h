// Screen output: the escape table, cursor placement, the 70-column frame
// lines, padding, the bell, waits, the debug trace and the shell.
//
// Every byte of screen output goes through console_stream(), and every wait,
// and every shell command through one replaceable function each, so tests can
// capture and script them.
#pragma once

#include <cstddef>
#include <cstdio>

// Where screen output goes; null means stdout.
extern FILE *ConsoleOut;
FILE *console_stream();
void con_printf(const char *format, ...) __attribute__((format(printf, 1, 2)));
void con_putc(int c);
void con_puts(const char *text);  // writes text as it is, no line end added

// The escape table. Screens name entries by these numbers.
enum EscapeSeq : unsigned {
    SEQ_CLEAR = 0,        // clear the screen
    SEQ_HIDE_CURSOR = 1,
    SEQ_SHOW_CURSOR = 2,
    SEQ_BLACK_BG = 3,
    SEQ_NORMAL = 4,       // bright white: the screens' normal text
    SEQ_DIM = 5,          // plain white on black: hidden or unavailable rows
    SEQ_VALUE = 6,        // bright cyan: current values and input
    SEQ_ON = 7,           // bright green: a switch that is on
    SEQ_OFF = 8,          // bright red: a switch that is off
    SEQ_DARK_RED = 9,     // plain red on black
    SEQ_COUNT
};
constexpr std::size_t kSeqEntrySize = 11;  // length byte + up to 10 bytes
extern const unsigned char seq_escape[SEQ_COUNT][kSeqEntrySize];

void print_escapeseq(unsigned index);

// Moves to line row + row_offset, column `column`, as ESC "[LL;CCH" with
// exactly two digits each; values above 99 are drawn as 99.
void cursor_gotopos(unsigned row, unsigned column, unsigned row_offset);

constexpr int kScreenWidth = 70;
// Frame line styles: 0 "-", 1 "*", 2 "#", 3 frame sides, 4 "*" without the
// leading line break; any other style writes the line break only.
void print_line(int style);
// One framed line with `text` centred between the four-star sides.
void print_center(const char *text);

// Appends `fill` to `text` (width - columns) times; `text` must have room.
char *dopln(char *text, std::size_t width, const char *fill);
// The columns a text takes on the terminal: one per UTF-8 character (for
// ASCII, its length). print_center, dopln and center count these.
std::size_t columns(const char *text);
// UTF-8: whether a byte continues a character, and the length of the
// character a byte starts (0 for a byte that starts none).
inline bool utf8_continuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }
inline int utf8_length(unsigned char lead) {
    return lead < 0x80 ? 1 : lead < 0xC0 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF8 ? 4 : 0;
}
// Centres `text` within `width` (< 200) columns using `fill`; the result
// is exactly `width` columns wide, so `text` needs room for the fill bytes
// beside its own.
char *center(char *text, std::size_t width, const char *fill);

void beep();
void sleepp(unsigned long milliseconds);
void ussleep(unsigned long microseconds);
void s_tick();

// The blocking wait behind ussleep; tests replace it to record waits.
extern void (*ConsoleSleep)(unsigned long microseconds);

// Debug trace: to the screen when bDebug is set, to debugs.log in the
// program directory when bDebugLog is set.
void printfc(const char *text);
// Where printfc appends its trace: "debugs.log" in the program directory.
void set_trace_file(const char *path);

// Runs a shell command (the terminal mode switches, the script editor) and
// returns its status. The only way the editor reaches the shell.
int run_command(const char *command);
extern int (*ConsoleShell)(const char *command);
