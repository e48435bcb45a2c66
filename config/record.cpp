#include "config/record.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

alignas(kRecordPage) ConfigRecord INI;
alignas(kRecordPage) ConfigRecord INI1;

// Zeroes pages `first` to `last` (not included) of `record`: the whole ones
// by mapping fresh memory over them, the part of the last one past the
// record's end, and anything where the system's pages are not ours to map,
// by memset.
static void zero_pages(ConfigRecord &record, size_t first, size_t last) {
    unsigned char *base = reinterpret_cast<unsigned char *>(&record);
    size_t begin = first * kRecordPage, end = std::min(last * kRecordPage, sizeof record);
    size_t whole = last == kRecordPages ? sizeof record / kRecordPage * kRecordPage : end;
    bool mappable = static_cast<size_t>(sysconf(_SC_PAGESIZE)) == kRecordPage && whole > begin;
    if (mappable && mmap(base + begin, whole - begin, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) != MAP_FAILED) {
        begin = whole;
    }
    std::memset(base + begin, 0, end - begin);
}

void clear_record_pages(ConfigRecord &record) { zero_pages(record, 0, kRecordPages); }

void copy_record_pages(ConfigRecord &to, const ConfigRecord &from, const bool (&used)[kRecordPages]) {
    const unsigned char *source = reinterpret_cast<const unsigned char *>(&from);
    unsigned char *target = reinterpret_cast<unsigned char *>(&to);
    for (size_t page = 0; page < kRecordPages;) {
        size_t last = page;
        while (last < kRecordPages && used[last] == used[page]) ++last;
        if (used[page]) {
            size_t end = std::min(last * kRecordPage, sizeof from);
            std::memcpy(target + page * kRecordPage, source + page * kRecordPage, end - page * kRecordPage);
        } else {
            zero_pages(to, page, last);
        }
        page = last;
    }
}
