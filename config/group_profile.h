// Group profiles: a group's event list saved to a binary file of the user's
// choosing and loaded into another group. The file is the events in use,
// one 450-byte record each, little-endian whatever the host, with no header.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "config/record.h"

// Writes the events in use. 0, or the error number: then the file is as it
// was.
int SaveGroupProfile(const char *path, GroupEvent events[kGroupEvents]);
// Clears the list and fills it from the file in order. 0, or the error
// number when the file cannot be read (the list is then left as it was).
int LoadGroupProfile(const char *path, GroupEvent events[kGroupEvents]);
// The bytes of a profile of the events in use, and the list from the bytes
// of a profile: what the two above write and read.
std::string ProduceGroupProfile(GroupEvent events[kGroupEvents]);
void ParseGroupProfile(const char *bytes, size_t size, GroupEvent events[kGroupEvents]);

bool test_big_endian();
uint16_t swap_word(uint16_t value);
// Swaps the bytes of the 35 numbers of one event in place; texts stay.
void swap_event_data(GroupEvent &event);
