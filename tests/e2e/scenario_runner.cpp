// Replays the scenario files of tests/e2e/scenarios/ against the real editor
// in a pseudo-terminal: one registered test per scenario, named Suite.Name
// as its "scenario" line says. The steps are described in README.md.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <regex>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "config/files.h"
#include "config/history.h"
#include "config/journal.h"
#include "config/ini_reader.h"
#include "config/ini_writer.h"
#include "config/record.h"
#include "console/terminal.h"
#include "support/editor.h"

namespace {

constexpr int kWaitMs = 10000;  // only a failing step ever waits this long

struct Step { std::string file; int line; std::vector<std::string> words; };
struct Scenario { std::string file, suite, name; std::vector<Step> steps; };

// Bare words, or double-quoted strings with C escapes (\n \r \t \e \" \\ \xHH).
bool split(const std::string &line, std::vector<std::string> &words) {
    for (size_t i = 0; i < line.size();) {
        if (line[i] == ' ' || line[i] == '\t') {
            ++i;
        } else if (line[i] == '#') {
            break;
        } else if (line[i] == '"') {
            std::string word;
            for (++i; i < line.size() && line[i] != '"'; ++i) {
                char c = line[i] == '\\' && i + 1 < line.size() ? line[++i] : '\0';
                if (c == 'x' && i + 2 < line.size()) {
                    word += static_cast<char>(std::stoi(line.substr(i + 1, 2), nullptr, 16));
                    i += 2;
                } else {
                    word += !c ? line[i] : c == 'n' ? '\n' : c == 'r' ? '\r' : c == 't' ? '\t' : c == 'e' ? '\x1b' : c;
                }
            }
            if (i++ == line.size()) return false;
            words.push_back(word);
        } else {
            size_t end = std::min(line.find_first_of(" \t", i), line.size());
            words.push_back(line.substr(i, end - i));
            i = end;
        }
    }
    return true;
}

// Every "define", its "do" lines replaced: the differential step picks its
// operations ("op-...") from them.
std::map<std::string, std::vector<Step>> defined;

std::vector<Scenario> load_scenarios() {
    std::vector<Scenario> all;
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(CORVANE_SCENARIOS)) {
        if (entry.path().extension() == ".scn") names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    // "define NAME" ... "end" in any file names steps that "do NAME" repeats.
    std::vector<Step> lines;
    for (const std::string &name : names) {
        std::ifstream in(CORVANE_SCENARIOS + name);
        std::vector<Step> *defining = nullptr;
        std::string text;
        for (int number = 1; std::getline(in, text); ++number) {
            Step step{name, number, {}};
            if (!split(text, step.words)) step.words = {"unclosed-quote"};
            if (step.words.empty()) continue;
            if (step.words[0] == "define" && step.words.size() == 2) {
                defining = &defined[step.words[1]];
            } else if (step.words[0] == "end" && defining) {
                defining = nullptr;
            } else {
                (defining ? *defining : lines).push_back(step);
            }
        }
    }
    // "do" within a define is replaced too, to a depth that no loop passes.
    std::function<void(std::vector<Step> &, const Step &, int)> add = [&](std::vector<Step> &to, const Step &step, int depth) {
        bool known = step.words[0] == "do" && step.words.size() == 2 && defined.count(step.words[1]) && depth < 8;
        if (!known) return to.push_back(step);
        for (const Step &done : defined[step.words[1]]) add(to, done, depth + 1);
    };
    for (auto &define : defined) {
        std::vector<Step> steps;
        for (const Step &step : define.second) add(steps, step, 1);
        define.second = steps;
    }
    for (const Step &step : lines) {
        const std::string &verb = step.words[0];
        bool one = step.words.size() == 2;
        if (verb == "scenario" && one) {
            size_t dot = step.words[1].find('.');
            all.push_back({step.file, step.words[1].substr(0, dot), step.words[1].substr(dot + 1), {}});
        } else if (all.empty() || all.back().file != step.file) {
            all.push_back({step.file, "Unnamed", step.file, {{step.file, step.line, {"step-before-scenario"}}}});
        } else {
            add(all.back().steps, step, 0);
        }
    }
    return all;
}

int signal_number(const std::string &name) {
    static const std::map<std::string, int> kSignals = {{"TERM", SIGTERM}, {"HUP", SIGHUP},   {"INT", SIGINT},
                                                        {"QUIT", SIGQUIT}, {"TSTP", SIGTSTP}, {"CONT", SIGCONT},
                                                        {"WINCH", SIGWINCH}};
    return kSignals.count(name) ? kSignals.at(name) : 0;
}

class Runner {
public:
    ~Runner() {
        // The editor ends before its file systems go, and they before its directory.
        if (editor_ && editor_->pid > 0 && !editor_->exited) editor_->signal(SIGKILL), editor_->wait_exit(kWaitMs);
        for (const std::string &path : mounted_) umount2(path.c_str(), MNT_DETACH);
    }

    void run(const Scenario &scenario) {
        for (const Step &step : scenario.steps) {
            std::string why = perform(step.words);
            if (why.empty()) continue;
            std::string line;
            for (const std::string &word : step.words) line += word + " ";
            ADD_FAILURE_AT((CORVANE_SCENARIOS + step.file).c_str(), step.line)
                << line << "\n  " << why << "\n" << (editor_ ? editor_->screen() : "");
            return;
        }
    }

private:
    Editor &editor() {
        if (!editor_) editor_.reset(new Editor(fixture_));
        return *editor_;
    }
    std::string file_text(const std::string &name) { return editor().dir.read(name); }

    // Sends `bytes`, remembering where and when the answer to them begins.
    void press(const std::string &bytes) {
        pressed_at_ = std::chrono::steady_clock::now();
        mark_ = editor().output.size();
        bells_ = editor().bells;
        reads_ = editor().reads();
        sent_ = bytes.size();
        editor().send(bytes);
    }
    bool written_since_press(const std::string &text) {
        return editor().wait_until([&] { return editor_->output.find(text, mark_) != std::string::npos; }, kWaitMs);
    }

    // The screen that answers the last key: drawn anew after it (so the
    // screen before cannot count), showing `title`, with the marker, drawn
    // last, on `marker` ("-": no marker).
    static std::string clear_sequence() {
        return std::string(reinterpret_cast<const char *>(seq_escape[SEQ_CLEAR]) + 1, seq_escape[SEQ_CLEAR][0]);
    }

    std::string await_screen(const std::string &title, const std::string &marker) {
        const std::string clear = clear_sequence();
        int row = marker == "-" ? -1 : std::stoi(marker);
        Editor &e = *editor_;
        auto cleared = [&] { return e.output.find(clear, mark_) != std::string::npos; };
        auto titled = [&] { return e.screen().find(title) != std::string::npos; };
        if (e.wait_until([&] { return cleared() && titled() && e.marker_row() == row; }, kWaitMs)) return "";
        if (!cleared()) return "no screen was drawn since the key";
        return titled() ? "the marker is on " + std::to_string(e.marker_row()) + ", not " + marker
                        : "\"" + title + "\" is not on the screen";
    }

    // One Down or Up; the marker must then stand on `target`, which may be
    // where it stood: then nothing may move.
    std::string move(const std::string &key, int target) {
        int before = editor().marker_row();
        press(key);
        if (target == before) {
            editor_->settle();
        } else {
            editor_->wait_until([&] { return editor_->marker_row() == target; }, kWaitMs);
        }
        return editor_->marker_row() == target ? "" : "the marker is on " + std::to_string(editor_->marker_row());
    }

    // $DIR is the Korvel directory (ending in "/"), $DATA tests/data/, $LANGS
    // the shipped language files' folder, $PATH the tests' own; the
    // differential step sets more.
    std::string expand(std::string word) {
        for (const auto &var : vars_) {
            for (size_t at; (at = word.find(var.first)) != std::string::npos;) word.replace(at, var.first.size(), var.second);
        }
        const char *path = getenv("PATH");
        for (auto name : {std::make_pair("$DIR", editor().dir.path()), std::make_pair("$DATA", std::string(CORVANE_TEST_DATA)),
                          std::make_pair("$LANGS", std::string(CORVANE_DATA_DIR)),
                          std::make_pair("$PATH", std::string(path ? path : ""))}) {
            size_t at = word.find(name.first);
            if (at != std::string::npos) word.replace(at, std::strlen(name.first), name.second);
        }
        return word;
    }

    static std::string check(bool ok, const std::string &why) { return ok ? "" : why; }

    // A step: its name, how many words follow it, and what it does.
    using Words = std::vector<std::string>;
    struct StepKind {
        const char *name;
        size_t least, most;
        std::string (*act)(Runner &r, Editor &e, const Words &w, size_t n);
    };
    static int number(const Words &w, size_t i) { return std::stoi(w[i]); }

    // Files: has, lacks and section take several texts; a section's are
    // whole lines of the section [NAME], from its header to the empty line.
    static std::string look_into(Runner &r, const Words &w, size_t n) {
        const std::string &verb = w[0];
        std::string text = r.file_text(w[1]);
        size_t first = 2;
        if (verb == "section") {
            size_t start = text.find("[" + w[2] + "]\n");
            text = start == std::string::npos ? "" : text.substr(start, text.find("\n\n", start) - start) + "\n";
            first = 3;
        }
        for (size_t i = first; i <= n; ++i) {
            std::string wanted = verb == "section" ? "\n" + w[i] + "\n" : w[i];
            if ((text.find(wanted) != std::string::npos) != (verb != "lacks")) return "\"" + w[i] + "\" in\n" + text;
        }
        return "";
    }

    // unchanged: the same bytes as at the start (or the snapshot);
    // untouched: not even written again.
    static std::string compare_files(Runner &r, Editor &e, const Words &w, size_t n) {
        bool timed = w[0] == "untouched";
        std::map<std::string, std::string> now;
        for (const std::string &name : e.dir.list()) now[name] = r.state_of(name, timed);
        for (const auto &file : r.started_) {
            if (n == 1 && file.first != w[1]) continue;
            std::string then = timed ? file.second : file.second.substr(0, file.second.rfind('@'));
            if (now.count(file.first) == 0 || now[file.first] != then) return file.first + " changed or gone";
        }
        return check(n == 1 || now.size() == r.started_.size(), "a file was added");
    }

    // Every byte written so far, or since the screen was last cleared,
    // against a golden file; CORVANE_BLESS=1 writes it instead.
    static std::string golden_bytes(Editor &e, const Words &w) {
        std::string bytes = e.output;
        if (w[0] == "screen-is") bytes = bytes.substr(std::min(bytes.rfind(clear_sequence()), bytes.size()));
        std::string golden = CORVANE_TEST_DATA + w[1];
        const char *bless = getenv("CORVANE_BLESS");
        if (bless && std::string(bless) == "1") std::ofstream(golden, std::ios::binary) << bytes;
        return check(bytes == read_file(golden), "the bytes differ from " + w[1] + ":\n" + visible(bytes));
    }

    // A key a user who knows nothing might press: mostly moves and Enter,
    // sometimes a line (a number, a model code, "*", a double quote, more than
    // any field holds), now and then down to the way back and Enter, or six
    // times, one at a time (`backs` to go), so that a save question between
    // them gets its answer.
    static std::string random_key(std::mt19937 &random, int &backs) {
        static const std::string kBack = [] {
            std::string keys;
            for (int i = 0; i < 30; ++i) keys += "\x1b[B";
            return keys + "\r";
        }();
        static const char *const kLines[] = {"", "0", "1", "2", "8", "30", "99", "255", "1000", "9999", "65535", "70000", "-1",
                                             "*", "MERID32001RU0001", "Rack \"9\"", "abcdefghijklmnopqrstuvwxyz ABCXYZ0123456789.:-_*"};
        if (backs > 0) return --backs, kBack;
        int roll = std::uniform_int_distribution<int>(0, 99)(random);
        if (roll < 6) return backs = roll ? 0 : 5, kBack;
        if (roll < 50) return roll < 30 ? "\x1b[B" : "\x1b[A";
        if (roll < 74) return roll < 72 ? "\r" : "\x1b";  // a lone ESC takes the next two keys with it
        return std::string(kLines[std::uniform_int_distribution<size_t>(0, std::size(kLines) - 1)(random)]) + "\r";
    }

    // `count` random keys from `seed` (or as many as CORVANE_MONKEY_SECONDS
    // allow). The editor must read each of them (a slow reader, one line per
    // two-second pause, is no hang); whenever a session ends, with 0 or 1, it
    // starts again on what it left. Each save it makes, told by the
    // generation it keeps, must be a fixed point with nothing staged left.
    static std::string random_keys(Editor &e, int count, unsigned seed) {
        std::mt19937 random(seed);
        const char *limit = getenv("CORVANE_MONKEY_SECONDS");
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(limit ? std::stoi(limit) : 0);
        int saves = 0, generation = 0, backs = 0;
        long long listed = 0;  // when Corvane's directory last changed, as last listed
        for (int sent = 0;; ++sent) {
            struct stat own {};
            stat(e.dir.path(".corvane").c_str(), &own);
            long long changed = own.st_mtim.tv_sec * 1000000000LL + own.st_mtim.tv_nsec;
            std::vector<Generation> kept = changed != listed ? history_list(e.dir.path().c_str()) : std::vector<Generation>();
            listed = changed;
            if (!kept.empty() && kept.back().number != generation) {
                generation = kept.back().number, ++saves;
                // The generation is put in place last; the journal goes after it.
                if (!e.wait_until([&] { return !unfinished_save(e.dir.path().c_str()); }, 6000)) return "a journal left after save " + std::to_string(saves);
                if (std::string why = fixed_point(e); !why.empty()) return why + " after save " + std::to_string(saves);
            }
            if (e.exited && !(WIFEXITED(e.status) && WEXITSTATUS(e.status) <= 1)) return "status " + std::to_string(e.status);
            if (limit ? std::chrono::steady_clock::now() > end : sent == count) {
                if (getenv("CORVANE_SHOW")) std::fprintf(stderr, "%d keys, %d saves checked\n", sent, saves);
                return check(!limit || saves * 600 >= 50 * std::stoi(limit), std::to_string(saves) + " saves in " + (limit ? limit : "") + " seconds");
            }
            if (e.exited && !e.reopen()) return "it did not start again";
            // The save question wants a word, and the model code question
            // (asked until a valid code comes) often gets one.
            std::string key = random_key(random, backs);
            if (e.screen().find("Save the changes?") != std::string::npos) {
                key = random() % 4 ? "yes\r" : "no\r";
            } else if (e.screen().find("      Model code:") != std::string::npos && random() % 2) {
                key = "MERID32001RU0001\r";
            }
            size_t answered = e.output.size();
            e.send(key);
            e.wait_until([&] { return e.unread_input() > 0 || e.output.size() > answered; }, 20);
            for (int unread = e.unread_input(); unread > 0 && !e.exited; unread = e.unread_input()) {
                if (!e.wait_until([&] { return e.exited || e.unread_input() < unread; }, 6000)) {
                    return "it stopped reading keys after " + std::to_string(sent);
                }
            }
            // The next key is chosen from what the editor shows once it waits for it.
            if (!e.wait_until([&] { return e.exited || e.waiting_for_keys(); }, 6000)) return "it never waited for a key after " + std::to_string(sent);
        }
    }

    // Korvel's files, loaded, produce their very same bytes.
    static std::string fixed_point(Editor &e) {
        const std::string kept = ProgramDir;
        std::snprintf(ProgramDir, kProgramDirSize, "%s", e.dir.path().c_str());
        actual_section = 255;
        FileTexts texts;
        int loaded = LoadINI(), produced = loaded ? loaded : ProduceINI(INI, texts);
        std::snprintf(ProgramDir, kProgramDirSize, "%s", kept.c_str());
        if (loaded || produced) return "cannot load and produce the files";
        std::string why;
        for (int i = 0; i < texts.count && why.empty(); ++i) {
            const FileText &file = texts.file[i];
            why = check(std::string(file.bytes, file.size) == e.dir.read(file.name), std::string(file.name) + " is not a fixed point");
        }
        return FreeTexts(texts), why;
    }

    // "twin SERIES ROW WHICH ARGS...": chooses an entry of a series in use
    // ("existing"), the next new one ("new") or either ("any"), sets $NN, its
    // number in the files, and $ROW, `base` plus that number, the row its
    // list shows it on (the files the editor loads number their entries
    // without gaps), and runs corvanectl ARGS on twin/. The series is what
    // its sections in corvanectl's dump contain ("korvel.ini:UPS_").
    std::string twin(const Words &w) {
        std::string sections = "./corvanectl -C twin dump | sed -E 's/^([^:]*:[^.]*)[.].*/\\1/' | uniq | grep -c ";
        if (!run(0, sections + quoted(w[1]) + " || true").empty()) return "no dump";
        int used = std::stoi(ctl_out_);
        bool fresh = w[3] == "new" || (w[3] == "any" && random_() % 3 == 0) || !used;
        if (fresh && w[3] == "existing") return "skip";
        int k = fresh ? used : static_cast<int>(random_() % static_cast<unsigned>(used));
        char nn[8];
        std::snprintf(nn, sizeof nn, "%02d", k);
        vars_["$NN"] = nn, vars_["$ROW"] = std::to_string(std::stoi(w[2]) + k);
        std::string command = "./corvanectl -C twin";
        for (size_t i = 4; i < w.size(); ++i) command += " " + quoted(expand(w[i]));
        return run(-1, command);
    }

    // Back to the main menu by each screen's way back ("0 - ..."), and out of
    // the editor, saving when asked.
    std::string finish(Editor &e) {
        for (int screens = 0; e.screen().find("Corvane v 5.3.0 10/2012") == std::string::npos; ++screens) {
            int back = -1;
            for (int r = 0; r < e.rows; ++r) back = e.row(r).find(" 0 - ") != std::string::npos ? r : back;
            if (screens == 8 || back < 0 || !e.move_to(back)) return "no way back from\n" + e.screen();
            press("\r");
            e.wait_until([&] { return e.output.find(clear_sequence(), mark_) != std::string::npos && e.marker_row() >= 0; }, kWaitMs);
        }
        if (!e.move_to(16)) return "cannot reach the exit";
        press("\r");
        e.wait_until([&] { return e.exited || e.screen().find("Save the changes?") != std::string::npos; }, kWaitMs);
        if (!e.exited) press("yes\r");
        return check(e.wait_exit(kWaitMs) && WIFEXITED(e.status) && WEXITSTATUS(e.status) <= 1, "status " + std::to_string(e.status));
    }

    // `count` sequences of two to four operations from `seed`, each done on
    // one copy of the fixture through the screens, in a session of its own,
    // and on another, twin/, through corvanectl: after every operation both
    // hold the same bytes. What corvanectl refuses is not done on the screens.
    std::string differential(Editor &e, int count, unsigned seed) {
        if (const char *sequences = getenv("CORVANE_SEQUENCES")) count = std::stoi(sequences);
        random_.seed(seed);
        std::vector<std::string> ops;
        for (const auto &define : defined) {
            if (define.first.compare(0, 3, "op-") == 0) ops.push_back(define.first);
        }
        auto pick_text = [&](std::initializer_list<size_t> lengths) {  // no blank last: rows end without them
            std::string text = "A";
            for (size_t length = *(lengths.begin() + random_() % lengths.size()); text.size() < length;) text += "abcxyz0189 -"[random_() % 12];
            return text.back() == ' ' ? text + "q" : text;
        };
        std::string why = run(0, "mkdir base twin && cp *.ini base/"), done;
        for (int s = 0; s < count && why.empty(); ++s) {
            why = run(0, "rm -f *.ini twin/*.ini && cp base/*.ini . && cp base/*.ini twin/");
            done = "sequence " + std::to_string(s) + ":";
            for (unsigned o = 0, length = 2 + random_() % 3; o < length && why.empty(); ++o) {
                const std::string &op = ops[random_() % ops.size()];
                int member = static_cast<int>(random_() % 7), slot = static_cast<int>(random_() % 8), type = 1 + static_cast<int>(random_() % 11);
                vars_ = {{"$TEXT", pick_text({1, 8, 18, 19, 20, 30, 31, 32})}, {"$PHONE", "+420 " + std::to_string(random_() % 1000000)},
                         {"$MEMBER", std::to_string(member)}, {"$MROW", std::to_string(member ? 3 + member : 21)},
                         {"$SLOT", std::to_string(slot)}, {"$SROW", std::to_string(9 + slot)},
                         {"$TYPE", std::to_string(type)}, {"$TROW", std::to_string(5 + type)}};
                done += " " + op;
                for (const Step &step : defined[op]) {
                    bool first = step.words[0] == "twin";
                    why = first ? twin(step.words) : perform(step.words);
                    if (why == "skip" || (first && refused_)) {
                        done += why == "skip" ? "(skipped)" : "(refused: " + ctl_err_ + ")";
                        why = "skip";
                        break;
                    }
                    if (first && why.empty()) why = check(e.pid > 0 ? e.reopen() : e.open(true), "the editor did not start");
                    if (why.empty()) continue;
                    for (const std::string &word : step.words) done += " " + expand(word);
                    break;
                }
                why = why == "skip" ? "" : why.empty() ? finish(e) : why;
                if (why.empty()) why = run(0, "for f in *.ini twin/*.ini; do f=${f#twin/}; case $f in lang_*) ;; *) diff $f twin/$f || exit 1;; esac; done");
            }
            if (getenv("CORVANE_SHOW")) std::fprintf(stderr, "%s\n", done.c_str());
        }
        return why.empty() ? "" : done + "\n  " + why;
    }

    // `count` directories from `seed`, each the starting one with one to
    // three of the quirks given before (a changed line or a whole file in CR
    // LF): check finds an error exactly when a quirk Korvel misreads was
    // made, and a dump applied back prints and writes nothing.
    std::string check_property(Editor &e, int count, unsigned seed) {
        if (const char *directories = getenv("CORVANE_DIRECTORIES")) count = std::stoi(directories);
        random_.seed(seed);
        std::map<std::string, std::string> base;
        for (const auto &entry : std::filesystem::directory_iterator(e.dir.path())) {
            std::string name = entry.path().filename();
            if (entry.path().extension() == ".ini" && name.compare(0, 5, "lang_") != 0) base[name] = e.dir.read(name);
        }
        // Three runs a directory: the leak search at each exit, which the
        // other scenarios make, would take most of the time.
        e.environment.push_back("ASAN_OPTIONS=detect_leaks=0");
        for (int d = 0; d < count; ++d) {
            std::map<std::string, std::string> files = base;
            std::string made = "directory " + std::to_string(d) + ":";
            // Half the directories have only quirks Korvel reads as written,
            // where a false alarm would show.
            bool misread = false, reads_only = random_() % 2;
            for (unsigned q = 0, quirks = 1 + random_() % 3; q < quirks; ++q) {
                const Words &quirk = quirks_[random_() % quirks_.size()];
                if (reads_only && quirk[1] != "reads") continue;
                const std::regex pattern(quirk[2] == "crlf" ? "" : quirk[2]);
                auto file = std::next(files.begin(), random_() % files.size());
                std::string &text = file->second;
                std::vector<std::pair<size_t, size_t>> lines;  // each matching line's start and length, its CR left out
                for (size_t at = 0, end; at < text.size(); at = end + 1) {
                    end = std::min(text.find('\n', at), text.size());
                    size_t length = end - at - (end > at && text[end - 1] == '\r');
                    if (quirk[2] != "crlf" && std::regex_match(text.begin() + at, text.begin() + at + length, pattern)) lines.emplace_back(at, length);
                }
                if (quirk[2] == "crlf" && text.find('\r') == std::string::npos) {
                    for (size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2) text.insert(at, "\r");
                } else if (lines.empty()) {
                    continue;
                } else {
                    auto [at, length] = lines[random_() % lines.size()];
                    text.replace(at, length, std::regex_replace(text.substr(at, length), pattern, quirk[3]));
                }
                made += " " + file->first + ": " + quirk[2] + " -> " + quirk[3] + ";";
                misread |= quirk[1] == "misreads";
            }
            for (const auto &file : files) e.dir.write(file.first, file.second);
            if (std::string why = run(-1, "./corvanectl check"); !why.empty()) return why;
            bool errors = ctl_out_.find(": error: ") != std::string::npos;
            if (errors != misread || refused_ != errors) return made + (misread ? " no error found\n" : " yet\n") + ctl_out_;
            if (std::string why = run(0, "./corvanectl dump --json > dump.json && ./corvanectl apply dump.json"); !why.empty()) return made + why;
            for (const auto &file : files) {
                if (!ctl_out_.empty() || e.dir.read(file.first) != file.second) return made + " a dump applied back changed " + file.first + ":\n" + ctl_out_;
            }
        }
        for (const auto &file : base) e.dir.write(file.first, file.second);
        return e.environment.pop_back(), "";
    }

    static const std::vector<StepKind> &steps() {
        static const std::vector<StepKind> kSteps = {
            // Preparing the directory and how the editor starts.
            {"replace", 3, 3, [](Runner &r, Editor &e, const Words &w, size_t) -> std::string {
                 std::string text = r.file_text(w[1]);
                 size_t at = text.find(w[2]);
                 if (at == std::string::npos) return "not in " + w[1] + ": " + w[2];
                 return e.dir.write(w[1], text.replace(at, w[2].size(), w[3])), "";
             }},
            {"write", 2, 2, [](Runner &, Editor &e, const Words &w, size_t) { return e.dir.write(w[1], w[2]), std::string(); }},
            {"tmpfs", 2, 2, [](Runner &r, Editor &e, const Words &w, size_t) {
                 // A small file system of its own, for a full disk (root only).
                 const std::string path = e.dir.path(w[1]);
                 bool ok = mkdir(path.c_str(), 0755) == 0 && mount("tmpfs", path.c_str(), "tmpfs", 0, ("size=" + w[2] + "k").c_str()) == 0;
                 if (ok) r.mounted_.push_back(path);
                 return check(ok, "cannot mount a file system (as root?)");
             }},
            {"as-nobody", 0, 0, [](Runner &, Editor &e, const Words &, size_t) { return e.unprivileged = true, std::string(); }},
            {"in-shell", 0, 0, [](Runner &, Editor &e, const Words &, size_t) { return e.in_shell = true, std::string(); }},
            {"env", 1, 1, [](Runner &, Editor &e, const Words &w, size_t) { return e.environment.push_back(w[1]), std::string(); }},
            {"window", 2, 2, [](Runner &r, Editor &e, const Words &w, size_t) {
                 // Before the start, the window it starts in; after it, a resize.
                 if (e.pid <= 0) return e.rows = number(w, 1), e.cols = number(w, 2), std::string();
                 r.mark_ = e.output.size();
                 return e.resize(number(w, 1), number(w, 2)), std::string();
             }},
            {"start", 0, 0, [](Runner &r, Editor &e, const Words &, size_t) {
                 r.snapshot();
                 return check(e.open(true), "the editor did not start (to its main menu)");
             }},
            {"launch", 0, 0, [](Runner &r, Editor &e, const Words &, size_t) { return r.snapshot(), check(e.open(false), "the editor did not start"); }},
            // How it ended, and the terminal it left.
            {"exit", 1, 1, [](Runner &, Editor &e, const Words &w, size_t) { return check(e.ended_with(number(w, 1)), "status " + std::to_string(e.status)); }},
            {"killed", 1, 2, [](Runner &r, Editor &e, const Words &w, size_t n) {
                 // Within the time given, counted from the last key or signal.
                 int since = int(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - r.pressed_at_).count());
                 int limit = n == 2 ? std::max(number(w, 2) - since, 0) : kWaitMs;
                 bool ok = e.wait_exit(limit) && WIFSIGNALED(e.status) && WTERMSIG(e.status) == signal_number(w[1]);
                 return check(ok, "not ended by SIG" + w[1] + " in time; status " + std::to_string(e.status));
             }},
            {"ended", 0, 0, [](Runner &, Editor &e, const Words &, size_t) { return check(e.wait_exit(kWaitMs), "still running"); }},
            {"signal", 1, 1, [](Runner &r, Editor &e, const Words &w, size_t) {
                 r.mark_ = e.output.size();
                 r.pressed_at_ = std::chrono::steady_clock::now();
                 return e.signal(signal_number(w[1])), std::string();
             }},
            {"hangup", 0, 0, [](Runner &, Editor &e, const Words &, size_t) { return e.hangup(), std::string(); }},
            {"sane", 0, 0, [](Runner &, Editor &e, const Words &w, size_t) { return terminal_mode(e, w); }},
            {"mode", 1, 1, [](Runner &, Editor &e, const Words &w, size_t) { return terminal_mode(e, w); }},
            // Keys and the screens that answer them.
            {"down", 1, 1, [](Runner &r, Editor &, const Words &w, size_t) { return r.move("\x1b[B", number(w, 1)); }},
            {"up", 1, 1, [](Runner &r, Editor &, const Words &w, size_t) { return r.move("\x1b[A", number(w, 1)); }},
            {"go", 1, 1, [](Runner &, Editor &e, const Words &w, size_t) { return check(e.move_to(number(w, 1)), "cannot reach the row"); }},
            {"find", 1, 1, [](Runner &, Editor &e, const Words &w, size_t) { return check(e.move_to_text(w[1]), "no row with the marker shows it"); }},
            {"enter", 2, 2, [](Runner &r, Editor &, const Words &w, size_t) { return r.press("\r"), r.await_screen(w[1], w[2]); }},
            {"choose", 3, 3, [](Runner &r, Editor &e, const Words &w, size_t) {
                 if (!e.move_to(number(w, 1))) return std::string("cannot reach the row");
                 return r.press("\r"), r.await_screen(w[2], w[3]);
             }},
            {"type", 3, 3, [](Runner &r, Editor &, const Words &w, size_t) { return r.press(w[1] + "\r"), r.await_screen(w[2], w[3]); }},
            {"send", 1, 1, [](Runner &r, Editor &, const Words &w, size_t) { return r.press(w[1]), std::string(); }},
            {"read", 0, 0, [](Runner &r, Editor &e, const Words &, size_t) {
                 // The editor has taken the keys last sent, one read call each: a
                 // key written to the terminal reaches it a moment later.
                 auto taken = [&] { return e.reads() >= r.reads_ + static_cast<long>(r.sent_) && e.unread_input() == 0; };
                 return check(e.wait_until(taken, kWaitMs), "keys are still unread");
             }},
            {"await", 2, 2, [](Runner &r, Editor &, const Words &w, size_t) { return r.await_screen(w[1], w[2]); }},
            {"leave", 0, 0, [](Runner &r, Editor &e, const Words &w, size_t) { return r.leave(e, w); }},
            {"save", 1, 1, [](Runner &r, Editor &e, const Words &w, size_t) { return r.leave(e, w); }},
            // What the screen shows.
            {"wait", 1, 1, [](Runner &r, Editor &, const Words &w, size_t) { return check(r.written_since_press(w[1]), "not written since the last key"); }},
            {"row", 2, 2, [](Runner &, Editor &e, const Words &w, size_t) {
                 return check(e.row(number(w, 1)) == w[2], "row " + w[1] + " is \"" + e.row(number(w, 1)) + "\"");
             }},
            {"colours", 3, 3, [](Runner &, Editor &e, const Words &w, size_t) { return check(e.colours(number(w, 1), number(w, 2)) == w[3], "they are " + e.colours(number(w, 1), number(w, 2))); }},
            {"never", 1, 1, [](Runner &, Editor &e, const Words &w, size_t) { return check(e.output.find(w[1]) == std::string::npos, "it was written"); }},
            {"bells", 1, 1, [](Runner &r, Editor &e, const Words &w, size_t) {
                 e.wait_until([&] { return e.bells - r.bells_ >= number(w, 1); }, kWaitMs);  // a bell may follow the redraw
                 return check(e.bells - r.bells_ == number(w, 1), std::to_string(e.bells - r.bells_) + " bells since the last key");
             }},
            {"frame-is", 1, 1, [](Runner &, Editor &e, const Words &w, size_t) { return golden_bytes(e, w); }},
            {"screen-is", 1, 1, [](Runner &, Editor &e, const Words &w, size_t) { return golden_bytes(e, w); }},
            // corvanectl, run beside the files as installed, or a shell command
            // there, to its end; their output is what out, err and keep look at.
            {"ctl", 1, 99, [](Runner &r, Editor &, const Words &w, size_t n) {
                 std::string command = "./corvanectl";
                 for (size_t i = 2; i <= n; ++i) command += " " + quoted(w[i]);
                 return r.run(number(w, 1), command);
             }},
            {"sh", 2, 2, [](Runner &r, Editor &, const Words &w, size_t) { return r.run(number(w, 1), w[2]); }},
            {"out", 1, 99, [](Runner &r, Editor &, const Words &w, size_t n) { return contains(r.ctl_out_, w, n); }},
            {"err", 1, 99, [](Runner &r, Editor &, const Words &w, size_t n) { return contains(r.ctl_err_, w, n); }},
            {"out-is", 1, 1, [](Runner &r, Editor &, const Words &w, size_t) { return check(r.ctl_out_ == w[1], "the output is\n" + r.ctl_out_); }},
            {"out-golden", 1, 1, [](Runner &r, Editor &, const Words &w, size_t) {
                 return check(r.ctl_out_ == read_file(CORVANE_TEST_DATA + w[1]), "the output differs from " + w[1] + ":\n" + r.ctl_out_);
             }},
            {"keep", 1, 1, [](Runner &r, Editor &e, const Words &w, size_t) { return e.dir.write(w[1], r.ctl_out_), std::string(); }},
            {"snapshot", 0, 0, [](Runner &r, Editor &, const Words &, size_t) { return r.snapshot(), std::string(); }},
            {"random-keys", 2, 2, [](Runner &, Editor &e, const Words &w, size_t) { return random_keys(e, number(w, 1), number(w, 2)); }},
            {"fixed-point", 0, 0, [](Runner &, Editor &e, const Words &, size_t) { return fixed_point(e); }},
            {"quirk", 3, 3, [](Runner &r, Editor &, const Words &w, size_t) { return r.quirks_.push_back(w), std::string(); }},
            {"check-property", 2, 2, [](Runner &r, Editor &e, const Words &w, size_t) { return r.check_property(e, number(w, 1), number(w, 2)); }},
            {"differential", 2, 2, [](Runner &r, Editor &e, const Words &w, size_t) { return r.differential(e, number(w, 1), number(w, 2)); }},
            // The files afterwards.
            {"has", 2, 99, [](Runner &r, Editor &, const Words &w, size_t n) { return look_into(r, w, n); }},
            {"lacks", 2, 99, [](Runner &r, Editor &, const Words &w, size_t n) { return look_into(r, w, n); }},
            {"section", 3, 99, [](Runner &r, Editor &, const Words &w, size_t n) { return look_into(r, w, n); }},
            {"unchanged", 0, 1, compare_files},
            {"untouched", 0, 1, compare_files},
        };
        return kSteps;
    }

    static std::string contains(const std::string &text, const Words &w, size_t n) {
        for (size_t i = 1; i <= n; ++i) {
            if (text.find(w[i]) == std::string::npos) return "\"" + w[i] + "\" not in\n" + text;
        }
        return "";
    }

    static std::string terminal_mode(Editor &e, const Words &w) {
        struct termios state;
        if (!e.modes(&state)) return "no terminal modes";
        bool keys = !(state.c_lflag & (ECHO | ICANON)), lines = (state.c_lflag & ECHO) && (state.c_lflag & ICANON);
        if (w[0] == "mode") return check(w[1] == "keys" ? keys : lines, "the terminal is not in " + w[1] + " mode");
        return check(lines && e.cursor_visible, "no echo, no line mode or no cursor");
    }

    std::string leave(Editor &e, const Words &w) {
        if (!e.move_to(16)) return "cannot reach the exit";
        press("\r");
        if (w[0] == "leave") return "";
        if (!written_since_press("Save the changes?")) return "no save question";
        press(w[1] + "\r");
        return check(e.ended_with(1), "status " + std::to_string(e.status));
    }

    std::string perform(Words w) {
        const size_t n = w.size() - 1;
        if (w[0] == "from" && n == 1) {
            fixture_ = w[1] == "demo" ? CORVANE_DEMO_DIR : CORVANE_TEST_DATA + w[1];
            return check(!editor_, "\"from\" must come first");
        }
        for (const StepKind &kind : steps()) {
            if (w[0] != kind.name || n < kind.least || n > kind.most) continue;
            for (std::string &word : w) word = expand(word);
            return kind.act(*this, editor(), w, n);
        }
        return "unknown step";
    }

    // A file's bytes and when it was last written: a file written again
    // with the same bytes has changed too.
    std::string state_of(const std::string &name, bool timed = true) {
        struct stat state;
        if (lstat(editor().dir.path(name).c_str(), &state) != 0) return "<missing>";
        if (S_ISFIFO(state.st_mode) || S_ISSOCK(state.st_mode)) return "<special>";  // a FIFO is never read
        if (!timed) return file_text(name);
        return file_text(name) + "@" + std::to_string(state.st_mtim.tv_sec) + "." + std::to_string(state.st_mtim.tv_nsec);
    }
    void snapshot() {
        for (const std::string &name : editor().dir.list()) started_[name] = state_of(name);
    }

    static std::string quoted(const std::string &word) {  // for the shell, whatever the bytes
        std::string text = "'";
        for (char c : word) text += c == '\'' ? std::string("'\\''") : std::string(1, c);
        return text + "'";
    }

    // A shell command in the Korvel directory, with the editor's settings,
    // to its end with `status`.
    std::string run(int status, const std::string &command) {
        if (started_.empty()) snapshot();
        char out_name[] = "/tmp/corvane-out-XXXXXX", err_name[] = "/tmp/corvane-err-XXXXXX";
        close(mkstemp(out_name)), close(mkstemp(err_name));
        std::string script = "cd " + quoted(editor().dir.path());
        for (const std::string &setting : editor_->environment) script += " && export " + quoted(setting);
        int result = std::system((script + " && (" + command + ") </dev/null >" + out_name + " 2>" + err_name).c_str());
        ctl_out_ = read_file(out_name), ctl_err_ = read_file(err_name);
        unlink(out_name), unlink(err_name);
        refused_ = !WIFEXITED(result) || WEXITSTATUS(result) != 0;
        return check(WIFEXITED(result) && (status < 0 || WEXITSTATUS(result) == status), "status " + std::to_string(result) + "\n" + ctl_out_ + ctl_err_);
    }

    std::string ctl_out_, ctl_err_;
    bool refused_ = false;
    std::mt19937 random_;
    std::map<std::string, std::string> vars_;
    std::vector<Words> quirks_;
    std::string fixture_ = CORVANE_DEMO_DIR;
    std::unique_ptr<Editor> editor_;
    std::map<std::string, std::string> started_;
    std::vector<std::string> mounted_;
    size_t mark_ = 0, sent_ = 0;
    long reads_ = 0;
    int bells_ = 0;
    std::chrono::steady_clock::time_point pressed_at_;
};

class ScenarioTest : public ::testing::Test {
public:
    explicit ScenarioTest(Scenario scenario) : scenario_(std::move(scenario)) {}
    void TestBody() override { Runner().run(scenario_); }

private:
    Scenario scenario_;
};

}  // namespace

int main(int argc, char **argv) {
    ::testing::InitGoogleTest(&argc, argv);
    for (const Scenario &scenario : load_scenarios()) {
        ::testing::RegisterTest(scenario.suite.c_str(), scenario.name.c_str(), nullptr, nullptr,
                                (CORVANE_SCENARIOS + scenario.file).c_str(), 0,
                                [scenario]() -> ::testing::Test * { return new ScenarioTest(scenario); });
    }
    return RUN_ALL_TESTS();
}
