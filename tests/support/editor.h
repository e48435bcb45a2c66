// The real editor in a scratch Korvel directory, run in a pseudo-terminal and
// read the way a terminal draws it (libvterm): keys in; rows, colours, the
// cursor, bells, the exit status and the terminal modes it left out.
#pragma once

#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <ftw.h>
#include <functional>
#include <poll.h>
#include <pty.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <utmp.h>
#include <vector>
#include <vterm.h>

#include "support/fixtures.h"

class Editor {
public:
    ScratchDir dir;
    std::vector<std::string> environment;  // NAME=value added for the program
    bool unprivileged = false;             // as nobody when the tests run as root; the directory is opened up for it
    bool in_shell = false;                 // started as a job of an interactive shell
    int rows = 40, cols = 100;             // the window
    bool cursor_visible = true;
    int bells = 0;
    std::string output;  // every byte received
    pid_t pid = -1;
    bool exited = false;
    int status = 0;  // as waitpid reports it

    // Stages `korvel_dir` with the English language file and links the
    // editor in: it finds its files beside the symbolic link.
    explicit Editor(const std::string &korvel_dir = CORVANE_DEMO_DIR) {
        dir.copy_from(korvel_dir);
        dir.write("lang_00.ini", read_file(std::string(CORVANE_DATA_DIR) + "lang_00.ini"));
        if (symlink(CORVANE_EDITOR, dir.path("corvane").c_str()) != 0) dir.write("no-editor", "");
        // corvanectl works on the directory its file is in, found through links: a hard link or a copy.
        if (link(CORVANE_CTL, dir.path("corvanectl").c_str()) != 0) {
            dir.write("corvanectl", read_file(CORVANE_CTL));
            chmod(dir.path("corvanectl").c_str(), 0755);
        }
    }
    ~Editor() {  // a program still running is killed
        if (pid > 0 && !exited) kill(pid, SIGKILL), waitpid(pid, &status, 0);
        if (master_ >= 0) close(master_);
        if (slave_ >= 0) close(slave_);
        if (vterm_) vterm_free(vterm_);
    }

    // Starts the editor; true once the main menu is up (or, with
    // `wait_for_menu` false, once it runs).
    bool open(bool wait_for_menu = true) {
        if (unprivileged) {
            nftw(dir.path().c_str(), open_up, 8, FTW_PHYS);
            // A copy of the editor anyone may run; a PATH without root's own directories.
            std::remove(dir.path("corvane").c_str());
            dir.write("corvane", read_file(CORVANE_EDITOR));
            chmod(dir.path("corvane").c_str(), 0755);
            environment.insert(environment.begin(), "PATH=/usr/local/bin:/usr/bin:/bin");
        }
        if (in_shell) {
            environment.push_back("PS1=$ ");
            if (!start({"/bin/bash", "--norc", "--noprofile", "--noediting", "-i"})) return false;
            send("./corvane\r");
        } else if (!start({dir.path("corvane")})) {
            return false;
        }
        return !wait_for_menu || wait_until([&] { return screen().find("Corvane v 5.3.0 10/2012") != std::string::npos && marker_row() == 10; });
    }

    // Starts it again in the same directory, once it has ended.
    bool reopen() {
        if (master_ >= 0) close(master_);
        if (slave_ >= 0) close(slave_);
        if (vterm_) vterm_free(vterm_);
        master_ = slave_ = -1, vterm_ = nullptr, pid = -1, exited = false;
        return open();
    }

    bool start(const std::vector<std::string> &argv) {  // any program, in the directory
        struct winsize size {};
        size.ws_row = static_cast<unsigned short>(rows), size.ws_col = static_cast<unsigned short>(cols);
        if (openpty(&master_, &slave_, nullptr, nullptr, &size) != 0) return false;
        std::vector<char *> args;
        for (const std::string &arg : argv) args.push_back(const_cast<char *>(arg.c_str()));
        args.push_back(nullptr);
        if ((pid = fork()) < 0) return false;
        if (pid == 0) {
            close(master_);
            if (login_tty(slave_) != 0) _exit(126);
            if (unprivileged && geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(126);
            if (chdir(dir.path().c_str()) != 0) _exit(126);
            struct rlimit no_core {};
            setrlimit(RLIMIT_CORE, &no_core);  // SIGQUIT must not leave core files
            setenv("TERM", "xterm", 1);
            for (const std::string &setting : environment) putenv(const_cast<char *>(setting.c_str()));
            execv(args[0], args.data());
            _exit(127);
        }
        fcntl(master_, F_SETFL, fcntl(master_, F_GETFL) | O_NONBLOCK);
        vterm_ = vterm_new(rows, cols);
        vterm_set_utf8(vterm_, 1);
        vscreen_ = vterm_obtain_screen(vterm_);
        static const VTermScreenCallbacks callbacks = {nullptr, nullptr, nullptr, on_property, on_bell, nullptr, nullptr, nullptr};
        vterm_screen_set_callbacks(vscreen_, &callbacks, this);
        vterm_screen_reset(vscreen_, 1);
        return true;
    }

    void send(const std::string &bytes) {
        for (size_t done = 0; done < bytes.size();) {
            ssize_t n = write(master_, bytes.data() + done, bytes.size() - done);
            if (n > 0) {
                done += static_cast<size_t>(n);
            } else if (n < 0 && (errno == EAGAIN || errno == EINTR)) {
                pump(10);  // not reading yet: let its output drain
            } else {
                return;
            }
        }
    }

    // Reads output until `ready` holds; false when it does not within
    // `timeout_ms`, or when the program ended without it holding.
    bool wait_until(const std::function<bool()> &ready, int timeout_ms = 5000) {
        auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
        for (;;) {
            if (ready()) return true;
            if (std::chrono::steady_clock::now() >= deadline) return false;
            if (!pump(5)) {
                // Once the program is gone and its last output read, waiting
                // longer cannot change the answer.
                bool ended = exited;
                if (!exited && waitpid(pid, &status, WNOHANG) == pid) exited = true;
                if (ended && !pump(0)) return ready();
            }
        }
    }
    void settle(int quiet_ms = 200) {  // until nothing new arrives for a while
        while (pump(quiet_ms)) {
        }
    }

    // The screen; rows count from 0, trailing blanks removed.
    std::string row(int r) const {
        char text[4 * 512];
        size_t size = vscreen_ ? vterm_screen_get_text(vscreen_, text, sizeof text, VTermRect{r, r + 1, 0, cols}) : 0;
        std::string line(text, std::min(size, sizeof text));
        return line.substr(0, line.find_last_not_of(' ') + 1);
    }
    std::string screen() const {
        std::string text;
        for (int r = 0; r < rows; ++r) text += row(r) + "\n";
        return text;
    }
    // A cell's colours as the sequence numbers that make them: "1;37;40" is
    // bright white on black, "-" the terminal's own colour.
    std::string colours(int r, int c) const {
        VTermScreenCell cell {};
        vterm_screen_get_cell(vscreen_, VTermPos{r, c}, &cell);
        auto colour = [](const VTermColor &colour, int own, int base) { return own || !VTERM_COLOR_IS_INDEXED(&colour) ? "-" : std::to_string(base + colour.indexed.idx); };
        return std::string(cell.attrs.bold ? "1;" : "0;") + colour(cell.fg, VTERM_COLOR_IS_DEFAULT_FG(&cell.fg), 30) + ";" + colour(cell.bg, VTERM_COLOR_IS_DEFAULT_BG(&cell.bg), 40);
    }
    int marker_row() const {  // the row of the "-->" marker, or -1
        for (int r = 0; r < rows; ++r) {
            if (row(r).find("-->") == 2) return r;
        }
        return -1;
    }
    bool move_to(int target) {  // Down or Up until the marker stands there
        for (int presses = 0; presses < 40 && marker_row() != target; ++presses) {
            int before = marker_row();
            send(before < target ? "\x1b[B" : "\x1b[A");
            if (!wait_until([&] { return marker_row() != before; })) return false;
        }
        return marker_row() == target;
    }

    // Down until the marker's row shows `text`: in a window that shows part
    // of a screen, the marker may stay on one row while the screen moves
    // under it. A key is answered in full once it is read (a read call a
    // byte) and the editor waits for the next.
    bool move_to_text(const std::string &text) {
        auto there = [&] { return marker_row() >= 0 && row(marker_row()).find(text) != std::string::npos; };
        for (std::string before; !there() && before != screen();) {
            before = screen();
            long read_before = reads();
            send("\x1b[B");
            wait_until([&] { return reads() >= read_before + 3 && unread_input() == 0 && waiting_for_keys(); });
            settle(0);
        }
        return there();
    }

    bool wait_exit(int timeout_ms = 5000) {  // and its last output read
        wait_until([&] { return exited || (exited = waitpid(pid, &status, WNOHANG) == pid); }, timeout_ms);
        return settle(0), exited;
    }
    bool ended_with(int exit_status) { return wait_exit() && WIFEXITED(status) && WEXITSTATUS(status) == exit_status; }
    void hangup() {  // closes the terminal's master side
        if (master_ >= 0) close(master_);
        master_ = -1;
    }
    void resize(int new_rows, int new_cols) {
        rows = new_rows, cols = new_cols;
        vterm_set_size(vterm_, rows, cols);
        struct winsize size {};
        size.ws_row = static_cast<unsigned short>(rows), size.ws_col = static_cast<unsigned short>(cols);
        ioctl(master_, TIOCSWINSZ, &size);  // the kernel tells the program with SIGWINCH
    }
    void signal(int number) { kill(pid, number); }
    bool modes(struct termios *state) const { return tcgetattr(slave_, state) == 0; }  // as the program last set them
    int unread_input() const {  // sent, not read yet (in line mode, whole lines)
        int count = 0;
        return ioctl(slave_, FIONREAD, &count) == 0 ? count : -1;
    }
    bool waiting_for_keys() const {  // blocked in the wait for its terminal (standard input)
        std::ifstream call("/proc/" + std::to_string(pid) + "/syscall");
        long number = -1;
        std::string first;
        call >> number >> first;
        return (number == SYS_pselect6 && first == "0x1") || (number == SYS_read && first == "0x0");
    }
    long reads() const {  // read calls the program has made so far
        std::ifstream io("/proc/" + std::to_string(pid) + "/io");
        for (std::string line; std::getline(io, line);) {
            if (line.compare(0, 6, "syscr:") == 0) return std::stol(line.substr(6));
        }
        return -1;
    }

private:
    bool pump(int timeout_ms) {  // true when output arrived
        struct pollfd poller = {master_, POLLIN, 0};
        if (master_ < 0) return poll(nullptr, 0, timeout_ms), false;  // hung up: keep the pace
        if (poll(&poller, 1, timeout_ms) <= 0) return false;
        char buffer[4096];
        bool got = false;
        for (ssize_t n; (n = read(master_, buffer, sizeof buffer)) > 0; got = true) {
            output.append(buffer, static_cast<size_t>(n));
            vterm_input_write(vterm_, buffer, static_cast<size_t>(n));
        }
        return got;
    }
    static int on_bell(void *user) { return ++static_cast<Editor *>(user)->bells, 1; }
    static int on_property(VTermProp property, VTermValue *value, void *user) {
        if (property == VTERM_PROP_CURSORVISIBLE) static_cast<Editor *>(user)->cursor_visible = value->boolean;
        return 1;
    }
    // Lets nobody read the directory whatever the umask; a link is left alone
    // (chmod would change its target), and so is a file made unreadable on
    // purpose. A program keeps its execute bits: corvanectl is a hard link
    // that the build and every other scenario share.
    static int open_up(const char *path, const struct stat *state, int, struct FTW *) {
        bool runs = S_ISDIR(state->st_mode) || (state->st_mode & S_IXUSR);
        if (!S_ISLNK(state->st_mode) && (state->st_mode & 0777) != 0) chmod(path, runs ? 0755 : 0644);
        return 0;
    }
    int master_ = -1, slave_ = -1;  // the slave stays open so the modes can be read afterwards
    VTerm *vterm_ = nullptr;
    VTermScreen *vscreen_ = nullptr;
};
