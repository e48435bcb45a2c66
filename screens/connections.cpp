// Connections: the sixteen UPS entries, one line each with name, model and
// link; leads to each entry's UPS screen and to parallel operation.
#include <cstdio>
#include <cstring>

#include "config/entries.h"
#include "config/model_code.h"
#include "config/record.h"
#include "console/input.h"
#include "console/lang.h"
#include "console/screen.h"
#include "console/terminal.h"
#include "screens/screens.h"

namespace {

constexpr unsigned kFirstLine = 3;
constexpr unsigned kLastEntry = kUpsEntries, kParallel = 18, kBack = 20;

int defined_entries() {
    int count = 0;
    for (const UpsEntry &entry : INI1.UPS) count += ups_in_use(entry);
    return count;
}

// The sixteen UPS entries, one numbered line each.
void print_ups_rows() {
    for (int index = 0; index < kUpsEntries; ++index) {
        print_numbered(static_cast<unsigned>(index) + 1);
        char line[256];
        if (ups_defined(index)) {
            describe_ups(index, line, sizeof line);
            print_value("%s", line);
        } else {
            print_value("%s", LangText[335]);
        }
    }
}

}  // namespace

bool ups_defined(int index) { return ups_in_use(INI1.UPS[index]); }

void describe_ups(int index, char *line, size_t size) {
    const UpsEntry &entry = INI1.UPS[index];
    char name[sizeof entry.Name + 16 + 1];  // room for the padding of a name in UTF-8
    std::snprintf(name, sizeof name, "%.*s", static_cast<int>(sizeof entry.Name), entry.Name);
    char model[64];
    std::snprintf(model, sizeof model, "%s",
                  FindUpsModelTxt(entry.Type, sizeof entry.Type) ? FindModel.name : LangText[249]);
    dopln(name, 16, " ");
    dopln(model, 18, " ");

    char link[128];
    const int port = static_cast<int>(sizeof entry.Port), address = static_cast<int>(sizeof entry.IPAddress);
    switch (entry.Connection) {
    case kSerialLine:
        std::snprintf(link, sizeof link, "%s - %.*s - %02u", LangText[131], port, entry.Port, entry.Address);
        break;
    case kSnmp:
        std::snprintf(link, sizeof link, "SNMP - %.*s - %u", address, entry.IPAddress, entry.Device);
        break;
    case kTcpIp:
        std::snprintf(link, sizeof link, "TCP/IP - %.*s - %u", address, entry.IPAddress, entry.Device);
        break;
    case kSnmpRfc1628: {
        // Shown as last loaded or saved, from INI: kept so on purpose.
        const UpsEntry &saved = INI.UPS[index];
        std::snprintf(link, sizeof link, "SNMP(1628) - %.*s - %u", port, saved.Port, saved.Device);
        break;
    }
    default: std::snprintf(link, sizeof link, "%s", LangText[242]); break;
    }
    std::snprintf(line, size, "%s %s %s", name, model, link);
}

int choose_ups(bool with_remove) {
    constexpr unsigned kChooserFirstLine = 4, kRemove = 18;
    print_escapeseq(SEQ_CLEAR);
    cursor_gotopos(1, 0, 0);
    print_line(1);
    print_center(LangText[330]);
    print_line(1);
    print_ups_rows();
    const unsigned last = with_remove ? kRemove : kLastEntry;
    if (with_remove) {
        print_line(0);
        con_printf("\n\r      %u - %s", 17u, LangText[2]);
    }
    con_puts("\n\r");
    print_line(1);
    unsigned row = 1;
    place_marker(row, kChooserFirstLine);
    for (;;) {
        MenuKey key = read_key();
        if (key == KEY_DOWN && row < last) move_marker(row, row == kLastEntry ? kRemove : row + 1, kChooserFirstLine);
        if (key == KEY_UP && row > 1) move_marker(row, row == kRemove ? kLastEntry : row - 1, kChooserFirstLine);
        if (key != KEY_ENTER) continue;
        if (row == kRemove) return kRemoveChosen;
        int index = static_cast<int>(row) - 1;
        return ups_defined(index) ? index : kUndefinedChosen;
    }
}

unsigned pick_from_list(const char *title, const char *const *labels, unsigned count) {
    constexpr unsigned kListFirstLine = 9;
    draw_title_block(4, title);
    for (unsigned item = 1; item <= count; ++item) con_printf("\n\r      %u - %s", item, labels[item - 1]);
    con_puts("\n\r");
    print_line(1);
    unsigned row = 1;
    place_marker(row, kListFirstLine);
    for (;;) {
        MenuKey key = read_key();
        if (key == KEY_DOWN && row < count) move_marker(row, row + 1, kListFirstLine);
        if (key == KEY_UP && row > 1) move_marker(row, row - 1, kListFirstLine);
        if (key == KEY_ENTER) return row;
    }
}

void print_numbered(unsigned number) {
    // Numbers up to 9 get one more blank, so that the dashes line up.
    con_printf(number <= 9 ? "\n\r       %u - " : "\n\r      %u - ", number);
}

void print_conn_param(unsigned row) {
    print_escapeseq(SEQ_CLEAR);
    cursor_gotopos(0, 0, 0);
    print_line(4);
    print_center(LangText[43]);
    print_line(1);
    print_ups_rows();
    print_line(0);
    print_item(defined_entries() >= 2, "\n\r      %u - %s", 17u, LangText[47]);
    print_screen_end("\n\r       0 - ", row, kFirstLine);
}

void conn_param() {
    unsigned row = 1;
    print_conn_param(row);
    for (;;) {
        MenuKey key = read_key();
        // Parallel operation needs two UPS units: with fewer it is skipped.
        bool parallel = defined_entries() >= 2;
        if (key == KEY_DOWN && row <= kParallel) {
            unsigned to = row + 1;
            if (row == kLastEntry && !parallel) {
                to = kBack;
            } else if (row == kLastEntry || row == kParallel) {
                to = row + 2;
            }
            move_marker(row, to, kFirstLine);
        } else if (key == KEY_UP && row >= 2) {
            unsigned to = row - 1;
            if (row == kBack && !parallel) {
                to = kLastEntry;
            } else if (row == kBack || row == kParallel) {
                to = row - 2;
            }
            move_marker(row, to, kFirstLine);
        }
        if (key != KEY_ENTER) continue;
        if (row == kBack) return;
        if (row == kParallel) {
            paralel_fnc();
        } else {
            ups_param(static_cast<int>(row) - 1);  // an undefined entry is how a new UPS is added
        }
        print_conn_param(row);
    }
}
