// The real editor in a scratch Korvel directory, run in a pseudo-terminal and
// read the way a terminal draws it (libvterm): keys in; rows, colours, the
// cursor, bells, the exit status and the terminal modes it left out.
#pragma once

#include <functional>
#include <string>
#include <sys/types.h>
#include <termios.h>
#include <vector>

#include "support/fixtures.h"

struct VTerm;
struct VTermScreen;

class Editor {
public:
    ScratchDir dir;
    std::vector<std::string> environment;  // NAME=value added for the program
    std::string cwd;                       // empty: the Korvel directory
    bool unprivileged = false;             // as nobody when the tests run as root; the directory is opened up for it
    bool stdin_null = false;               // standard input from /dev/null
    bool in_shell = false;                 // started as a job of an interactive shell
    int rows = 40, cols = 100;             // the window

    // Stages `korvel_dir` (none when empty) with the English language file and
    // links the editor in: it finds its files beside the link.
    explicit Editor(const std::string &korvel_dir = CORVANE_DEMO_DIR);
    ~Editor();  // a program still running is killed
    Editor(const Editor &) = delete;
    Editor &operator=(const Editor &) = delete;

    // Starts the editor; true once the main menu is up (or, with
    // `wait_for_menu` false, once it runs).
    bool open(bool wait_for_menu = true);
    bool start(const std::vector<std::string> &argv);  // any program, in `cwd`

    void send(const std::string &bytes);
    // Reads output until `ready` holds; false when it does not within
    // `timeout_ms`, or when the program ended without it holding.
    bool wait_until(const std::function<bool()> &ready, int timeout_ms = 5000);
    void settle(int quiet_ms = 200);  // until nothing new arrives for a while

    // The screen; rows and columns count from 0.
    std::string row(int r) const;  // trailing blanks removed
    std::string screen() const;
    std::string cell(int r, int c) const;  // the character there, as UTF-8
    int cursor_row() const;
    int marker_row() const;  // the row of the "-->" marker, or -1
    bool move_to(int row);   // Down or Up until the marker stands there
    bool cursor_visible = true;
    int bells = 0;
    std::string output;  // every byte received

    pid_t pid = -1;
    bool exited = false;
    int status = 0;  // as waitpid reports it
    bool wait_exit(int timeout_ms = 5000);
    bool ended_with(int exit_status);
    void hangup();  // closes the terminal's master side
    void resize(int rows, int cols);
    void signal(int number);
    bool modes(struct termios *state) const;  // as the program last set them
    int unread_input() const;                 // sent, not read yet (in line mode, whole lines)
    long reads() const;                       // read calls the program has made so far

private:
    bool pump(int timeout_ms);  // true when output arrived
    int master_ = -1, slave_ = -1;  // the slave stays open so the modes can be read afterwards
    VTerm *vterm_ = nullptr;
    VTermScreen *vscreen_ = nullptr;
};
