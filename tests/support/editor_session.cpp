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

// Lets an unprivileged user read the directory whatever the umask: a link is
// left alone (chmod would change what it points to), and so is a file a test
// made unreadable on purpose.
static int open_up(const char *path, const struct stat *state, int, struct FTW *) {
    if (!S_ISLNK(state->st_mode) && (state->st_mode & 0777) != 0) chmod(path, S_ISDIR(state->st_mode) ? 0755 : 0644);
    return 0;
}

bool EditorSession::open(bool wait_for_menu) {
    Options options;
    options.cwd = cwd.empty() ? dir.path() : cwd;
    options.unprivileged = unprivileged;
    options.stdin_null = stdin_null;
    options.rows = rows;
    options.cols = cols;
    options.environment = environment;
    if (unprivileged) {
        nftw(dir.path().c_str(), open_up, 8, FTW_PHYS);
        // The link to the build's editor becomes a copy anyone may run.
        std::remove(dir.path("corvane").c_str());
        dir.write("corvane", read_file(CORVANE_EDITOR));
        chmod(dir.path("corvane").c_str(), 0755);
        // The shell gives up at a PATH directory it may not search (root's own).
        options.environment.insert(options.environment.begin(), "PATH=/usr/local/bin:/usr/bin:/bin");
    }
    if (in_shell) {
        options.environment.push_back("PS1=$ ");
        if (!start({"/bin/bash", "--norc", "--noprofile", "--noediting", "-i"}, options)) return false;
        send("./corvane\r");
    } else if (!start({dir.path("corvane")}, options)) {
        return false;
    }
    return !wait_for_menu ||
           (wait_for_text("Corvane v 5.3.0 10/2012") && wait_until([&] { return marker_row() == 10; }));
}

int EditorSession::marker_row() const {
    for (int r = 0; r < 40; ++r) {
        if (row(r).find("-->") == 2) return r;
    }
    return -1;
}

bool EditorSession::move_to(int target) {
    for (int presses = 0; presses < 40 && marker_row() != target; ++presses) {
        int before = marker_row();
        before < target ? down() : up();
        if (!wait_until([&] { return marker_row() != before; })) return false;
    }
    return marker_row() == target;
}

bool EditorSession::ended_with(int status) {
    return wait_exit(5000) && WIFEXITED(wait_status()) && WEXITSTATUS(wait_status()) == status;
}

std::string ini_section(const std::string &file, const std::string &name) {
    size_t start = file.find("[" + name + "]\n");
    if (start == std::string::npos) return "<no [" + name + "]>";
    return file.substr(start, file.find("\n\n", start) - start);
}
