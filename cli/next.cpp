// next: the coming scheduled actions, line for line as the editor's
// next-actions view lists them, in the time zone of the process.
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string>

#include "cli/commands.h"
#include "cli/store.h"
#include "config/record.h"
#include "schedule/calendar.h"
#include "schedule/evaluator.h"

namespace {

void print_line(const Firing &firing, void *) {
    char line[160];
    format_firing(firing, INI, line, sizeof line);
    std::printf("%s\n", line);
}

}  // namespace

int run_next(int days) {
    if (days < 0) return complain("--days: allowed: 0 and up"), kRefused;
    int64_t start = ScheduleNow();
    // Schedules keep their times in 32 bits: a span past that would list nothing.
    if (start + static_cast<int64_t>(days) * 86400 > INT32_MAX) {
        time_t last = INT32_MAX;
        char when[32];
        std::strftime(when, sizeof when, "%Y-%m-%d %H:%M", std::localtime(&last));
        return complain("--days " + std::to_string(days) + ": allowed: at most " + std::to_string((INT32_MAX - start) / 86400) +
                        ", up to " + when + ", the last moment a schedule can name"),
               kRefused;
    }
    if (!load_texts()) return complain("no language file: the actions cannot be named"), kCannotLoad;
    int64_t end = actions_end(start, days);
    // Page by page, as the view goes on from where its scan stopped.
    while (start < end) {
        int64_t before = start;
        scan_schedules(start, end, INI, print_line, nullptr);
        if (start == before) break;
    }
    return kDone;
}
