#include "support/pty_session.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utmp.h>
#include <vterm.h>

struct PtyCallbacks {
    static int bell(void *user) {
        ++static_cast<PtySession *>(user)->bells_;
        return 1;
    }
    static int property(VTermProp property, VTermValue *value, void *user) {
        if (property == VTERM_PROP_CURSORVISIBLE) static_cast<PtySession *>(user)->cursor_visible_ = value->boolean;
        return 1;
    }
};

static const VTermScreenCallbacks kCallbacks = {
    nullptr,                  // damage
    nullptr,                  // moverect
    nullptr,                  // movecursor
    PtyCallbacks::property,   // settermprop
    PtyCallbacks::bell,       // bell
    nullptr,                  // resize
    nullptr,                  // sb_pushline
    nullptr,                  // sb_popline
};

PtySession::PtySession() = default;

PtySession::~PtySession() {
    if (pid_ > 0 && !exited_) {
        ::kill(pid_, SIGKILL);
        waitpid(pid_, &status_, 0);
    }
    if (master_ >= 0) close(master_);
    if (slave_ >= 0) close(slave_);
    if (vterm_) vterm_free(vterm_);
}

bool PtySession::start(const std::vector<std::string> &argv, const Options &options) {
    rows_ = options.rows;
    cols_ = options.cols;
    struct winsize size {};
    size.ws_row = static_cast<unsigned short>(rows_);
    size.ws_col = static_cast<unsigned short>(cols_);
    if (openpty(&master_, &slave_, nullptr, nullptr, &size) != 0) return false;

    std::vector<char *> args;
    for (const std::string &arg : argv) args.push_back(const_cast<char *>(arg.c_str()));
    args.push_back(nullptr);

    pid_ = fork();
    if (pid_ < 0) return false;
    if (pid_ == 0) {
        close(master_);
        if (login_tty(slave_) != 0) _exit(126);
        if (options.stdin_null) {
            int null_fd = open("/dev/null", O_RDONLY);
            dup2(null_fd, STDIN_FILENO);
            close(null_fd);
        }
        if (options.unprivileged && geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(126);
        if (!options.cwd.empty() && chdir(options.cwd.c_str()) != 0) _exit(126);
        struct rlimit no_core {};
        setrlimit(RLIMIT_CORE, &no_core);  // SIGQUIT tests must not leave core files
        setenv("TERM", "xterm", 1);
        for (const std::string &setting : options.environment) putenv(const_cast<char *>(setting.c_str()));
        execv(args[0], args.data());
        _exit(127);
    }
    fcntl(master_, F_SETFL, fcntl(master_, F_GETFL) | O_NONBLOCK);

    vterm_ = vterm_new(rows_, cols_);
    vterm_set_utf8(vterm_, 1);
    vscreen_ = vterm_obtain_screen(vterm_);
    vterm_screen_set_callbacks(vscreen_, &kCallbacks, this);
    vterm_screen_reset(vscreen_, 1);
    return true;
}

void PtySession::send(const std::string &bytes) {
    size_t done = 0;
    while (done < bytes.size()) {
        ssize_t n = write(master_, bytes.data() + done, bytes.size() - done);
        if (n > 0) {
            done += static_cast<size_t>(n);
        } else if (n < 0 && (errno == EAGAIN || errno == EINTR)) {
            pump(10);  // the program is not reading yet; let its output drain
        } else {
            return;
        }
    }
}

bool PtySession::pump(int timeout_ms) {
    if (master_ < 0) {  // hung up: nothing more can arrive, but keep the pace
        poll(nullptr, 0, timeout_ms);
        return false;
    }
    struct pollfd poller = {master_, POLLIN, 0};
    if (poll(&poller, 1, timeout_ms) <= 0) return false;
    char buffer[4096];
    bool got = false;
    for (;;) {
        ssize_t n = read(master_, buffer, sizeof buffer);
        if (n <= 0) break;
        output_.append(buffer, static_cast<size_t>(n));
        vterm_input_write(vterm_, buffer, static_cast<size_t>(n));
        got = true;
    }
    return got;
}

void PtySession::check_exit() {
    if (exited_ || pid_ <= 0) return;
    if (waitpid(pid_, &status_, WNOHANG) == pid_) exited_ = true;
}

bool PtySession::wait_until(const std::function<bool()> &ready, int timeout_ms) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    for (;;) {
        if (ready()) return true;
        if (std::chrono::steady_clock::now() >= deadline) return false;
        if (!pump(5)) {
            bool ended = exited_;
            check_exit();
            // Once the program is gone and its last output is read, waiting
            // longer cannot change the answer.
            if (ended && !pump(0)) return ready();
        }
    }
}

bool PtySession::wait_for_text(const std::string &text, int timeout_ms) {
    return wait_until([&] { return screen().find(text) != std::string::npos; }, timeout_ms);
}

void PtySession::settle(int quiet_ms) {
    while (pump(quiet_ms)) {
    }
}

static std::string utf8(uint32_t code) {
    std::string text;
    if (code < 0x80) {
        text += static_cast<char>(code);
    } else if (code < 0x800) {
        text += static_cast<char>(0xC0 | (code >> 6));
        text += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        text += static_cast<char>(0xE0 | (code >> 12));
        text += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        text += static_cast<char>(0x80 | (code & 0x3F));
    }
    return text;
}

PtySession::Cell PtySession::cell(int r, int c) const {
    VTermScreenCell raw;
    VTermPos position = {r, c};
    Cell result{" ", -1, false};
    if (!vscreen_ || !vterm_screen_get_cell(vscreen_, position, &raw)) return result;
    if (raw.chars[0]) result.text = utf8(raw.chars[0]);
    if (VTERM_COLOR_IS_INDEXED(&raw.fg) && !VTERM_COLOR_IS_DEFAULT_FG(&raw.fg)) result.colour = raw.fg.indexed.idx;
    result.bold = raw.attrs.bold;
    return result;
}

std::string PtySession::row(int r) const {
    std::string text;
    for (int c = 0; c < cols_; ++c) text += cell(r, c).text;
    size_t end = text.find_last_not_of(' ');
    return end == std::string::npos ? std::string() : text.substr(0, end + 1);
}

std::string PtySession::screen() const {
    std::string text;
    for (int r = 0; r < rows_; ++r) text += row(r) + "\n";
    return text;
}

int PtySession::cursor_row() const {
    VTermPos position;
    vterm_state_get_cursorpos(vterm_obtain_state(vterm_), &position);
    return position.row;
}

bool PtySession::wait_exit(int timeout_ms) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    while (!exited_) {
        check_exit();
        if (exited_ || std::chrono::steady_clock::now() >= deadline) break;
        pump(20);
    }
    while (pump(0)) {
    }
    return exited_;
}

void PtySession::hangup() {
    if (master_ >= 0) close(master_);
    master_ = -1;
}

void PtySession::resize(int rows, int cols) {
    rows_ = rows;
    cols_ = cols;
    vterm_set_size(vterm_, rows, cols);
    struct winsize size {};
    size.ws_row = static_cast<unsigned short>(rows);
    size.ws_col = static_cast<unsigned short>(cols);
    ioctl(master_, TIOCSWINSZ, &size);  // the kernel tells the program with SIGWINCH
}

void PtySession::signal(int signal_number) { ::kill(pid_, signal_number); }

bool PtySession::modes(struct termios *state) const { return tcgetattr(slave_, state) == 0; }

int PtySession::unread_input() const {
    int count = 0;
    return ioctl(slave_, FIONREAD, &count) == 0 ? count : -1;
}
