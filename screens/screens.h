// The editor's screens. Each pair is a drawing routine print_<screen> and a
// key loop <screen> that works on the working copy INI1 and returns when its
// back item is chosen.
#pragma once

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
