// Schedules: the list of the sixteen timed actions, the editor of one,
// which sets its UPS, its action and when it runs, and the view of the
// actions of the coming 100 days.
#include <cstdio>
#include <cstring>

#include "config/limits.h"
#include "config/entries.h"
#include "config/record.h"
#include "console/input.h"
#include "console/lang.h"
#include "console/screen.h"
#include "console/session.h"
#include "console/terminal.h"
#include "schedule/calendar.h"
#include "schedule/evaluator.h"
#include "screens/screens.h"

namespace {

constexpr unsigned kListFirstLine = 3;
constexpr unsigned kLastSchedule = kSchedules, kView = 18, kListBack = 20;

constexpr unsigned kEditorFirstLine = 9;
enum EditorRow : unsigned { kDelete = 1, kUps = 2, kAction = 3, kTiming = 4, kEditorBack = 6 };

const char *const kKeywords[] = {"SYSSHUTDOWN", "UPSSHUTDOWN", "UPSREBOOT", "UPSTEST",
                                 "BATTERYTEST", "PANELTEST",   "OSSHUTDOWN"};

struct tm local(uint32_t moment) {
    time_t at = moment;
    struct tm broken;
    localtime_r(&at, &broken);
    return broken;
}

void ups_name(const ScheduleEntry &entry, char *name, size_t size) {
    const char *text = "?";
    int width = 1;
    if (entry.UpsIndex < kUpsEntries && INI1.UPS[entry.UpsIndex].Name[0]) {
        text = INI1.UPS[entry.UpsIndex].Name;
        width = static_cast<int>(sizeof INI1.UPS[0].Name);
    }
    std::snprintf(name, size, "%.*s", width, text);
}

const char *weekday(unsigned day) { return day < 7 ? LangText[227 + day] : LangText[278]; }

// The timing as the list shows it: "[W - Mon - 10:00]".
void list_timing(const ScheduleEntry &entry, char *text, size_t size) {
    struct tm at = local(entry.StartTime);
    switch (entry.Period) {
    case kOnce:
        std::snprintf(text, size, "[%02u.%02u.%04u - %02u:%02u]", at.tm_mday, at.tm_mon + 1, at.tm_year + 1900,
                      at.tm_hour, at.tm_min);
        break;
    case kDaily: std::snprintf(text, size, "[%c - %02u:%02u]", 'D', at.tm_hour, at.tm_min); break;
    case kWeekly:
        std::snprintf(text, size, "[%c - %.3s - %02u:%02u]", 'W', weekday(entry.PeriodDay), at.tm_hour, at.tm_min);
        break;
    case kMonthly:
        std::snprintf(text, size, "[%c - %d - %02u:%02u]", 'M', entry.PeriodDay, at.tm_hour, at.tm_min);
        break;
    default: std::snprintf(text, size, "%s", LangText[278]); break;
    }
}

// The timing as the editor shows it: "Weekly - Monday - 10:00".
void editor_timing(const ScheduleEntry &entry, char *text, size_t size) {
    struct tm at = local(entry.StartTime);
    switch (entry.Period) {
    case kDaily: std::snprintf(text, size, "%s - %02u:%02u", LangText[224], at.tm_hour, at.tm_min); break;
    case kOnce:
        std::snprintf(text, size, "%s - %02u.%02u.%04u - %02u:%02u", LangText[223], at.tm_mday, at.tm_mon + 1,
                      at.tm_year + 1900, at.tm_hour, at.tm_min);
        break;
    case kWeekly:
        std::snprintf(text, size, "%s - %s - %02u:%02u", LangText[225], weekday(entry.PeriodDay), at.tm_hour,
                      at.tm_min);
        break;
    case kMonthly:
        std::snprintf(text, size, "%s - %d - %02u:%02u", LangText[226], entry.PeriodDay, at.tm_hour, at.tm_min);
        break;
    default: std::snprintf(text, size, "%s", LangText[278]); break;
    }
}

// Asks for a time (or date and time) until `check` accepts it. 0 when the
// answer was empty: the change is abandoned.
int64_t ask_moment(int hint, int64_t (*check)(const char *)) {
    char title[256];
    std::snprintf(title, sizeof title, "%s [%s]", LangText[209], LangText[hint]);
    for (;;) {
        menu_insert_value(title);
        print_escapeseq(SEQ_NORMAL);
        print_line(0);
        begin_line_input();
        char answer[120] = "";
        get_str(answer, sizeof answer, LangText[332]);
        end_line_input();
        if (!answer[0]) return 0;
        int64_t moment = check(answer);
        if (moment > 0) return moment;
        con_printf("\a\n%s\n", LangText[283]);
        ussleep(2000000);
    }
}

void choose_timing(ScheduleEntry &entry) {
    const char *const periods[] = {LangText[223], LangText[224], LangText[225], LangText[226]};
    unsigned period = pick_from_list(LangText[51], periods, 4);
    int64_t moment = ask_moment(period == kOnce ? 279_text : 280_text, period == kOnce ? check_datetime : check_time);
    if (!moment) return;  // the old timing stays
    entry.StartTime = static_cast<uint32_t>(moment);
    entry.Period = static_cast<uint8_t>(period);
    if (period == kWeekly) {
        const char *days[7];
        for (int day = 0; day < 7; ++day) days[day] = LangText[kWeekdays[day]];
        entry.PeriodDay = static_cast<uint8_t>(pick_from_list(LangText[328], days, 7) - 1);
    } else if (period == kMonthly) {
        entry.PeriodDay = static_cast<uint8_t>(ask_in_range(LangText[328], entry.PeriodDay, range_of(Limit::ScheduleDay)));
    }
}

void print_firing(const Firing &firing, void *) {
    char line[160];
    format_firing(firing, INI1, line, sizeof line);
    con_printf("\n\r%s", line);
}

}  // namespace

int print_next_actions(int64_t &start, int64_t end, unsigned selected) {
    print_escapeseq(SEQ_CLEAR);
    cursor_gotopos(2, 0, 0);
    print_line(1);
    print_center(LangText[234]);
    print_line(1);
    int count = scan_schedules(start, end, INI1, print_firing, nullptr);
    print_line(0);
    con_printf("\n\r      %s", LangText[320]);
    print_line(0);
    con_printf("\n\r      %s", LangText[318]);
    con_puts("\n\r");
    print_line(1);
    place_marker(selected, static_cast<unsigned>(count) + 6);
    return count;
}

void next_actions(NextActionsView &view) {
    constexpr unsigned kNext = 1, kBack = 3;
    int64_t start = ScheduleNow();
    int64_t end = actions_end(start, 100);
    int count = print_next_actions(start, end, view.selected);
    while (view.open) {
        MenuKey key = read_key();
        unsigned first_line = static_cast<unsigned>(count) + 6;
        if (key == KEY_DOWN && view.selected == kNext) move_marker(view.selected, kBack, first_line);
        if (key == KEY_UP && view.selected == kBack) move_marker(view.selected, kNext, first_line);
        if (key != KEY_ENTER) continue;
        if (view.selected == kNext) {
            count = print_next_actions(start, end, view.selected);  // goes on from where the scan stopped
        } else {
            view.open = false;
        }
    }
}

void print_sched_param(unsigned selected) {
    print_escapeseq(SEQ_CLEAR);
    cursor_gotopos(0, 0, 0);
    print_line(4);
    print_center(LangText[66]);
    print_line(1);
    for (int index = 0; index < kSchedules; ++index) {
        const ScheduleEntry &entry = INI1.Schedule[index];
        print_numbered(static_cast<unsigned>(index) + 1);
        if (entry.Action == kActionUnused) {
            print_value("%s", LangText[335]);
            continue;
        }
        char name[48], first[96], timing[80];  // room for the padding of a name in UTF-8
        ups_name(entry, name, sizeof name);
        dopln(name, 16, " ");
        std::snprintf(first, sizeof first, "%s%s", name,
                      entry.Action <= kOsShutdown ? kKeywords[entry.Action - 1] : LangText[278]);
        dopln(first, 25, " ");
        list_timing(entry, timing, sizeof timing);
        dopln(timing, 25, " ");
        print_value("%s %s", first, timing);
    }
    print_line(0);
    con_printf("\n\r      %u - %s", 17u, LangText[235]);
    print_line(0);
    con_printf("\n\r       0 - %s", LangText[318]);
    print_line(1);
    place_marker(selected, kListFirstLine);
}

void print_sch_param(unsigned selected, int index) {
    const ScheduleEntry &entry = INI1.Schedule[index];
    draw_title_block(4, LangText[222]);
    con_printf("\n\r      1 - %s", LangText[2]);
    char text[128];
    ups_name(entry, text, sizeof text);
    con_printf("\n\r      2 - %s:", LangText[68]);
    print_value("     %s", text);
    con_printf("\n\r      3 - %s:", LangText[102]);
    print_value("     %s", schedule_action_label(entry.Action));
    editor_timing(entry, text, sizeof text);
    con_printf("\n\r      4 - %s:", LangText[51]);
    print_value("     %s", text);
    print_screen_end("\n\r      0 - ", selected, kEditorFirstLine);
}

void sch_param(int index) {
    ScheduleEntry &entry = INI1.Schedule[index];
    unsigned row = kDelete;
    print_sch_param(row, index);
    for (;;) {
        MenuKey key = read_key();
        if (key == KEY_DOWN && row <= kTiming) move_marker(row, row == kTiming ? kEditorBack : row + 1, kEditorFirstLine);
        if (key == KEY_UP && row >= 2) move_marker(row, row == kEditorBack ? kTiming : row - 1, kEditorFirstLine);
        if (key != KEY_ENTER) continue;
        switch (row) {
        case kDelete:
            // Dropped from the file at the next save.
            delete_schedule(entry);
            return;
        case kUps: {
            int chosen = choose_ups(false);
            if (chosen >= 0) entry.UpsIndex = static_cast<uint16_t>(chosen);
            break;
        }
        case kAction: {
            // OSSHUTDOWN (7) is shown when present but cannot be chosen here.
            const char *const actions[] = {LangText[273], LangText[274], LangText[142],
                                           LangText[275], LangText[276], LangText[277]};
            entry.Action = static_cast<uint8_t>(pick_from_list(LangText[102], actions, 6));
            break;
        }
        case kTiming: choose_timing(entry); break;
        case kEditorBack: return;
        }
        print_sch_param(row, index);
    }
}

void shed_param() {
    NextActionsView view;  // kept for the whole visit of the list
    unsigned row = 1;
    print_sched_param(row);
    for (;;) {
        MenuKey key = read_key();
        if (key == KEY_DOWN && row <= kView) {
            move_marker(row, row == kLastSchedule || row == kView ? row + 2 : row + 1, kListFirstLine);
        } else if (key == KEY_UP && row >= 2) {
            move_marker(row, row == kView || row == kListBack ? row - 2 : row - 1, kListFirstLine);
        }
        if (key != KEY_ENTER) continue;
        if (row == kListBack) return;
        if (row == kView) {
            next_actions(view);
        } else {
            sch_param(static_cast<int>(row) - 1);
        }
        print_sched_param(row);
    }
}
