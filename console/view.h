// A frame (the bytes written since the screen was last cleared) as a
// terminal draws it, and the part of it that a window too small for the
// whole frame shows: the rows around the cursor (the marker, or the prompt
// of an entry), cut at the window's width by display columns, with a mark
// where a row or the frame goes on.
//
// Pure functions of bytes: the session decides when a frame is shown this
// way, and tests can look at any frame without a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

// The colours in effect, as the "ESC [ ... m" sequences left them; -1 is the
// terminal's own colour.
struct Colours {
    signed char foreground = -1, background = -1;
    bool bold = false;
    bool operator==(const Colours &other) const {
        return foreground == other.foreground && background == other.background && bold == other.bold;
    }
    bool operator!=(const Colours &other) const { return !(*this == other); }
};

// One sequence that sets exactly `colours`, from any state.
std::string colour_sequence(const Colours &colours);
// Applies the colour sequences among `bytes` to `colours`.
void follow_colours(const char *bytes, std::size_t size, Colours &colours);

struct FramePicture {
    struct Cell {
        char bytes[4];       // one character, UTF-8
        unsigned char size;  // 0: nothing was written here
        Colours colours;
    };
    std::vector<std::vector<Cell>> rows;
    // The lines and columns the frame needs from the top left corner (the
    // cursor's furthest reach counts: a frame that ends in a line break
    // needs the line after it).
    unsigned lines = 1, columns = 0;
    unsigned cursor_row = 0, cursor_column = 0;
    Colours start, end;  // in effect before the first byte and after the last
};

// How a terminal draws `frame` from a cleared screen, the cursor in the top
// left corner. Besides characters it follows line feeds (which also return
// the carriage, as terminals do by default), returns, tabs, backspaces,
// "ESC [ line ; column H", "ESC [ n B" (down), "ESC [ 2 J", "ESC [ K" and
// the colours.
FramePicture picture_of(const char *frame, std::size_t size, const Colours &start);

// What the window last showed of a frame: its part and its rows' bytes.
struct View {
    unsigned rows = 0, columns = 0, top = 0, left = 0;
    std::vector<std::string> shown;
};

// The bytes that show `picture` in a window of `rows` by `columns`, as
// `view` records, with the cursor where the frame's cursor is. A new frame
// begins at its top unless its cursor lies lower; otherwise the part moves
// only as far as the cursor needs. With `repaint` the window is cleared and
// every row drawn; without it only the rows that differ from `view`'s.
std::string show_view(const FramePicture &picture, unsigned rows, unsigned columns, bool new_frame, bool repaint,
                      View &view);
