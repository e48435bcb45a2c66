// The 100-day scan behind the next-actions view, for sixteen active
// schedules, as Korvel's literal minute-by-minute form and as the editor does
// it. Run with TZ unset, as on a server.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>

#include "config/record.h"
#include "schedule/evaluator.h"

namespace {

std::unique_ptr<ConfigRecord> sixteen_schedules(int64_t now) {
    auto record = std::make_unique<ConfigRecord>();
    std::memset(record.get(), 0, sizeof(ConfigRecord));
    for (int index = 0; index < kSchedules; ++index) {
        ScheduleEntry &entry = record->Schedule[index];
        entry.Action = static_cast<uint8_t>(index % 6 + 1);
        entry.Period = static_cast<uint8_t>(index % 4 + 1);
        entry.PeriodDay = static_cast<uint8_t>(entry.Period == kWeekly ? index % 7 : index * 2 % 31 + 1);
        entry.StartTime = static_cast<uint32_t>(now + index * 86400 * 5 + index * 3 * 3600 + index * 420);
        entry.UpsIndex = static_cast<uint16_t>(index);
    }
    return record;
}

void count_firing(const Firing &, void *context) { ++*static_cast<int *>(context); }

template <int (*Scan)(int64_t &, int64_t, const ConfigRecord &, FiringSink, void *)>
void BM_Scan100Days(benchmark::State &state) {
    unsetenv("TZ");
    tzset();
    const int64_t now = std::time(nullptr);
    auto record = sixteen_schedules(now);
    int lines = 0;
    for (auto _ : state) {
        int64_t start = now;
        benchmark::DoNotOptimize(Scan(start, now + 8640000, *record, count_firing, &lines));
    }
    state.counters["lines"] = static_cast<double>(lines) / static_cast<double>(state.iterations());
}

}  // namespace

BENCHMARK(BM_Scan100Days<scan_schedules>)->Name("BM_Scan100Days/fast")->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Scan100Days<scan_literally>)->Name("BM_Scan100Days/literal")->Unit(benchmark::kMillisecond)->Iterations(3);
