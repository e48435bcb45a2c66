// Runs a real program in a pseudo-terminal and reads its screen the way a
// terminal would draw it (libvterm), so tests can press keys and look at
// rows, colours, the cursor, bells, the exit status and the terminal modes
// the program left behind.
#pragma once

#include <functional>
#include <string>
#include <sys/types.h>
#include <termios.h>
#include <vector>

struct VTerm;
struct VTermScreen;

class PtySession {
public:
    struct Options {
        int rows = 40;
        int cols = 100;
        std::string cwd;          // empty: the test's own
        bool stdin_null = false;  // standard input from /dev/null instead of the terminal
        std::vector<std::string> environment;  // NAME=value settings added for the program
        bool unprivileged = false;  // run as nobody when the tests run as root, so permissions apply
    };

    PtySession();
    ~PtySession();  // a child still running is killed
    PtySession(const PtySession &) = delete;
    PtySession &operator=(const PtySession &) = delete;

    // Starts argv[0] with the pseudo-terminal as its controlling terminal.
    bool start(const std::vector<std::string> &argv, const Options &options);
    bool start(const std::vector<std::string> &argv) { return start(argv, Options()); }

    void send(const std::string &bytes);
    void up() { send("\x1b[A"); }
    void down() { send("\x1b[B"); }
    void enter() { send("\r"); }  // what the Enter key sends; the terminal turns it into LF

    // Reads output until `ready` holds; false when it still does not after
    // `timeout_ms`, or when the program ended without it holding.
    bool wait_until(const std::function<bool()> &ready, int timeout_ms = 5000);
    bool wait_for_text(const std::string &text, int timeout_ms = 5000);
    // Reads output until nothing new arrives for `quiet_ms`.
    void settle(int quiet_ms = 200);

    // The screen. Rows and columns count from 0.
    std::string row(int r) const;  // trailing blanks removed
    std::string screen() const;    // every row, for failure messages
    struct Cell {
        std::string text;
        int colour;  // palette index 0-7, or -1 for the default colour
        bool bold;
    };
    Cell cell(int r, int c) const;
    int cursor_row() const;
    bool cursor_visible() const { return cursor_visible_; }
    int bells() const { return bells_; }
    const std::string &output() const { return output_; }  // every byte received

    // The child.
    pid_t pid() const { return pid_; }
    bool wait_exit(int timeout_ms = 5000);  // reads output meanwhile
    bool exited() const { return exited_; }
    int wait_status() const { return status_; }  // as waitpid reports it
    void hangup();                               // closes the terminal's master side
    void resize(int rows, int cols);             // the window, as a terminal program changes it
    void signal(int signal_number);
    // The terminal modes as the program last set them.
    bool modes(struct termios *state) const;
    // Bytes sent that the program has not read yet (in line mode, only
    // complete lines count: a partial line waits for the rest).
    int unread_input() const;

private:
    friend struct PtyCallbacks;
    bool pump(int timeout_ms);  // true when output arrived
    void check_exit();

    int master_ = -1;
    int slave_ = -1;  // kept open so the modes can be read after the child is gone
    pid_t pid_ = -1;
    bool exited_ = false;
    int status_ = 0;
    int rows_ = 0, cols_ = 0;
    VTerm *vterm_ = nullptr;
    VTermScreen *vscreen_ = nullptr;
    std::string output_;
    int bells_ = 0;
    bool cursor_visible_ = true;
};
