// The editor's screens. Each pair is a drawing routine print_<screen> and a
// key loop <screen> that works on the working copy INI1 and returns when its
// back item is chosen.
#pragma once

#include <cstddef>
#include <cstdint>

#include "config/limits.h"
#include "console/screen.h"

// Opened from the main menu.
void main_param();  // system parameters
void conn_param();  // UPS connections
void mess_param();  // messaging
void shed_param();  // schedules
void jobs_param();  // jobs

// System parameters and what they lead to.
void print_main_param(const char *language, unsigned row);
void menu_languages(const char (*names)[50]);
// The first-start language choice: lists the language files present, asks
// for one, stores its number in *master_language and loads the texts of the
// language in *working_language, which is read only after the store (the
// master and working records are the configuration's INI and INI1). Ends the
// program with status 5 when those texts cannot be loaded.
int choice_language(unsigned char *master_language, const unsigned char *working_language);
void network_param();

// The network screen's password digest, also used for a UPS's password: the
// 16-bit sum of the text's bytes, each taken as signed. 0 means none.
uint16_t CalculatePassword(const char *text);
// The same over `count` bytes, zero bytes included.
uint16_t password_digest(const char *bytes, size_t count);
// Reads a password of up to `max` bytes (without echo) on a screen of its
// own into *protection: its digest, or 0 for an empty line, which switches
// protection off and returns false.
bool enter_password(unsigned max, uint16_t *protection);
void print_network_menu(unsigned row);

// Connections and the UPS entries.
void print_conn_param(unsigned row);
void ups_param(int index);
void print_ups_param(unsigned row, int index);
void ups_conn_param(int index);
void print_ups_conn_param(unsigned row, int index);
void paralel_fnc();
// Whether UPS entry `index` of the working copy has a name.
bool ups_defined(int index);
// The list line of a defined UPS entry: name, model and link in columns.
void describe_ups(int index, char *line, size_t size);
// "\n\r       n - " with the blanks that line numbers 1-9 and 10-99 up.
void print_numbered(unsigned number);

// Messaging.
void print_mess_param(unsigned row);
void gsm_param();
void print_gsm_param(unsigned row);
void modem_param();
void print_modem_param(unsigned row);
void gsm_modem_param();
void print_gsm_modem_param(unsigned row);
void wap_param();
void print_wap_param(unsigned row);

// Jobs.
void print_jobs_param(unsigned row);
void jobs_param1();
void jobs_param2(int first, int last);
void print_job_param2(unsigned row, int last, int first);
// Resets jobs first..last of the working copy to their defaults.
void values_to_default(int first, int last);
void job_param(int job);
void print_job_param(unsigned row, int job);
void job_param1(int job, int action);
void print_job_param1(unsigned row, int job, int action, unsigned on, unsigned delay, unsigned interval, int kind,
                      bool even);

// A dialog titled `title` with "1 - yes" and "2 - no" (and `question` below,
// when given). Enter on yes calls on_yes(argument) and closes the dialog
// unless `stay_open`; Enter on no closes it.
void yes_no_dialog(const char *title, const char *question, void (*on_yes)(int), int argument, bool stay_open);

// The eight actions of a job: log, program, local message, network message,
// shutdown, e-mail, SMS, call.
constexpr int kJobActions = 8;
struct JobEntry;
uint16_t action_switch(const JobEntry &job, int action);

// One action of a job edited on a screen of its own: its switch, its delay
// and, by kind, its repeat interval and program. Jobs of jobs.ini and group
// events describe themselves with this and share the screen.
struct ActionScreen {
    JobEntry *job;           // whose fields are edited
    int action;              // 0-7
    int kind;                // 1 switch only, 2 and delay, 3 and interval, 4 and program
    bool even;               // repeat intervals exist only for even job or event numbers
    const char *title;       // the first title line (the second is the action)
    const char *shown_file;  // shown as the current program before it is edited
};
// `kinds` gives the kind of each action; the title and the program shown are
// those of jobs.ini job `named_job`.
ActionScreen make_action_screen(JobEntry *job, int action, const int (&kinds)[kJobActions], bool even, int named_job);
void run_action_screen(const ActionScreen &screen);
void print_action_screen(unsigned row, const ActionScreen &screen, unsigned on, unsigned delay, unsigned interval);

// The list of the sixteen UPS entries to choose one from. Returns the index
// of the defined entry chosen, kUndefinedChosen for an undefined one, or
// (when `with_remove`, which adds the item "17 - remove") kRemoveChosen.
constexpr int kUndefinedChosen = -1, kRemoveChosen = -2;
int choose_ups(bool with_remove);
// A list of `count` labels under `title`; returns the item chosen, 1-count.
unsigned pick_from_list(const char *title, const char *const *labels, unsigned count);

// Schedules.
// Draws the actions of the working copy from `start` to `end` with the
// marker on `selected`; returns the number of lines listed.
int print_next_actions(int64_t &start, int64_t end, unsigned selected);
// The view as the schedule list opens it; its state lives as long as one
// visit of the schedule list (closed once, it is drawn and closed at once
// when opened again in the same visit, with its marker where it was).
struct NextActionsView {
    bool open = true;
    unsigned selected = 1;
};
void next_actions(NextActionsView &view);
void print_sched_param(unsigned selected);
void sch_param(int index);
void print_sch_param(unsigned selected, int index);

// Parallel operation and groups.
void print_paralel_fnc(unsigned row);
void print_paralel_group(unsigned row);
void group_param(int group);
void print_group_param(unsigned row, int group);
void load_profile(int group);
void save_profile(int group);
void gr_ups(int group);
void print_gr_ups(unsigned row, int group);
void gr_event(int group);
void print_gr_event(unsigned row, int group, unsigned first, unsigned last);
void gr_event_param(int group, int event);
void print_gr_event_param(unsigned row, int group, int event);
// The display text of condition `slot` (0-5) of an event: its type's name and
// the qualifier's number.
void fill_gr_event_name(int group, int event, int slot, char *text, size_t size);
// The name of a condition type: the events of jobs 0-21 for 1-22, then the
// two group conditions.
const char *event_type_name(unsigned type);
void group_job_param_new(int group, int event);
void print_group_param_new(unsigned row, int group, int event);
void group_job_param2(int group, int event, int slot);
void print_group_job_param2(unsigned row, int group, int event, int slot);
void print_group_job_event(unsigned row, unsigned first, unsigned last);
void group_job_param1(int group, int event, int action);
void print_group_job_param1(unsigned row, int group, int event, int action, unsigned on, unsigned delay,
                            unsigned interval, int kind, bool even);
