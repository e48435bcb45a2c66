// One job of jobs.ini: its eight actions, its message and its reset; and the
// action screen, which group events share.
#include <cstddef>
#include <cstring>

#include "config/limits.h"
#include "config/record.h"
#include "console/input.h"
#include "console/lang.h"
#include "console/screen.h"
#include "console/terminal.h"
#include "screens/screens.h"

namespace {

constexpr size_t kNone = SIZE_MAX;

// The fields of each action, by offset in the job (the record is packed).
struct ActionFields {
    size_t on, delay, interval;
};
const ActionFields kActionFields[kJobActions] = {
    {offsetof(JobEntry, Log), offsetof(JobEntry, LogDelay), kNone},
    {offsetof(JobEntry, Execute), offsetof(JobEntry, ExecuteDelay), offsetof(JobEntry, ExecuteInterval)},
    {offsetof(JobEntry, LocalMessage), offsetof(JobEntry, LocalMessageDelay), offsetof(JobEntry, LocalMessageInterval)},
    {offsetof(JobEntry, NetMessage), offsetof(JobEntry, NetMessageDelay), offsetof(JobEntry, NetMessageInterval)},
    {offsetof(JobEntry, Shutdown), offsetof(JobEntry, ShutdownDelay), kNone},
    {offsetof(JobEntry, Email), offsetof(JobEntry, EmailDelay), kNone},
    {offsetof(JobEntry, SMS), offsetof(JobEntry, SMSDelay), kNone},
    {offsetof(JobEntry, Call), offsetof(JobEntry, CallDelay), kNone},
};

// Kinds of the jobs' actions: 2 switch and delay, 3 with an interval, 4 with
// a program too.
const int kJobKinds[kJobActions] = {2, 4, 3, 3, 2, 2, 2, 2};

uint16_t get16(const JobEntry &job, size_t offset) {
    uint16_t value;
    std::memcpy(&value, reinterpret_cast<const char *>(&job) + offset, sizeof value);
    return value;
}

void set16(JobEntry &job, size_t offset, uint16_t value) {
    std::memcpy(reinterpret_cast<char *>(&job) + offset, &value, sizeof value);
}

constexpr unsigned kActionFirstLine = 11;

// The rows that hold items, before the separator and the way back.
unsigned item_rows(const ActionScreen &screen) {
    if (screen.kind <= 1) return 1;
    unsigned rows = 2;
    if (screen.kind > 2 && screen.even) ++rows;
    if (screen.kind > 3) ++rows;
    return rows;
}

void edit_file(const ActionScreen &screen) {
    // The value shown is the screen's own choice; the field edited is the job's.
    show_entry(LangText[107], "%.*s", static_cast<int>(sizeof screen.job->File), screen.shown_file);
    begin_line_input();
    get_str(screen.job->File, sizeof screen.job->File, LangText[332]);
    end_line_input();
}

constexpr unsigned kJobFirstLine = 7;
enum JobRow : unsigned { kFirstAction = 1, kShutdownRow = 5, kLastAction = 8, kMessage = 9, kReset = 11, kJobBack = 13 };

// Jobs 2 and 4 have no shutdown action on the screen.
bool without_shutdown(int job) { return job == 2 || job == 4; }

void reset_job(int job) { values_to_default(job, job); }

}  // namespace

uint16_t action_switch(const JobEntry &job, int action) { return get16(job, kActionFields[action].on); }

void print_action_screen(unsigned row, const ActionScreen &screen, unsigned on, unsigned delay, unsigned interval) {
    print_escapeseq(SEQ_CLEAR);
    cursor_gotopos(4, 0, 0);
    print_line(1);
    print_line(3);
    print_center(screen.title);
    print_line(3);
    print_center(LangText[kActionNames[screen.action]]);
    print_line(3);
    print_line(1);
    con_printf("\n\r      1 - %s:     [", LangText[kActionNames[screen.action]]);
    print_switch(on, LangText[316], LangText[317]);
    if (screen.kind > 1) {
        con_printf("\n\r      2 - %s:", LangText[103]);
        print_value("     %u", delay);
    }
    // A hidden row takes no line: an odd job's program stands on row 3.
    if (screen.kind > 2 && screen.even) {
        con_printf("\n\r      3 - %s:", LangText[104]);
        print_value("     %u", interval);
    }
    if (screen.kind > 3) {
        con_printf("\n\r      4 - %s:", LangText[105]);
        print_value("     %.*s", static_cast<int>(sizeof screen.job->File), screen.job->File);
    }
    print_screen_end("\n\r      0 - ", row, kActionFirstLine);
}

void run_action_screen(const ActionScreen &screen) {
    // The values are kept here from entry to exit and stored on leaving by
    // any row; an action beyond the eight works on zeros and stores nothing.
    const bool known = screen.action >= 0 && screen.action < kJobActions;
    const ActionFields fields = known ? kActionFields[screen.action] : ActionFields{kNone, kNone, kNone};
    JobEntry &job = *screen.job;
    unsigned on = fields.on != kNone ? get16(job, fields.on) : 0;
    unsigned delay = fields.delay != kNone ? get16(job, fields.delay) : 0;
    unsigned interval = fields.interval != kNone && screen.kind >= 3 ? get16(job, fields.interval) : 0;

    const unsigned items = item_rows(screen), back = items + 2;
    unsigned row = 1;
    print_action_screen(row, screen, on, delay, interval);
    for (bool open = true; open;) {
        MenuKey key = read_key();
        if (key == KEY_DOWN && row < back) move_marker(row, row == items ? back : row + 1, kActionFirstLine);
        if (key == KEY_UP && row > 1) move_marker(row, row == back ? items : row - 1, kActionFirstLine);
        if (key != KEY_ENTER) continue;
        switch (row) {
        case 1: on = on ? 0 : 1; break;
        case 2: delay = enter_limited(LangText[103], delay, range_of(Limit::JobDelay)); break;
        case 3:
            if (screen.kind > 2 && screen.even) {
                interval = enter_limited(LangText[104], interval, range_of(Limit::JobInterval));
            } else if (screen.kind == 4) {
                edit_file(screen);
            } else {
                open = false;
            }
            break;
        case 4:
            if (screen.kind > 3) {
                edit_file(screen);
            } else {
                open = false;
            }
            break;
        default: open = false; break;
        }
        if (open) print_action_screen(row, screen, on, delay, interval);
    }
    if (fields.on != kNone) set16(job, fields.on, static_cast<uint16_t>(on));
    if (fields.delay != kNone) set16(job, fields.delay, static_cast<uint16_t>(delay));
    if (fields.interval != kNone && screen.kind >= 3) set16(job, fields.interval, static_cast<uint16_t>(interval));
}

ActionScreen make_action_screen(JobEntry *job, int action, const int (&kinds)[kJobActions], bool even, int named_job) {
    ActionScreen screen;
    screen.job = job;
    screen.action = action;
    screen.kind = action >= 0 && action < kJobActions ? kinds[action] : 2;
    screen.even = even;
    screen.title = LangText[kJobNames[named_job]];
    screen.shown_file = INI1.Job[named_job].File;
    return screen;
}

// The action screen of job `job` of jobs.ini.
static ActionScreen job_action_screen(int job, int action) {
    return make_action_screen(&INI1.Job[job], action, kJobKinds, job % 2 == 0, job);
}

void print_job_param1(unsigned row, int job, int action, unsigned on, unsigned delay, unsigned interval, int kind,
                      bool even) {
    ActionScreen screen = job_action_screen(job, action);
    screen.kind = kind;
    screen.even = even;
    print_action_screen(row, screen, on, delay, interval);
}

void job_param1(int job, int action) { run_action_screen(job_action_screen(job, action)); }

void print_job_param(unsigned row, int job) {
    const JobEntry &entry = INI1.Job[job];
    draw_title_block(2, LangText[kJobNames[job]]);
    for (unsigned item = kFirstAction; item <= kLastAction; ++item) {
        if (item == kShutdownRow && without_shutdown(job)) {
            print_dimmed("\n\r       5 - %s:", LangText[110]);
            continue;
        }
        con_printf("\n\r       %u - %s:     [", item, LangText[kActionNames[static_cast<int>(item - kFirstAction)]]);
        print_switch(action_switch(entry, static_cast<int>(item) - 1), LangText[316], LangText[317]);
    }
    con_printf("\n\r       9 - %s:", LangText[101]);
    print_value("     %.*s", static_cast<int>(sizeof entry.Message), entry.Message);
    print_line(0);
    con_printf("\n\r      10 - %s", LangText[116]);
    print_screen_end("\n\r       0 - ", row, kJobFirstLine);
}

void job_param(int job) {
    JobEntry &entry = INI1.Job[job];
    unsigned row = kFirstAction;
    print_job_param(row, job);
    for (;;) {
        MenuKey key = read_key();
        if (key == KEY_DOWN && row <= kReset) {
            bool skip = row == kMessage || row == kReset || (row == 4 && without_shutdown(job));
            move_marker(row, skip ? row + 2 : row + 1, kJobFirstLine);
        } else if (key == KEY_UP && row >= 2) {
            // For jobs 2 and 4 a marker on row 6 counts as if on row 4, so
            // that up from 6 lands on 3. Kept so on purpose.
            unsigned from = row == 6 && without_shutdown(job) ? 4 : row;
            move_marker(row, from == kReset || from == kJobBack ? from - 2 : from - 1, kJobFirstLine);
        }
        if (key != KEY_ENTER) continue;
        if (row == kJobBack) return;
        if (row <= kLastAction) {
            job_param1(job, static_cast<int>(row) - 1);
        } else if (row == kMessage) {
            enter_text(LangText[101], entry.Message, sizeof entry.Message);
        } else if (row == kReset) {
            // Yes resets the job and leaves the dialog open; only no closes it.
            yes_no_dialog(LangText[284], nullptr, reset_job, job, true);
        }
        print_job_param(row, job);
    }
}
