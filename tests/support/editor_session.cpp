#include "support/editor_session.h"

#include <cstdio>
#include <ftw.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

EditorSession::EditorSession(const std::string &korvel_dir) {
    dir.copy_from(korvel_dir);
    dir.write("lang_00.ini", read_file(std::string(CORVANE_DATA_DIR) + "lang_00.ini"));
    if (symlink(CORVANE_EDITOR, dir.path("corvane").c_str()) != 0) dir.write("no-editor", "");
}

// Lets an unprivileged user read the directory and run the editor, whatever
// the umask the files were made with: the link to the build's editor becomes
// a copy anyone may run.
static int open_up(const char *path, const struct stat *state, int, struct FTW *) {
    // A link is left alone: chmod would change what it points to. So is a
    // file a test made unreadable on purpose.
    if (!S_ISLNK(state->st_mode) && (state->st_mode & 0777) != 0) chmod(path, S_ISDIR(state->st_mode) ? 0755 : 0644);
    return 0;
}

void EditorSession::open_up_for_anyone() {
    nftw(dir.path().c_str(), open_up, 8, FTW_PHYS);
    std::remove(dir.path("corvane").c_str());
    dir.write("corvane", read_file(CORVANE_EDITOR));
    chmod(dir.path("corvane").c_str(), 0755);
}

bool EditorSession::open(bool wait_for_menu) {
    Options options;
    options.cwd = cwd.empty() ? dir.path() : cwd;
    options.unprivileged = unprivileged;
    options.stdin_null = stdin_null;
    options.environment = environment;
    if (unprivileged) {
        open_up_for_anyone();
        // The shell gives up at a PATH directory it may not search (root's own).
        options.environment.insert(options.environment.begin(), "PATH=/usr/local/bin:/usr/bin:/bin");
    }
    if (!start({dir.path("corvane")}, options)) return false;
    return !wait_for_menu || (wait_for_text("Corvane v 5.3.0 10/2012") && wait_for_marker(10));
}

bool EditorSession::wait_for_marker(int target) {
    return wait_until([&] { return target < 0 ? marker_row() >= 0 : marker_row() == target; });
}

int EditorSession::marker_row() const {
    for (int r = 0; r < 40; ++r) {
        std::string text = row(r);
        if (text.size() >= 5 && text.compare(2, 3, "-->") == 0) return r;
    }
    return -1;
}

bool EditorSession::move_to(int target) {
    for (int presses = 0; presses < 40; ++presses) {
        int now = marker_row();
        if (now == target) return true;
        int before = now;
        if (now < target) {
            down();
        } else {
            up();
        }
        if (!wait_until([&] { return marker_row() != before; })) return false;
    }
    return marker_row() == target;
}

bool EditorSession::leave_main_menu() {
    if (!move_to(16)) return false;
    enter();
    return true;
}

bool EditorSession::ended_with(int status) {
    return wait_exit(5000) && WIFEXITED(wait_status()) && WEXITSTATUS(wait_status()) == status;
}

bool EditorSession::choose(int target, const std::string &then) {
    if (!move_to(target)) return false;
    enter();
    return wait_for_text(then);
}

bool EditorSession::type(const std::string &line, int target) {
    send(line + "\r");
    return wait_for_marker(target);
}

bool EditorSession::save(const std::string &answer) {
    if (!wait_for_marker() || !leave_main_menu() || !wait_for_text("Save the changes?")) return false;
    send(answer + "\r");
    return ended_with(1);
}

std::string ini_section(const std::string &file, const std::string &name) {
    size_t start = file.find("[" + name + "]\n");
    if (start == std::string::npos) return "<no [" + name + "]>";
    return file.substr(start, file.find("\n\n", start) - start);
}
