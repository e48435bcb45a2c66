// The events of one UPS group: the list, eight to a page, and the screen of
// one event with its conditions, actions and message.
#include <cstdio>
#include <cstring>

#include "config/entries.h"
#include "config/record.h"
#include "console/input.h"
#include "console/lang.h"
#include "console/screen.h"
#include "console/terminal.h"
#include "screens/screens.h"

namespace {

constexpr unsigned kListFirstLine = 9;
constexpr unsigned kPageSize = 8, kNextPage = 10, kListBack = 12;

constexpr unsigned kEventFirstLine = 7;
enum EventRow : unsigned { kConditions = 1, kFirstAction = 3, kLastAction = 10, kMessage = 11, kDelete = 13, kBack = 15 };

}  // namespace

const char *event_type_name(unsigned type) {
    if (type == 23) return LangText[303];
    if (type == 24) return LangText[304];
    // Types 1-22 name the events of jobs 0-21; a type read from a profile
    // may be anything.
    return 78 + type < kTextCount ? LangText[78 + type] : LangText[278];
}

void fill_gr_event_name(int group, int event, int slot, char *text, size_t size) {
    const GroupEvent &entry = INI1.Group[group].Event[event];
    const unsigned type = entry.Type[slot], qualifier = entry.Priority[slot];
    if (type == 0) {
        std::snprintf(text, size, "%s", LangText[335]);
    } else if (type == 23 || type == 24) {
        std::snprintf(text, size, "%s - [%d]", event_type_name(type), qualifier);
    } else {
        // The second qualifier form counts from 100; 254 and 255 stand alone.
        unsigned shown = qualifier >= 100 && qualifier <= 253 ? qualifier - 100 : qualifier;
        std::snprintf(text, size, "%s - [%d]", event_type_name(type), shown);
    }
}

void print_gr_event(unsigned row, int group, unsigned first, unsigned last) {
    draw_title_block(4, LangText[163]);
    for (unsigned number = first; number <= last; ++number) {
        const GroupEvent &event = INI1.Group[group].Event[number - 1];
        print_numbered(number);
        if (event.Type[0]) {
            char line[200];
            std::snprintf(line, sizeof line, "%s - %.*s", LangText[164], static_cast<int>(sizeof event.Job.Message),
                          event.Job.Message);
            dopln(line, 50, " ");
            print_value("%s", line);
        } else {
            print_value("%s", LangText[335]);
        }
    }
    print_line(0);
    print_item(last != kGroupEvents, "\n\r      %u - %s", 65u, LangText[320]);
    print_screen_end("\n\r       0 - ", row, kListFirstLine);
}

void gr_event(int group) {
    unsigned first = 1, last = kPageSize, row = 1;
    print_gr_event(row, group, first, last);
    for (;;) {
        MenuKey key = read_key();
        const bool last_page = last == kGroupEvents;
        if (key == KEY_DOWN && row <= kNextPage) {
            unsigned to = row + 1;
            if (last_page && row == kPageSize) {
                to = kListBack;
            } else if (row == kPageSize || row == kNextPage) {
                to = row + 2;
            }
            move_marker(row, to, kListFirstLine);
        } else if (key == KEY_UP && row >= 2) {
            unsigned to = row - 1;
            if (last_page && row == kListBack) {
                to = kPageSize;
            } else if (row == kNextPage || row == kListBack) {
                to = row - 2;
            }
            move_marker(row, to, kListFirstLine);
        }
        if (key != KEY_ENTER) continue;
        if (row == kListBack) return;
        if (row == kNextPage) {
            // Pages only go forward; leaving the list starts again at page one.
            first += kPageSize;
            last += kPageSize;
            row = 1;
        } else {
            gr_event_param(group, static_cast<int>(first + row - 2));
        }
        print_gr_event(row, group, first, last);
    }
}

void print_gr_event_param(unsigned row, int group, int event) {
    const GroupEvent &entry = INI1.Group[group].Event[event];
    draw_title_block(2, LangText[160]);
    con_printf("\n\r       1 - %s", LangText[167]);
    print_line(0);
    for (unsigned item = kFirstAction; item <= kLastAction; ++item) {
        con_printf("\n\r       %u - %s:     [", item - 1, LangText[kActionNames[static_cast<int>(item - kFirstAction)]]);
        print_switch(action_switch(entry.Job, static_cast<int>(item - kFirstAction)), LangText[316], LangText[317]);
    }
    con_printf("\n\r      10 - %s:", LangText[101]);
    print_value("     %.*s", static_cast<int>(sizeof entry.Job.Message), entry.Job.Message);
    print_line(0);
    con_printf("\n\r      11 - %s", LangText[2]);
    print_screen_end("\n\r       0 - ", row, kEventFirstLine);
}

void gr_event_param(int group, int event) {
    GroupEvent &entry = INI1.Group[group].Event[event];
    if (!event_in_use(entry)) create_event(entry, event);
    unsigned row = kConditions;
    print_gr_event_param(row, group, event);
    for (;;) {
        MenuKey key = read_key();
        if (key == KEY_DOWN && row <= kDelete) {
            move_marker(row, row == kConditions || row == kMessage || row == kDelete ? row + 2 : row + 1, kEventFirstLine);
        } else if (key == KEY_UP && row >= 2) {
            move_marker(row, row == kFirstAction || row == kDelete || row == kBack ? row - 2 : row - 1, kEventFirstLine);
        }
        if (key != KEY_ENTER) continue;
        if (row == kBack) return;
        if (row == kDelete) {
            delete_event(entry);
            return;
        }
        if (row == kConditions) {
            group_job_param_new(group, event);
        } else if (row == kMessage) {
            enter_text(LangText[101], entry.Job.Message, sizeof entry.Job.Message);
        } else {
            group_job_param1(group, event, static_cast<int>(row - kFirstAction));
        }
        print_gr_event_param(row, group, event);
    }
}
