// The real editor in a scratch Korvel directory, in a pseudo-terminal.
#pragma once

#include <string>
#include <vector>

#include "support/pty_session.h"
#include "support/scratch_dir.h"

struct EditorSession : PtySession {
    ScratchDir dir;
    std::vector<std::string> environment;  // added to the editor's at open()
    std::string cwd;                       // empty: the Korvel directory
    bool unprivileged = false;             // run as nobody; the directory is opened up for it
    bool stdin_null = false;               // standard input from /dev/null
    bool in_shell = false;                 // started as a job of an interactive shell
    int rows = 40, cols = 100;             // the window

    // Stages `korvel_dir` with the English language file and links the
    // editor in: it finds its files beside the link.
    explicit EditorSession(const std::string &korvel_dir = CORVANE_DEMO_DIR);
    // Starts the editor; true once the main menu is up (or, with
    // `wait_for_menu` false, once it runs).
    bool open(bool wait_for_menu = true);
    // The row of the "-->" marker, or -1.
    int marker_row() const;
    // Presses Down or Up until the marker stands on `row`; false if it never does.
    bool move_to(int row);
    bool ended_with(int status);
};

// Section [name] of an INI text, from its header to the line before the
// empty line that ends it.
std::string ini_section(const std::string &file, const std::string &name);
