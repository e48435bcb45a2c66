#include "console/view.h"

#include <algorithm>

namespace {

// Bounds a picture keeps to whatever the bytes say: far beyond any screen.
constexpr unsigned kMostRows = 4096, kMostColumns = 1024;

// "ESC [" parameters up to the final byte: the numbers (empty ones are 0),
// whether a "?" came, and where the sequence ends (at its final byte, or at
// `end` when it is cut off).
struct Sequence {
    unsigned numbers[16] = {};
    unsigned count = 0;
    bool private_mode = false;
    const char *final = nullptr;
};

Sequence read_sequence(const char *at, const char *end) {
    Sequence s;
    bool any = false;
    for (; at < end; ++at) {
        char c = *at;
        if (c >= '0' && c <= '9') {
            if (s.count < 16) s.numbers[s.count] = std::min(s.numbers[s.count] * 10 + unsigned(c - '0'), 100000u);
            any = true;
        } else if (c == ';') {
            if (s.count < 15) ++s.count;
            any = true;
        } else if (c == '?') {
            s.private_mode = true;
        } else {
            s.final = at;
            break;
        }
    }
    if (any) ++s.count;
    if (!s.final) s.final = end;
    return s;
}

void apply_colours(const Sequence &s, Colours &colours) {
    if (s.count == 0) colours = Colours();
    for (unsigned i = 0; i < s.count; ++i) {
        unsigned n = s.numbers[i];
        if (n == 0) colours = Colours();
        else if (n == 1) colours.bold = true;
        else if (n == 22) colours.bold = false;
        else if (n >= 30 && n <= 37) colours.foreground = static_cast<signed char>(n - 30);
        else if (n == 39) colours.foreground = -1;
        else if (n >= 40 && n <= 47) colours.background = static_cast<signed char>(n - 40);
        else if (n == 49) colours.background = -1;
    }
}

bool blank(const FramePicture::Cell &cell) { return cell.size == 0 || (cell.size == 1 && cell.bytes[0] == ' '); }

// Whether row `row` holds anything to see in columns [from, to).
bool shows_anything(const FramePicture &picture, unsigned row, unsigned from, unsigned to) {
    if (row >= picture.rows.size()) return false;
    const auto &cells = picture.rows[row];
    for (unsigned c = from; c < to && c < cells.size(); ++c) {
        if (!blank(cells[c])) return true;
    }
    return false;
}

}  // namespace

std::string colour_sequence(const Colours &colours) {
    std::string s = "\033[0";
    if (colours.bold) s += ";1";
    if (colours.foreground >= 0) s += ";3" + std::to_string(colours.foreground);
    if (colours.background >= 0) s += ";4" + std::to_string(colours.background);
    return s + "m";
}

void follow_colours(const char *bytes, std::size_t size, Colours &colours) {
    const char *end = bytes + size;
    for (const char *at = bytes; at + 1 < end; ++at) {
        if (at[0] != '\033' || at[1] != '[') continue;
        Sequence s = read_sequence(at + 2, end);
        if (s.final < end && *s.final == 'm' && !s.private_mode) apply_colours(s, colours);
        at = s.final < end ? s.final : end - 1;
    }
}

FramePicture picture_of(const char *frame, std::size_t size, const Colours &start) {
    FramePicture p;
    p.start = p.end = start;
    unsigned row = 0, column = 0;
    auto reach = [&] {
        row = std::min(row, kMostRows - 1);
        column = std::min(column, kMostColumns);
        p.lines = std::max(p.lines, row + 1);
        p.columns = std::max(p.columns, column);
    };
    const char *end = frame + size;
    for (const char *at = frame; at < end; ++at) {
        unsigned char c = static_cast<unsigned char>(*at);
        if (c == '\033') {
            if (at + 1 < end && at[1] == '[') {
                Sequence s = read_sequence(at + 2, end);
                char final = s.final < end ? *s.final : '\0';
                unsigned first = s.count ? s.numbers[0] : 0;
                if (final == 'H') {
                    row = first ? first - 1 : 0;
                    column = s.count > 1 && s.numbers[1] ? s.numbers[1] - 1 : 0;
                } else if (final == 'B') {
                    row += first ? first : 1;
                } else if (final == 'J' && first == 2) {
                    p.rows.clear();
                } else if (final == 'K' && row < p.rows.size() && column < p.rows[row].size()) {
                    p.rows[row].resize(column);
                } else if (final == 'm' && !s.private_mode) {
                    apply_colours(s, p.end);
                }
                at = s.final < end ? s.final : end - 1;
            } else {
                ++at;  // a two-byte sequence: nothing that draws
            }
        } else if (c == '\n') {
            ++row;
            column = 0;
        } else if (c == '\r') {
            column = 0;
        } else if (c == '\t') {
            column = (column / 8 + 1) * 8;
        } else if (c == '\b') {
            if (column > 0) --column;
        } else if (c >= 32 && (c < 0x80 || c >= 0xC0)) {
            if (column < kMostColumns && row < kMostRows) {
                if (p.rows.size() <= row) p.rows.resize(row + 1);
                auto &cells = p.rows[row];
                if (cells.size() <= column) cells.resize(column + 1, FramePicture::Cell{{}, 0, start});
                FramePicture::Cell &cell = cells[column];
                cell.colours = p.end;
                cell.size = 0;
                // The bytes that continue this character belong to its cell.
                do cell.bytes[cell.size++] = *at;
                while (cell.size < 4 && at + 1 < end && (static_cast<unsigned char>(at[1]) & 0xC0) == 0x80 && ++at);
            }
            ++column;
        }
        reach();
    }
    p.cursor_row = row;
    p.cursor_column = column;
    return p;
}

std::string show_view(const FramePicture &picture, unsigned rows, unsigned columns, bool new_frame, bool repaint,
                      View &view) {
    const unsigned lines = picture.lines, cursor = picture.cursor_row;
    const unsigned last_top = lines > rows ? lines - rows : 0;
    unsigned top = view.top;
    if (new_frame) {
        // From the top where the cursor is on the first window; its end,
        // for a frame whose cursor is on its last (a transcript, a list
        // whose marker is at its foot).
        top = cursor < rows ? 0 : cursor >= last_top ? last_top : cursor - rows / 2;
    }
    // One row of what lies beyond the cursor stays in sight where there is one.
    const unsigned margin = rows > 2 ? 1 : 0;
    if (cursor < top + margin) top = cursor > margin ? cursor - margin : 0;
    if (cursor + margin + 1 > top + rows) top = cursor + margin + 1 - rows;
    top = std::min(top, last_top);
    unsigned left = picture.cursor_column + 1 >= columns ? picture.cursor_column - columns / 2 : 0;

    std::vector<std::string> shown(rows);
    for (unsigned r = 0; r < rows; ++r) {
        const unsigned frame_row = top + r;
        std::string &text = shown[r];
        // Erased first: an erase after a character in the last column
        // would take that character with it.
        text = colour_sequence(picture.start) + "\033[K";
        Colours now = picture.start;
        auto put = [&](const Colours &colours, const char *bytes, unsigned size) {
            if (colours != now) text += colour_sequence(now = colours);
            text.append(bytes, size);
        };
        // The marks: "<" and ">" where the row goes on beyond the window,
        // "^" and "v" at the window's first and last row where the frame does.
        char first_mark = left > 0 && shows_anything(picture, frame_row, 0, left + 1) ? '<' : '\0';
        char last_mark = shows_anything(picture, frame_row, left + columns - 1, kMostColumns) ? '>' : '\0';
        if (r == 0 && top > 0) last_mark = '^';
        if (r + 1 == rows && top + rows < lines) last_mark = 'v';
        const auto *cells = frame_row < picture.rows.size() ? &picture.rows[frame_row] : nullptr;
        unsigned used = cells ? static_cast<unsigned>(cells->size()) : 0;
        unsigned written = 0;  // columns drawn so far; blanks are drawn only before something
        for (unsigned c = 0; c < columns; ++c) {
            char mark = c == 0 ? first_mark : c + 1 == columns ? last_mark : '\0';
            if (!mark && (left + c >= used || (*cells)[left + c].size == 0)) continue;
            for (; written < c; ++written) put(picture.start, " ", 1);
            if (mark) {
                put(picture.start, &mark, 1);
            } else {
                const FramePicture::Cell &cell = (*cells)[left + c];
                put(cell.colours, cell.bytes, cell.size);
            }
            written = c + 1;
        }
        if (now != picture.start) text += colour_sequence(picture.start);
    }

    std::string out;
    const bool whole = repaint || rows != view.rows || columns != view.columns || top != view.top ||
                       left != view.left || view.shown.size() != rows;
    if (whole) out = "\033[0m" + colour_sequence(picture.start) + "\033[2J";
    for (unsigned r = 0; r < rows; ++r) {
        if (!whole && shown[r] == view.shown[r]) continue;
        out += "\033[" + std::to_string(r + 1) + ";1H" + shown[r];
    }
    const unsigned cursor_column = std::min(picture.cursor_column - left, columns - 1);
    out += "\033[" + std::to_string(cursor - top + 1) + ";" + std::to_string(cursor_column + 1) + "H";
    out += colour_sequence(picture.end);
    view = View{rows, columns, top, left, std::move(shown)};
    return out;
}
