// The editor's screens. Each pair is a drawing routine print_<screen> and a
// key loop <screen> that works on the working copy INI1 and returns when its
// back item is chosen.
#pragma once

#include <cstddef>
#include <cstdint>

// Opened from the main menu.
void main_param();  // system parameters
void conn_param();  // UPS connections
void mess_param();  // messaging
void shed_param();  // schedules
void jobs_param();  // jobs

// System parameters and what they lead to.
void print_main_param(const char *language, unsigned row);
void menu_languages(const char (*names)[50]);
void network_param();

// The network screen's password digest, also used for a UPS's password: the
// 16-bit sum of the text's bytes, each taken as signed. 0 means none.
uint16_t CalculatePassword(const char *text);
// Reads a password (without echo) on a screen of its own. False for an empty
// line; otherwise true with the digest in *digest.
bool enter_password(unsigned max, uint16_t *digest);
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
