// The main menu: the five editing areas and the way out.
#pragma once

// 1 when the working copy differed from the loaded record as the main menu
// was left; the exit asks whether to save only then.
extern unsigned char DataChanged;

void print_main_menu(unsigned selected);
// Runs the main menu until its exit item is chosen, then sets DataChanged.
void main_menu();
