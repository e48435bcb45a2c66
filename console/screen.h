// The shapes every editor screen is drawn from, so that a screen's own file
// holds only its rows, its moves and its actions.
//
// A screen is a framed title block, numbered rows, a "-->" marker in column 3
// moved with the arrow keys, and Enter to act on the marked row. Values are
// cyan, switches green (on) or red (off), unavailable rows dimmed.
#pragma once

#include <cstddef>
#include <cstdint>

// Clears the screen and draws the framed title block from terminal line
// `line`: a rule of stars, a framed blank line, the centred title, a framed
// blank line, a rule of stars.
void draw_title_block(unsigned line, const char *title);

// Writes a value in the value colour, then goes back to the normal colour.
void print_value(const char *format, ...) __attribute__((format(printf, 1, 2)));
// A text field's value: as much of `field` as holds text, at most `size`
// characters (a full field has no terminator).
void print_field(const char *field, size_t size);
// A switch's state: the on or off word in its colour, then "]".
void print_switch(bool on, const char *on_word, const char *off_word);
// A row that cannot be chosen now, in the dimmed colour.
void print_dimmed(const char *format, ...) __attribute__((format(printf, 1, 2)));

// A row that can be chosen now, or the same row dimmed when it cannot.
void print_item(bool available, const char *format, ...) __attribute__((format(printf, 2, 3)));

// The end of a screen: a separator, the way back (`back`, the start of its
// row with the screen's own indentation, then text 318), the closing rule,
// and the marker on `row`.
void print_screen_end(const char *back, unsigned row, unsigned first_line);

// The marker of row `row`, on terminal line row + first_line.
void place_marker(unsigned row, unsigned first_line);
// Erases the marker at `row` and places it at `to`, which becomes `row`.
void move_marker(unsigned &row, unsigned to, unsigned first_line);

// Terminal modes: lines typed with echo and editing, or single keys.
void line_mode();
void key_mode();

// The pieces of every field entry, for screens that add lines of their own:
// show_entry draws the framed label and the current value (formatted);
// begin_line_input shows the cursor and switches to line mode;
// end_line_input goes back to single keys and hides the cursor.
void show_entry(const char *label, const char *format, ...) __attribute__((format(printf, 2, 3)));
void begin_line_input();
void end_line_input();

// The entry of one text field: the framed label with the current value, then
// the new value read in line mode. An empty line keeps the old value.
void enter_text(const char *label, char *field, size_t size);
// The numbers a number entry accepts, from low to high.
struct NumberRange {
    unsigned low, high;
};

// The entry of one number: the framed label with the current value, the
// range prompt "\n\r<new value> [low-high]\t", then the number read in line
// mode. A number outside the range is refused with the range message and
// gives `current`; so does an empty line.
uint16_t enter_limited(const char *label, unsigned current, const NumberRange &range);
// The same with a prompt that shows another range than the one accepted, as
// some screens always have, or ends differently (`tail` follows the "]").
uint16_t enter_limited(const char *label, unsigned current, const NumberRange &range, unsigned shown_low,
                       unsigned shown_high, const char *tail);
// A number asked below the lines already drawn, "\n\r<label> [low-high] : ",
// read in line mode; refused or empty, it gives `current`.
uint16_t ask_in_range(const char *label, unsigned current, const NumberRange &range);
