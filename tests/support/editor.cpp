#include "support/editor.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <fcntl.h>
#include <ftw.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utmp.h>
#include <vterm.h>

static int on_bell(void *user) { return ++static_cast<Editor *>(user)->bells, 1; }
static int on_property(VTermProp property, VTermValue *value, void *user) {
    if (property == VTERM_PROP_CURSORVISIBLE) static_cast<Editor *>(user)->cursor_visible = value->boolean;
    return 1;
}
static const VTermScreenCallbacks kCallbacks = {nullptr, nullptr, nullptr, on_property, on_bell, nullptr, nullptr, nullptr};

Editor::Editor(const std::string &korvel_dir) {
    if (korvel_dir.empty()) return;
    dir.copy_from(korvel_dir);
    dir.write("lang_00.ini", read_file(std::string(CORVANE_DATA_DIR) + "lang_00.ini"));
    if (symlink(CORVANE_EDITOR, dir.path("corvane").c_str()) != 0) dir.write("no-editor", "");
    if (symlink(CORVANE_CTL, dir.path("corvanectl").c_str()) != 0) dir.write("no-corvanectl", "");
}

Editor::~Editor() {
    if (pid > 0 && !exited) {
        kill(pid, SIGKILL);
        waitpid(pid, &status, 0);
    }
    if (master_ >= 0) close(master_);
    if (slave_ >= 0) close(slave_);
    if (vterm_) vterm_free(vterm_);
}

// Lets nobody read the directory whatever the umask; a link is left alone
// (chmod would change its target), and so is a file made unreadable on purpose.
static int open_up(const char *path, const struct stat *state, int, struct FTW *) {
    if (!S_ISLNK(state->st_mode) && (state->st_mode & 0777) != 0) chmod(path, S_ISDIR(state->st_mode) ? 0755 : 0644);
    return 0;
}

bool Editor::open(bool wait_for_menu) {
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

bool Editor::start(const std::vector<std::string> &argv) {
    struct winsize size {};
    size.ws_row = static_cast<unsigned short>(rows);
    size.ws_col = static_cast<unsigned short>(cols);
    if (openpty(&master_, &slave_, nullptr, nullptr, &size) != 0) return false;
    std::vector<char *> args;
    for (const std::string &arg : argv) args.push_back(const_cast<char *>(arg.c_str()));
    args.push_back(nullptr);
    const std::string where = cwd.empty() ? dir.path() : cwd;
    if ((pid = fork()) < 0) return false;
    if (pid == 0) {
        close(master_);
        if (login_tty(slave_) != 0) _exit(126);
        if (stdin_null) dup2(::open("/dev/null", O_RDONLY), STDIN_FILENO);
        if (unprivileged && geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(126);
        if (chdir(where.c_str()) != 0) _exit(126);
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
    vterm_screen_set_callbacks(vscreen_, &kCallbacks, this);
    vterm_screen_reset(vscreen_, 1);
    return true;
}

void Editor::send(const std::string &bytes) {
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

bool Editor::pump(int timeout_ms) {
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

bool Editor::wait_until(const std::function<bool()> &ready, int timeout_ms) {
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

void Editor::settle(int quiet_ms) {
    while (pump(quiet_ms)) {
    }
}

std::string Editor::cell(int r, int c) const {
    VTermScreenCell raw;
    if (!vscreen_ || !vterm_screen_get_cell(vscreen_, VTermPos{r, c}, &raw) || !raw.chars[0]) return " ";
    uint32_t code = raw.chars[0];
    if (code < 0x80) return std::string(1, char(code));
    if (code < 0x800) return {char(0xC0 | (code >> 6)), char(0x80 | (code & 0x3F))};
    return {char(0xE0 | (code >> 12)), char(0x80 | ((code >> 6) & 0x3F)), char(0x80 | (code & 0x3F))};
}

std::string Editor::row(int r) const {
    std::string text;
    for (int c = 0; c < cols; ++c) text += cell(r, c);
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

std::string Editor::screen() const {
    std::string text;
    for (int r = 0; r < rows; ++r) text += row(r) + "\n";
    return text;
}

int Editor::cursor_row() const {
    VTermPos position;
    vterm_state_get_cursorpos(vterm_obtain_state(vterm_), &position);
    return position.row;
}

int Editor::marker_row() const {
    for (int r = 0; r < rows; ++r) {
        if (row(r).find("-->") == 2) return r;
    }
    return -1;
}

bool Editor::move_to(int target) {
    for (int presses = 0; presses < 40 && marker_row() != target; ++presses) {
        int before = marker_row();
        send(before < target ? "\x1b[B" : "\x1b[A");
        if (!wait_until([&] { return marker_row() != before; })) return false;
    }
    return marker_row() == target;
}

bool Editor::wait_exit(int timeout_ms) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    while (!exited && !(exited = waitpid(pid, &status, WNOHANG) == pid) && std::chrono::steady_clock::now() < deadline) {
        pump(20);
    }
    settle(0);
    return exited;
}

bool Editor::ended_with(int exit_status) {
    return wait_exit() && WIFEXITED(status) && WEXITSTATUS(status) == exit_status;
}

void Editor::hangup() {
    if (master_ >= 0) close(master_);
    master_ = -1;
}

void Editor::resize(int new_rows, int new_cols) {
    rows = new_rows;
    cols = new_cols;
    vterm_set_size(vterm_, rows, cols);
    struct winsize size {};
    size.ws_row = static_cast<unsigned short>(rows);
    size.ws_col = static_cast<unsigned short>(cols);
    ioctl(master_, TIOCSWINSZ, &size);  // the kernel tells the program with SIGWINCH
}

void Editor::signal(int number) { kill(pid, number); }

bool Editor::modes(struct termios *state) const { return tcgetattr(slave_, state) == 0; }

int Editor::unread_input() const {
    int count = 0;
    return ioctl(slave_, FIONREAD, &count) == 0 ? count : -1;
}

long Editor::reads() const {
    std::ifstream io("/proc/" + std::to_string(pid) + "/io");
    for (std::string line; std::getline(io, line);) {
        if (line.compare(0, 6, "syscr:") == 0) return std::stol(line.substr(6));
    }
    return -1;
}
