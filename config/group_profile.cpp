#include "config/group_profile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "config/fields.h"
#include "console/terminal.h"

bool test_big_endian() {
    uint16_t probe = 0x1020;
    unsigned char first;
    std::memcpy(&first, &probe, 1);
    return first == 0x10;
}

uint16_t swap_word(uint16_t value) { return static_cast<uint16_t>(value << 8 | value >> 8); }

void swap_event_data(GroupEvent &event) {
    // The event's numbers are exactly the numeric keys of its key set.
    const KeySet &keys = key_set(kGroupIni, 2);
    unsigned char *base = reinterpret_cast<unsigned char *>(&event);
    for (int slot = 0; slot < keys.count; ++slot) {
        if (keys.fields[slot].kind == FieldKind::Text) continue;
        uint16_t value;
        std::memcpy(&value, base + keys.fields[slot].offset, sizeof value);
        value = swap_word(value);
        std::memcpy(base + keys.fields[slot].offset, &value, sizeof value);
    }
}

int SaveGroupProfile(const char *path, GroupEvent events[kGroupEvents]) {
    FILE *file = std::fopen(path, "wb");
    if (!file) {
        int error = errno;
        printfc("\nCannot open file! ");
        return error;
    }
    bool swap = test_big_endian();
    for (int i = 0; i < kGroupEvents; ++i) {
        if (events[i].Type[0] == 0) continue;
        // Converted in the list itself and left so: a big-endian host keeps
        // the saved events in file order afterwards.
        if (swap) swap_event_data(events[i]);
        if (std::fwrite(&events[i], sizeof events[i], 1, file) != 1) {
            printfc("\nRecord not writed - maybe disk full ! ");
            std::fclose(file);
            return 0;
        }
    }
    std::fclose(file);
    return 0;
}

int LoadGroupProfile(const char *path, GroupEvent events[kGroupEvents]) {
    FILE *file = std::fopen(path, "rb");
    if (!file) {
        int error = errno;
        printfc("\nCannot open file! ");
        return error;
    }
    std::memset(events, 0, sizeof(GroupEvent) * kGroupEvents);
    bool swap = test_big_endian();
    int count = 0;
    // The end is noticed only when a read comes back short, so a file of
    // whole records under 64 ends with this message too.
    while (!std::feof(file)) {
        GroupEvent &event = events[count];
        if (std::fread(&event, sizeof event, 1, file) != 1) {
            printfc("\nRecord not readed - maybe end of file ! ");
            std::memset(&event, 0, sizeof event);
            break;
        }
        if (swap) swap_event_data(event);
        if (++count > kGroupEvents - 1) {
            printfc("\nRecords is more that MAX_GROUP_EVENTS! ");
            break;
        }
    }
    std::fclose(file);
    return 0;
}
