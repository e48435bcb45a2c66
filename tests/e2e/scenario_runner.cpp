// Replays the scenario files of tests/e2e/scenarios/ against the real editor
// in a pseudo-terminal: one registered test per scenario, named
// Suite.Name as its "scenario" line says. The language is in README.md.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <termios.h>
#include <vector>

#include "console/terminal.h"
#include "support/editor_session.h"

namespace {

constexpr int kWaitMs = 10000;  // only a failing step ever waits this long

struct Step {
    std::string file;
    int line;
    std::vector<std::string> words;
};

struct Scenario {
    std::string file, suite, name;
    std::vector<Step> steps;
};

// Words of a line: bare words, or double-quoted strings with C escapes
// (\n \r \t \e \" \\ \xHH).
bool split(const std::string &line, std::vector<std::string> &words) {
    size_t i = 0;
    while (i < line.size()) {
        if (line[i] == ' ' || line[i] == '\t') {
            ++i;
        } else if (line[i] == '#') {
            break;
        } else if (line[i] == '"') {
            std::string word;
            for (++i; i < line.size() && line[i] != '"'; ++i) {
                if (line[i] != '\\' || i + 1 == line.size()) {
                    word += line[i];
                    continue;
                }
                char c = line[++i];
                if (c == 'x' && i + 2 < line.size()) {
                    word += static_cast<char>(std::stoi(line.substr(i + 1, 2), nullptr, 16));
                    i += 2;
                } else {
                    word += c == 'n' ? '\n' : c == 'r' ? '\r' : c == 't' ? '\t' : c == 'e' ? '\x1b' : c;
                }
            }
            if (i == line.size()) return false;
            words.push_back(word);
            ++i;
        } else {
            size_t end = line.find_first_of(" \t", i);
            if (end == std::string::npos) end = line.size();
            words.push_back(line.substr(i, end - i));
            i = end;
        }
    }
    return true;
}

std::vector<Scenario> load_scenarios() {
    std::vector<Scenario> all;
    const std::string dir = CORVANE_SCENARIOS;
    std::vector<std::string> names;
    if (DIR *listing = opendir(dir.c_str())) {
        while (struct dirent *entry = readdir(listing)) {
            std::string name = entry->d_name;
            if (name.size() > 4 && name.compare(name.size() - 4, 4, ".scn") == 0) names.push_back(name);
        }
        closedir(listing);
    }
    std::sort(names.begin(), names.end());
    for (const std::string &name : names) {
        std::ifstream in(dir + name);
        std::string text;
        // "define NAME" ... "end" names steps that "do NAME" repeats.
        std::map<std::string, std::vector<Step>> defined;
        std::vector<Step> *defining = nullptr;
        for (int number = 1; std::getline(in, text); ++number) {
            Step step{name, number, {}};
            if (!split(text, step.words)) step.words = {"unclosed-quote"};
            if (step.words.empty()) continue;
            const std::string &verb = step.words[0];
            if (verb == "define" && step.words.size() == 2) {
                defining = &defined[step.words[1]];
            } else if (verb == "end" && defining) {
                defining = nullptr;
            } else if (defining) {
                defining->push_back(step);
            } else if (verb == "scenario" && step.words.size() == 2) {
                size_t dot = step.words[1].find('.');
                all.push_back({name, step.words[1].substr(0, dot), step.words[1].substr(dot + 1), {}});
            } else if (all.empty()) {
                all.push_back({name, "Unnamed", name, {{name, number, {"step-before-scenario"}}}});
            } else if (verb == "do" && step.words.size() == 2 && defined.count(step.words[1])) {
                for (const Step &done : defined[step.words[1]]) all.back().steps.push_back(done);
            } else {
                all.back().steps.push_back(step);
            }
        }
    }
    return all;
}

int signal_number(const std::string &name) {
    static const struct {
        const char *name;
        int number;
    } kSignals[] = {{"TERM", SIGTERM}, {"HUP", SIGHUP}, {"INT", SIGINT}, {"QUIT", SIGQUIT},
                    {"TSTP", SIGTSTP}, {"CONT", SIGCONT}, {"WINCH", SIGWINCH}};
    for (const auto &s : kSignals) {
        if (name == s.name) return s.number;
    }
    return 0;
}

class Runner {
public:
    explicit Runner(const Scenario &scenario) : scenario_(scenario) {}
    ~Runner() {
        // The editor ends before its file systems go, and they before its directory.
        if (editor_ && editor_->pid() > 0 && !editor_->exited()) {
            editor_->signal(SIGKILL);
            editor_->wait_exit(kWaitMs);
        }
        for (const std::string &path : mounted_) umount2(path.c_str(), MNT_DETACH);
    }

    void run() {
        for (const Step &step : scenario_.steps) {
            std::string why = perform(step.words);
            if (!why.empty()) {
                ADD_FAILURE_AT((std::string(CORVANE_SCENARIOS) + step.file).c_str(), step.line)
                    << join(step.words) << "\n  " << why << "\n" << (editor_ ? editor_->screen() : "");
                return;
            }
        }
    }

private:
    static std::string join(const std::vector<std::string> &words) {
        std::string line;
        for (const std::string &word : words) line += (line.empty() ? "" : " ") + word;
        return line;
    }

    EditorSession &editor() {
        if (!editor_) editor_.reset(new EditorSession(fixture_));
        return *editor_;
    }

    double elapsed_ms() const {
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - pressed_at_).count();
    }

    // Sends `bytes`, remembering where and when the answer to them begins.
    void press(const std::string &bytes) {
        pressed_at_ = std::chrono::steady_clock::now();
        mark_ = editor().output().size();
        bells_ = editor().bells();
        editor().send(bytes);
    }
    std::string since_press() const { return editor_->output().substr(mark_); }

    // The screen that answers the last key: it was drawn anew after the key
    // (so what the screen before showed cannot count), it shows `title`, and
    // the marker, drawn last, stands on `marker` ("-": no marker).
    std::string await_screen(const std::string &title, const std::string &marker) {
        const std::string clear(reinterpret_cast<const char *>(seq_escape[SEQ_CLEAR]) + 1, seq_escape[SEQ_CLEAR][0]);
        int row = marker == "-" ? -1 : std::stoi(marker);
        bool ok = editor_->wait_until(
            [&] {
                return editor_->output().find(clear, mark_) != std::string::npos &&
                       editor_->screen().find(title) != std::string::npos && editor_->marker_row() == row;
            },
            kWaitMs);
        if (ok) return "";
        if (editor_->output().find(clear, mark_) == std::string::npos) return "no screen was drawn since the key";
        if (editor_->screen().find(title) == std::string::npos) return "\"" + title + "\" is not on the screen";
        return "the marker is on " + std::to_string(editor_->marker_row()) + ", not " + marker;
    }

    // Presses Down or Up once; the marker must then stand on `target`, which
    // may be where it stood: then nothing may move.
    std::string move(const std::string &key, int target) {
        int before = editor().marker_row();
        press(key);
        if (target == before) {
            editor_->settle();
        } else {
            editor_->wait_until([&] { return editor_->marker_row() == target; }, kWaitMs);
        }
        int now = editor_->marker_row();
        return now == target ? "" : "the marker is on " + std::to_string(now);
    }

    std::string file_text(const std::string &name) { return editor().dir.read(name); }

    // $DIR is the Korvel directory (ending in "/"), $DATA the fixtures'
    // (tests/data/), $PATH the tests' own.
    std::string expand(std::string word) {
        for (const char *name : {"$DIR", "$DATA", "$PATH"}) {
            size_t at = word.find(name);
            if (at == std::string::npos) continue;
            const char *path = getenv("PATH");
            std::string value = name[1] == 'D' ? (name[2] == 'I' ? editor().dir.path() : CORVANE_TEST_DATA) : path ? path : "";
            word.replace(at, std::strlen(name), value);
        }
        return word;
    }

    std::string perform(std::vector<std::string> w) {
        for (std::string &word : w) word = expand(word);
        const std::string &verb = w[0];
        auto arg = [&](size_t i) -> const std::string & {
            static const std::string none;
            return i < w.size() ? w[i] : none;
        };
        auto number = [&](size_t i) { return std::stoi(arg(i)); };
        auto need = [&](size_t count) { return w.size() == count + 1; };

        // The Korvel directory, before the editor starts.
        if (verb == "from" && need(1)) {
            fixture_ = arg(1) == "demo" ? CORVANE_DEMO_DIR : std::string(CORVANE_TEST_DATA) + arg(1);
            return editor_ ? "\"from\" must come first" : "";
        }
        if (verb == "replace" && need(3)) {
            std::string text = file_text(arg(1));
            size_t at = text.find(arg(2));
            if (at == std::string::npos) return "not in " + arg(1) + ": " + arg(2);
            editor().dir.write(arg(1), text.replace(at, arg(2).size(), arg(3)));
            return "";
        }
        if (verb == "same-from" && need(3)) {
            std::string a = file_text(arg(1)), b = file_text(arg(2));
            size_t at = a.find(arg(3)), bt = b.find(arg(3));
            bool same = at != std::string::npos && bt != std::string::npos && a.substr(at) == b.substr(bt);
            return same ? "" : "they differ from " + arg(3);
        }
        if (verb == "stdin-null" && need(0)) return editor().stdin_null = true, "";
        if (verb == "in-shell" && need(0)) return editor().in_shell = true, "";
        if (verb == "window" && need(2)) {
            // Before the start, the window the editor starts in; after it, a resize.
            if (editor().pid() > 0) {
                mark_ = editor().output().size();
                editor().resize(number(1), number(2));
            } else {
                editor().rows = number(1);
                editor().cols = number(2);
            }
            return "";
        }
        if (verb == "write" && need(2)) return editor().dir.write(arg(1), arg(2)), "";
        if (verb == "copy" && need(2)) {
            return editor().dir.write(arg(2), arg(1)[0] == '/' ? read_file(arg(1)) : file_text(arg(1))), "";
        }
        if (verb == "link" && need(2)) {
            return symlink(arg(1).c_str(), editor().dir.path(arg(2)).c_str()) == 0 ? "" : "cannot";
        }
        if (verb == "tmpfs" && need(2)) {
            // A small file system of its own, for a full disk (root only).
            std::string path = editor().dir.path(arg(1)), size = "size=" + arg(2) + "k";
            if (mkdir(path.c_str(), 0755) != 0 || mount("tmpfs", path.c_str(), "tmpfs", 0, size.c_str()) != 0) {
                return "cannot mount a file system (as root?)";
            }
            mounted_.push_back(path);
            return "";
        }
        if (verb == "fill" && need(1)) {
            // Writes until the disk is full.
            int descriptor = open(editor().dir.path(arg(1)).c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            static const char block[4096] = {};
            ssize_t written;
            while ((written = write(descriptor, block, sizeof block)) > 0) {
            }
            int error = errno;
            close(descriptor);
            return written < 0 && error == ENOSPC ? "" : "the disk did not fill";
        }
        if (verb == "remove" && need(1)) return std::remove(editor().dir.path(arg(1)).c_str()) == 0 ? "" : "cannot";
        if (verb == "mkdir" && need(1)) return mkdir(editor().dir.path(arg(1)).c_str(), 0755) == 0 ? "" : "cannot";
        if (verb == "chmod" && need(2)) {
            std::string path = arg(1) == "." ? editor().dir.path() : editor().dir.path(arg(1));
            return chmod(path.c_str(), static_cast<mode_t>(std::stoi(arg(2), nullptr, 8))) == 0 ? "" : "cannot";
        }
        if (verb == "as-nobody" && need(0)) return editor().unprivileged = true, "";
        if (verb == "env" && need(1)) return editor().environment.push_back(arg(1)), "";

        // Starting and ending.
        if ((verb == "start" || verb == "launch") && need(0)) {
            for (const std::string &name : editor().dir.list()) started_[name] = file_text(name);
            mark_ = 0;
            return editor().open(verb == "start") ? "" : "the editor did not start (to its main menu)";
        }
        if (verb == "exit" && need(1)) {
            bool ok = editor().ended_with(number(1));
            return ok ? "" : "status " + std::to_string(editor().wait_status());
        }
        if (verb == "killed" && (need(1) || need(2))) {
            // Within the time given (from the last key or signal), when given.
            int limit = need(2) ? number(2) - static_cast<int>(elapsed_ms()) : kWaitMs;
            bool ok = editor().wait_exit(limit > 0 ? limit : 0) && WIFSIGNALED(editor().wait_status()) &&
                      WTERMSIG(editor().wait_status()) == signal_number(arg(1));
            return ok ? "" : "not ended by SIG" + arg(1) + " in time; status " + std::to_string(editor().wait_status());
        }
        if (verb == "ended" && need(0)) return editor().wait_exit(kWaitMs) ? "" : "still running";
        if (verb == "signal" && need(1)) {
            mark_ = editor().output().size();
            pressed_at_ = std::chrono::steady_clock::now();
            editor().signal(signal_number(arg(1)));
            return "";
        }
        if (verb == "hangup" && need(0)) return editor().hangup(), "";
        if (verb == "second" && need(2)) {
            // Another editor on the same directory, to its end.
            PtySession other;
            PtySession::Options options;
            options.cwd = editor().dir.path();
            if (!other.start({editor().dir.path("corvane")}, options) || !other.wait_exit(kWaitMs)) return "it did not end";
            int status = other.wait_status();
            bool ok = WIFEXITED(status) && WEXITSTATUS(status) == number(1) && other.output().find(arg(2)) != std::string::npos;
            return ok ? "" : "status " + std::to_string(status) + "\n" + other.screen();
        }
        if (verb == "sane" && need(0)) {
            struct termios state;
            if (!editor().modes(&state)) return "no terminal modes";
            if (!(state.c_lflag & ECHO) || !(state.c_lflag & ICANON)) return "no echo or no line mode";
            return editor().cursor_visible() ? "" : "the cursor is hidden";
        }

        // Keys.
        if ((verb == "down" || verb == "up") && need(1)) return move(verb == "down" ? "\x1b[B" : "\x1b[A", number(1));
        if (verb == "go" && need(1)) return editor().move_to(number(1)) ? "" : "cannot reach the row";
        if (verb == "enter" && need(2)) return press("\r"), await_screen(arg(1), arg(2));
        if (verb == "choose" && need(3)) {
            if (!editor().move_to(number(1))) return "cannot reach the row";
            return press("\r"), await_screen(arg(2), arg(3));
        }
        if (verb == "type" && need(3)) return press(arg(1) + "\r"), await_screen(arg(2), arg(3));
        if (verb == "send" && need(1)) return press(arg(1)), "";
        if (verb == "await" && need(2)) return await_screen(arg(1), arg(2));
        if (verb == "leave" && need(0)) return editor().move_to(16) ? (press("\r"), "") : "cannot reach the exit";
        if (verb == "save" && need(1)) {
            if (!editor().move_to(16)) return "cannot reach the exit";
            press("\r");
            if (!editor().wait_until([&] { return since_press().find("Save the changes?") != std::string::npos; },
                                     kWaitMs)) {
                return "no save question";
            }
            press(arg(1) + "\r");
            return editor().ended_with(1) ? "" : "status " + std::to_string(editor().wait_status());
        }

        // What the screen shows.
        if (verb == "wait" && need(1)) {
            bool ok = editor().wait_until([&] { return since_press().find(arg(1)) != std::string::npos; }, kWaitMs);
            return ok ? "" : "not written since the last key";
        }
        if (verb == "row" && (need(2) || (need(3) && arg(2) == "~"))) {
            std::string shown = editor().row(number(1));
            bool ok = need(2) ? shown == arg(2) : shown.find(arg(3)) != std::string::npos;
            return ok ? "" : "row " + arg(1) + " is \"" + shown + "\"";
        }
        if (verb == "never" && need(1)) {
            return editor().output().find(arg(1)) == std::string::npos ? "" : "it was written";
        }
        if (verb == "bells" && need(1)) {
            int rung = editor().bells() - bells_;
            return rung == number(1) ? "" : std::to_string(rung) + " bells since the last key";
        }
        if (verb == "cell" && need(4)) {
            PtySession::Cell cell = editor().cell(number(1), number(2));
            bool ok = cell.colour == number(3) && cell.bold == (arg(4) == "bold");
            return ok ? "" : "\"" + cell.text + "\" in colour " + std::to_string(cell.colour) + (cell.bold ? " bold" : "");
        }
        if (verb == "mode" && need(1)) {
            struct termios state;
            if (!editor().modes(&state)) return "no terminal modes";
            bool keys = !(state.c_lflag & (ECHO | ICANON));
            return keys == (arg(1) == "keys") ? "" : "the terminal is not in " + arg(1) + " mode";
        }
        if (verb == "cursor" && need(1)) {
            return editor().cursor_visible() == (arg(1) == "shown") ? "" : "the cursor is not " + arg(1);
        }

        // Files.
        // Each of the texts (files) after the first word or two.
        if ((verb == "has" || verb == "lacks" || verb == "section") && w.size() > (verb == "section" ? 3u : 2u)) {
            std::string text = file_text(arg(1));
            if (verb == "section") text = ini_section(text, arg(2)) + "\n";
            for (size_t i = verb == "section" ? 3 : 2; i < w.size(); ++i) {
                std::string wanted = verb == "section" ? "\n" + w[i] + "\n" : w[i];
                if ((text.find(wanted) != std::string::npos) != (verb != "lacks")) return "\"" + w[i] + "\" in\n" + text;
            }
            return "";
        }
        if (verb == "frame-is" && need(1)) {
            // Every byte written so far, against a golden file.
            std::string golden = read_file(std::string(CORVANE_TEST_DATA) + arg(1));
            return editor().output() == golden ? "" : "the bytes differ from " + arg(1);
        }
        if (verb == "count" && need(3)) {
            std::string text = file_text(arg(1));
            int count = 0;
            for (size_t at = text.find(arg(2)); at != std::string::npos; at = text.find(arg(2), at + 1)) ++count;
            return count == number(3) ? "" : std::to_string(count) + " times";
        }
        if (verb == "size" && need(2)) {
            struct stat state;
            bool ok = lstat(editor().dir.path(arg(1)).c_str(), &state) == 0 && S_ISREG(state.st_mode) &&
                      state.st_size == std::stol(arg(2));
            return ok ? "" : "not a regular file of " + arg(2) + " bytes";
        }
        if ((verb == "exists" || verb == "missing") && w.size() > 1) {
            for (size_t i = 1; i < w.size(); ++i) {
                if (editor().dir.exists(w[i]) != (verb == "exists")) return w[i] + (verb == "exists" ? " is missing" : " exists");
            }
            return "";
        }
        if (verb == "unchanged" && need(0)) {
            std::map<std::string, std::string> now;
            for (const std::string &name : editor().dir.list()) now[name] = file_text(name);
            for (const auto &file : started_) {
                if (now.count(file.first) == 0) return file.first + " is gone";
                if (now[file.first] != file.second) return file.first + " changed";
            }
            return now.size() == started_.size() ? "" : "a file was added";
        }
        if (verb == "unchanged" && need(1)) {
            return file_text(arg(1)) == started_[arg(1)] ? "" : arg(1) + " changed";
        }
        return "unknown step";
    }

    const Scenario &scenario_;
    std::string fixture_ = CORVANE_DEMO_DIR;
    std::unique_ptr<EditorSession> editor_;
    std::map<std::string, std::string> started_;
    std::vector<std::string> mounted_;
    size_t mark_ = 0;
    int bells_ = 0;
    std::chrono::steady_clock::time_point pressed_at_;
};

class ScenarioTest : public ::testing::Test {
public:
    explicit ScenarioTest(Scenario scenario) : scenario_(std::move(scenario)) {}
    void TestBody() override { Runner(scenario_).run(); }

private:
    Scenario scenario_;
};

}  // namespace

int main(int argc, char **argv) {
    ::testing::InitGoogleTest(&argc, argv);
    for (const Scenario &scenario : load_scenarios()) {
        ::testing::RegisterTest(scenario.suite.c_str(), scenario.name.c_str(), nullptr, nullptr,
                                (std::string(CORVANE_SCENARIOS) + scenario.file).c_str(), 0,
                                [scenario]() -> ::testing::Test * { return new ScenarioTest(scenario); });
    }
    return RUN_ALL_TESTS();
}
