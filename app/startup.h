// Start-up and exit of the editor: find its directory, load everything, make
// sure a model code is set (the first-use dialogue), run the main menu on
// the working copy, and ask whether to save.
#pragma once

#include <cstddef>

// Removes the logo images of the brands other than the configured model
// code's from html/ (files that cannot be opened are left alone).
void delete_loghi();

// The whole editor. Returns 1 when changes were saved, else 0; ends the
// process with 2, 4 or 5 when it cannot start.
int run_editor(int argc, char **argv);
