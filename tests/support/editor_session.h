// The real editor in a scratch Korvel directory, in a pseudo-terminal.
#pragma once

#include <string>
#include <vector>

#include "support/pty_session.h"
#include "support/scratch_dir.h"

struct EditorSession : PtySession {
    ScratchDir dir;

    // Stages `korvel_dir` (by default the demo) with the English language
    // file, and links the editor in: it finds its files beside the link.
    explicit EditorSession(const std::string &korvel_dir = CORVANE_DEMO_DIR);
    // Starts the editor; true once the main menu is up (or, with
    // `wait_for_menu` false, once it runs).
    bool open(bool wait_for_menu = true);
    // Added to the editor's environment at open().
    std::vector<std::string> environment;
    // The editor's working directory; empty: the Korvel directory.
    std::string cwd;
    // Run as an unprivileged user (the directory is opened up for it).
    bool unprivileged = false;
    // Standard input from /dev/null instead of the terminal.
    bool stdin_null = false;

    // The row of the "-->" marker, or -1.
    int marker_row() const;
    // Waits until the marker stands on `row` (any row when -1): the marker is
    // drawn last, so the screen is then complete.
    bool wait_for_marker(int row = -1);
    // Presses Down or Up until the marker stands on `row`; false if it never does.
    bool move_to(int row);
    // From the main menu: down to its exit item and Enter.
    bool leave_main_menu();
    bool ended_with(int status);
    void open_up_for_anyone();

    // Moves to `row`, presses Enter and waits until `then` is on the screen.
    bool choose(int row, const std::string &then);
    // Types a line at the prompt already shown and waits for the screen to
    // come back with the marker on `row`.
    bool type(const std::string &line, int row);
    // From the main menu: leaves, answers the save question with `answer`
    // and waits for the end with status 1.
    bool save(const std::string &answer = "yes");
};

// Section [name] of an INI text, from its header to the line before the
// empty line that ends it.
std::string ini_section(const std::string &file, const std::string &name);
