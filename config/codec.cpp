#include "config/codec.h"

#include <cstring>


unsigned char get_hex(const char *text) {
    auto digit = [](unsigned char c) {
        if (c >= 'A' && c <= 'F') return c - 7;
        if (c >= 'a' && c <= 'f') return c - 39;
        return static_cast<int>(c);
    };
    // '0' * 16 is a multiple of 256, so subtracting '0' once gives both digits.
    return static_cast<unsigned char>((digit(text[0]) * 16 + digit(text[1]) - '0') & 0xFF);
}

// The nine bytes of the stored text, most significant first.
static void schedule_bytes(const ScheduleEntry &entry, unsigned char bytes[9]) {
    bytes[0] = static_cast<unsigned char>(entry.StartTime >> 24);
    bytes[1] = static_cast<unsigned char>(entry.StartTime >> 16);
    bytes[2] = static_cast<unsigned char>(entry.StartTime >> 8);
    bytes[3] = static_cast<unsigned char>(entry.StartTime);
    bytes[4] = static_cast<unsigned char>(entry.UpsIndex >> 8);
    bytes[5] = static_cast<unsigned char>(entry.UpsIndex);
    bytes[6] = entry.Action;
    bytes[7] = entry.Period;
    bytes[8] = entry.PeriodDay;
}

void DecodeSchedule(ScheduleEntry &entry) {
    // A text shorter than 18 digits decodes the rest from the zeros after
    // it; the field is 20 bytes, so this stays inside it.
    unsigned char b[9];
    for (int i = 0; i < 9; ++i) b[i] = get_hex(entry.Data + 2 * i);
    entry.StartTime = static_cast<uint32_t>(b[0]) << 24 | static_cast<uint32_t>(b[1]) << 16 |
                      static_cast<uint32_t>(b[2]) << 8 | b[3];
    entry.UpsIndex = static_cast<uint16_t>(b[4] << 8 | b[5]);
    entry.Action = b[6];
    entry.Period = b[7];
    entry.PeriodDay = b[8];
}

void EncodeSchedule(const ScheduleEntry &entry, char (&text)[sizeof ScheduleEntry::Data]) {
    unsigned char b[9];
    schedule_bytes(entry, b);
    std::memset(text, 0, sizeof text);
    static const char kDigits[] = "0123456789ABCDEF";
    for (int i = 0; i < 9; ++i) {
        text[2 * i] = kDigits[b[i] >> 4];
        text[2 * i + 1] = kDigits[b[i] & 15];
    }
}

void DecodeSchedules(ConfigRecord &record) {
    for (ScheduleEntry &entry : record.Schedule) {
        if (entry.Data[0]) DecodeSchedule(entry);
    }
}

void EncodeSchedules(ConfigRecord &record) {
    for (ScheduleEntry &entry : record.Schedule) {
        if (entry.Action == kActionUnused) {
            std::memset(&entry, 0, sizeof entry);
        } else {
            EncodeSchedule(entry, entry.Data);
        }
    }
}
