#include "config/group_profile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "config/fields.h"
#include "config/files.h"
#include "config/replace_file.h"
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

std::string ProduceGroupProfile(GroupEvent events[kGroupEvents]) {
    std::string bytes;
    bool swap = test_big_endian();
    for (int i = 0; i < kGroupEvents; ++i) {
        if (events[i].Type[0] == 0) continue;
        // Converted in the list itself and left so: a big-endian host keeps
        // the saved events in file order afterwards.
        if (swap) swap_event_data(events[i]);
        bytes.append(reinterpret_cast<const char *>(&events[i]), sizeof events[i]);
    }
    return bytes;
}

// Written beside the path and renamed over it: a full disk leaves the old
// profile whole, and a symbolic link planted at the path is replaced, not
// followed.
int SaveGroupProfile(const char *path, GroupEvent events[kGroupEvents]) {
    static ReplaceFile out;
    int error = replace_open(out, path, false);
    if (error) {
        printfc("\nCannot open file! ");
        return error;
    }
    std::string bytes = ProduceGroupProfile(events);
    replace_write(out, bytes.data(), bytes.size());
    error = replace_save(out);
    bool full = error == ENOSPC || error == EFBIG || error == EDQUOT || error == EIO;
    if (error) printfc(full ? "\nRecord not writed - maybe disk full ! " : "\nCannot open file! ");
    return error;
}

// The group files cannot hold a double quote or a control character in a
// text: it ends the text there, so that no profile can add a line to them.
static void clean_text(char *text, size_t size) {
    size_t length = 0;
    while (length < size && text[length] && text[length] != '"' &&
           static_cast<unsigned char>(text[length]) >= 32 && text[length] != 127) {
        ++length;
    }
    std::memset(text + length, 0, size - length);
}

void ParseGroupProfile(const char *bytes, size_t size, GroupEvent events[kGroupEvents]) {
    std::memset(events, 0, sizeof(GroupEvent) * kGroupEvents);
    bool swap = test_big_endian();
    // A file of whole records under 64 ends with this message too: the end
    // is noticed only when a record comes short.
    for (size_t at = 0, count = 0;; at += sizeof(GroupEvent)) {
        if (size - at < sizeof(GroupEvent)) {
            printfc("\nRecord not readed - maybe end of file ! ");
            break;
        }
        GroupEvent &event = events[count];
        std::memcpy(&event, bytes + at, sizeof event);
        if (swap) swap_event_data(event);
        clean_text(event.Job.File, sizeof event.Job.File);
        clean_text(event.Job.Message, sizeof event.Job.Message);
        if (++count > kGroupEvents - 1) {
            printfc("\nRecords is more that MAX_GROUP_EVENTS! ");
            break;
        }
    }
}

int LoadGroupProfile(const char *path, GroupEvent events[kGroupEvents]) {
    // Only a regular file is read, and opening one never waits.
    FileBytes file = read_file_bytes(path);
    int error = unreadable(file);
    if (error) {
        printfc("\nCannot open file! ");
        return error == kNotRegular ? EINVAL : error;
    }
    ParseGroupProfile(file.bytes.data(), file.bytes.size(), events);
    return 0;
}
