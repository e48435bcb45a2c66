// Jobs: all jobs on or off, the two lists of jobs, the reset of all jobs and
// the shutdown script.
#include "config/defaults.h"
#include "config/record.h"
#include "console/input.h"
#include "console/lang.h"
#include "console/screen.h"
#include "console/terminal.h"
#include "screens/screens.h"

namespace {

constexpr unsigned kFirstLine = 7;
enum MenuRow : unsigned { kDisable = 1, kFirstList = 3, kSecondList = 4, kResetAll = 6, kScript = 8, kBack = 10 };

constexpr unsigned kDialogFirstLine = 12;

// The list letters of the eight action switches, in action order.
const char kActionLetters[kJobActions + 1] = "LEOBSEMC";

void reset_all_jobs(int) { values_to_default(0, 21); }

// The shutdown script is edited in place; the editor takes over the terminal,
// which is put back into single keys afterwards. Its result is not looked at:
// without an editor the dialog closes just the same.
void edit_shutdown_script(int) {
    run_command("vi ups_shut.scr");
    key_mode();
    print_escapeseq(SEQ_HIDE_CURSOR);
    print_escapeseq(SEQ_NORMAL);
}

}  // namespace

void yes_no_dialog(const char *title, const char *question, void (*on_yes)(int), int argument, bool stay_open) {
    draw_title_block(7, title);
    con_printf("\n\r      1 - %s", LangText[316]);
    con_printf("\n\r      2 - %s", LangText[317]);
    print_line(1);
    if (question) {
        con_puts("\n\r");
        con_printf("\n\r%s", question);
    }
    unsigned row = 1;
    place_marker(row, kDialogFirstLine);
    for (;;) {
        MenuKey key = read_key();
        if (key == KEY_DOWN && row == 1) move_marker(row, 2, kDialogFirstLine);
        if (key == KEY_UP && row == 2) move_marker(row, 1, kDialogFirstLine);
        if (key != KEY_ENTER) continue;
        if (row == 2) return;
        on_yes(argument);
        if (!stay_open) return;
    }
}

void values_to_default(int first, int last) {
    for (int index = first; index <= last; ++index) JobToDefault(INI1.Job[index], index, 0);
}

void print_jobs_param(unsigned row) {
    draw_title_block(2, LangText[77]);
    con_printf("\n\r      1 - %s:     [", LangText[78]);
    print_switch(INI1.System.DisableJobs, LangText[316], LangText[317]);
    print_line(0);
    con_printf("\n\r      2 - %s", LangText[338]);
    con_printf("\n\r      3 - %s", LangText[339]);
    print_line(0);
    con_printf("\n\r      4 - %s", LangText[117]);
    print_line(0);
    con_printf("\n\r      5 - %s", LangText[73]);
    print_line(0);
    con_printf("\n\r      6 - %s", LangText[318]);
    con_puts("\n\r");
    print_line(1);
    place_marker(row, kFirstLine);
}

void jobs_param1() { yes_no_dialog(LangText[73], LangText[74], edit_shutdown_script, 0, false); }

void print_job_param2(unsigned row, int last, int first) {
    draw_title_block(2, LangText[338]);
    for (int job = first; job <= last; ++job) {
        print_numbered(static_cast<unsigned>(job - first) + 1);
        con_printf("%s     [", LangText[kJobNames[job]]);
        for (int action = 0; action < kJobActions; ++action) {
            print_escapeseq(action_switch(INI1.Job[job], action) ? SEQ_ON : SEQ_DARK_RED);
            con_putc(kActionLetters[action]);
        }
        print_escapeseq(SEQ_NORMAL);
        con_puts("]");
    }
    print_screen_end("\n\r       0 - ", row, kFirstLine);
}

void jobs_param2(int first, int last) {
    const unsigned count = static_cast<unsigned>(last - first + 1), back = count + 2;
    unsigned row = 1;
    print_job_param2(row, last, first);
    for (;;) {
        MenuKey key = read_key();
        if (key == KEY_DOWN && row <= count) move_marker(row, row == count ? back : row + 1, kFirstLine);
        if (key == KEY_UP && row >= 2) move_marker(row, row == back ? count : row - 1, kFirstLine);
        if (key != KEY_ENTER) continue;
        if (row == back) return;
        job_param(first + static_cast<int>(row) - 1);
        print_job_param2(row, last, first);
    }
}

void jobs_param() {
    unsigned row = kDisable;
    print_jobs_param(row);
    for (;;) {
        MenuKey key = read_key();
        if (key == KEY_DOWN && row <= kScript) {
            move_marker(row, row == kFirstList ? row + 1 : row + 2, kFirstLine);
        } else if (key == KEY_UP && row >= 2) {
            move_marker(row, row == kSecondList ? row - 1 : row - 2, kFirstLine);
        }
        if (key != KEY_ENTER) continue;
        switch (row) {
        case kDisable: INI1.System.DisableJobs = INI1.System.DisableJobs ? 0 : 1; break;
        case kFirstList: jobs_param2(0, 9); break;
        case kSecondList: jobs_param2(10, 21); break;
        case kResetAll: yes_no_dialog(LangText[117], nullptr, reset_all_jobs, 0, false); break;  // jobs 22-29 stay
        case kScript: jobs_param1(); break;
        case kBack: return;
        }
        print_jobs_param(row);
    }
}
