// Inside one group event: its six conditions, each a type with a qualifier,
// and its eight actions, on the action screen jobs use too.
#include <cstdio>

#include "config/limits.h"
#include "config/entries.h"
#include "config/record.h"
#include "console/input.h"
#include "console/lang.h"
#include "console/screen.h"
#include "console/terminal.h"
#include "screens/screens.h"

namespace {

constexpr unsigned kSlotsFirstLine = 7;
constexpr unsigned kLastSlot = 6, kSlotsBack = 8;

constexpr unsigned kConditionFirstLine = 9;
enum ConditionRow : unsigned { kRemove = 1, kType = 2, kQualifier = 3, kConditionBack = 5 };

constexpr unsigned kChooserFirstLine = 6;
constexpr unsigned kChooserNext = 13, kChooserBack = 15;

// Qualifiers of the types 1-22: a count in two forms, or one of two words.
constexpr unsigned kSecondForm = 100, kThirdForm = 254, kFourthForm = 255;

// Kinds of the event actions: as for jobs, but the shutdown is a switch only.
const int kEventKinds[kJobActions] = {2, 4, 3, 3, 1, 2, 2, 2};

// Picks a condition type from two pages of events. Back is no exception: it
// stores type 15 on page one and 26 on page two, as Korvel's editor does.
uint16_t choose_type() {
    unsigned first = 0, last = 10, row = 1;
    print_group_job_event(row, first, last);
    for (;;) {
        MenuKey key = read_key();
        const bool page_one = first == 0;
        if (key == KEY_DOWN && row <= kChooserNext) {
            bool jump = row == kChooserNext || (page_one && row == 11);
            move_marker(row, jump ? row + 2 : row + 1, kChooserFirstLine);
        } else if (key == KEY_UP && row >= 2) {
            bool jump = row == kChooserBack || (page_one && row == kChooserNext);
            move_marker(row, jump ? row - 2 : row - 1, kChooserFirstLine);
        }
        if (key != KEY_ENTER) continue;
        if (page_one && row == kChooserNext) {
            first = 11;
            last = 21;
            row = 1;
            print_group_job_event(row, first, last);
            continue;
        }
        return static_cast<uint16_t>(page_one ? row : row + 11);
    }
}

// The qualifier of a type 1-22, chosen among its four forms.
void choose_qualifier(GroupEvent &event, int slot) {
    constexpr unsigned kFirstLine = 9;
    draw_title_block(4, LangText[170]);
    for (unsigned item = 1; item <= 4; ++item) con_printf("\n\r      %u - %s", item, LangText[kQualifierForms[static_cast<int>(item) - 1]]);
    print_line(0);
    con_puts("\n\r");
    print_line(1);
    unsigned row = 1;
    place_marker(row, kFirstLine);
    for (;;) {
        MenuKey key = read_key();
        if (key == KEY_DOWN && row <= 3) move_marker(row, row + 1, kFirstLine);
        if (key == KEY_UP && row >= 2) move_marker(row, row - 1, kFirstLine);
        if (key != KEY_ENTER) continue;
        if (row == 3) {
            event.Priority[slot] = kThirdForm;
        } else if (row == 4) {
            event.Priority[slot] = kFourthForm;
        } else {
            unsigned current = event.Priority[slot];
            unsigned shown = current > kSecondForm ? current - kSecondForm : current;
            unsigned count = enter_limited(LangText[175], shown, range_of(Limit::QualifierCount)) & 0xFF;
            event.Priority[slot] = static_cast<uint16_t>(row == 1 ? count : count + kSecondForm);
        }
        return;
    }
}

}  // namespace

void print_group_param_new(unsigned row, int group, int event) {
    draw_title_block(2, LangText[167]);
    for (unsigned slot = 1; slot <= kLastSlot; ++slot) {
        con_printf("\n\r      %u - ", slot);
        char text[200];
        fill_gr_event_name(group, event, static_cast<int>(slot) - 1, text, sizeof text);
        print_value("%s", text);
    }
    print_screen_end("\n\r      0 - ", row, kSlotsFirstLine);
}

void group_job_param_new(int group, int event) {
    unsigned row = 1;
    print_group_param_new(row, group, event);
    for (;;) {
        MenuKey key = read_key();
        if (key == KEY_DOWN && row <= kLastSlot) move_marker(row, row == kLastSlot ? kSlotsBack : row + 1, kSlotsFirstLine);
        if (key == KEY_UP && row >= 2) move_marker(row, row == kSlotsBack ? kLastSlot : row - 1, kSlotsFirstLine);
        if (key != KEY_ENTER) continue;
        if (row == kSlotsBack) return;
        group_job_param2(group, event, static_cast<int>(row) - 1);  // any slot, even after empty ones
        print_group_param_new(row, group, event);
    }
}

void print_group_job_param2(unsigned row, int group, int event, int slot) {
    const GroupEvent &entry = INI1.Group[group].Event[event];
    const unsigned type = entry.Type[slot], qualifier = entry.Priority[slot];
    draw_title_block(4, LangText[164]);
    con_printf("\n\r      1 - %s", LangText[2]);
    con_printf("\n\r      2 - %s:", LangText[164]);
    print_value("     %s", type ? event_type_name(type) : LangText[335]);
    if (type > 21) {
        // Shown as a count from type 22 on, though 22 is chosen like 1-21.
        con_printf("\n\r      3 - %s:", LangText[310]);
        print_value("     %u", qualifier);
    } else {
        char text[200];
        if (qualifier == kThirdForm) {
            std::snprintf(text, sizeof text, "%s", LangText[173]);
        } else if (qualifier == kFourthForm) {
            std::snprintf(text, sizeof text, "%s", LangText[174]);
        } else if (qualifier < kSecondForm) {
            std::snprintf(text, sizeof text, "%s [%u]", LangText[171], qualifier);
        } else {
            std::snprintf(text, sizeof text, "%s [%u]", LangText[172], qualifier - kSecondForm);
        }
        con_printf("\n\r      3 - %s:", LangText[170]);
        print_value("     %s", text);
    }
    print_screen_end("\n\r      0 - ", row, kConditionFirstLine);
}

void print_group_job_event(unsigned row, unsigned first, unsigned last) {
    draw_title_block(1, LangText[168]);
    for (unsigned job = first; job <= last; ++job) {
        con_printf(job <= 8 ? "\n\r       %u - %s" : "\n\r      %u - %s", job + 1, LangText[kJobNames[static_cast<int>(job)]]);
    }
    if (first == 0) {
        print_line(0);
        con_printf("\n\r      12 - %s", LangText[339]);
    } else {
        con_printf("\n\r      %u - %s", 23u, LangText[303]);
        con_printf("\n\r      %u - %s", 24u, LangText[304]);
    }
    print_screen_end("\n\r       0 - ", row, kChooserFirstLine);
}

void group_job_param2(int group, int event, int slot) {
    GroupEvent &entry = INI1.Group[group].Event[event];
    unsigned row = kRemove;
    print_group_job_param2(row, group, event, slot);
    for (;;) {
        MenuKey key = read_key();
        if (key == KEY_DOWN && row <= kQualifier) {
            move_marker(row, row == kQualifier ? kConditionBack : row + 1, kConditionFirstLine);
        } else if (key == KEY_UP && row >= 2) {
            move_marker(row, row == kConditionBack ? kQualifier : row - 1, kConditionFirstLine);
        }
        if (key != KEY_ENTER) continue;
        switch (row) {
        case kRemove:
            remove_condition(entry, slot);
            return;
        case kType: entry.Type[slot] = choose_type(); break;  // the qualifier stays
        case kQualifier: {
            unsigned type = entry.Type[slot];
            if (type == 23 || type == 24) {
                entry.Priority[slot] = static_cast<uint16_t>(enter_limited(LangText[310], entry.Priority[slot], range_of(Limit::QualifierCount)) & 0xFF);
            } else if (type != 0) {
                choose_qualifier(entry, slot);
            }
            break;
        }
        case kConditionBack: return;
        }
        print_group_job_param2(row, group, event, slot);
    }
}

// The action screen of a group event.
static ActionScreen event_action_screen(int group, int event, int action) {
    // Titled with the job name picked by the group's index, and showing the
    // program of the jobs.ini job of that index: both kept so.
    return make_action_screen(&INI1.Group[group].Event[event].Job, action, kEventKinds, event % 2 == 0, group);
}

void print_group_job_param1(unsigned row, int group, int event, int action, unsigned on, unsigned delay,
                            unsigned interval, int kind, bool even) {
    ActionScreen screen = event_action_screen(group, event, action);
    screen.kind = kind;
    screen.even = even;
    print_action_screen(row, screen, on, delay, interval);
}

void group_job_param1(int group, int event, int action) {
    run_action_screen(event_action_screen(group, event, action));
}
