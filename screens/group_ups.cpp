// The members of one UPS group: eight slots, each one of the UPS entries or
// nothing.
#include "config/record.h"
#include "console/input.h"
#include "console/lang.h"
#include "console/screen.h"
#include "console/terminal.h"
#include "screens/screens.h"

namespace {

constexpr unsigned kFirstLine = 9;
constexpr unsigned kLastSlot = kGroupMembers, kBack = 10;

}  // namespace

void print_gr_ups(unsigned row, int group) {
    const GroupEntry &entry = INI1.Group[group];
    draw_title_block(4, LangText[150]);
    for (int slot = 0; slot < kGroupMembers; ++slot) {
        con_printf("\n\r      %u - ", slot + 1);
        unsigned member = entry.UPS[slot];
        if (member == 0) {
            print_value("%s", LangText[335]);
        } else if (member <= kUpsEntries) {
            // Looked up afresh: a member whose entry lost its name shows nothing.
            const UpsEntry &ups = INI1.UPS[member - 1];
            print_value("%.*s", static_cast<int>(sizeof ups.Name), ups.Name);
        } else {
            print_value("%s", "");
        }
    }
    print_screen_end("\n\r      0 - ", row, kFirstLine);
}

void gr_ups(int group) {
    GroupEntry &entry = INI1.Group[group];
    unsigned row = 1;
    print_gr_ups(row, group);
    for (;;) {
        MenuKey key = read_key();
        if (key == KEY_DOWN && row <= kLastSlot) move_marker(row, row == kLastSlot ? kBack : row + 1, kFirstLine);
        if (key == KEY_UP && row >= 2) move_marker(row, row == kBack ? kLastSlot : row - 1, kFirstLine);
        if (key != KEY_ENTER) continue;
        if (row == kBack) return;
        // Any entry may fill any slot, more than one too; an undefined entry
        // leaves the slot as it was.
        int chosen = choose_ups(true);
        if (chosen == kRemoveChosen) entry.UPS[row - 1] = 0;
        if (chosen >= 0) entry.UPS[row - 1] = static_cast<uint16_t>(chosen + 1);
        print_gr_ups(row, group);
    }
}
