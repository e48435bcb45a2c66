// profile: a group's events out to a profile file, or in from one, with the
// editor's profile code (a planted link is replaced, not followed; a crafted
// file cannot add a line to a group file).
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "cli/commands.h"
#include "cli/keys.h"
#include "cli/store.h"
#include "config/group_profile.h"
#include "config/record.h"

int run_profile(const std::string &action, const std::string &group_name, const std::string &path) {
    // The group as its file names it ("group_01.ini" or "01"), or by its name.
    std::string key = group_name.find(".ini") != std::string::npos ? group_name : "group_" + group_name + ".ini";
    KeyRef ref;
    int group = -1;
    if (locate_key(key + ":Common.Name", INI1, ref).empty()) group = ref.group;
    for (int g = 0; g < kGroups && group < 0; ++g) {
        const GroupEntry &entry = INI1.Group[g];
        if (entry.Name[0] && group_name == std::string(entry.Name, strnlen(entry.Name, sizeof entry.Name))) group = g;
    }
    if (group < 0) return complain(group_name + ": no such group in use"), kRefused;
    GroupEvent *events = INI1.Group[group].Event;
    int error = action == "save" ? SaveGroupProfile(path.c_str(), events) : LoadGroupProfile(path.c_str(), events);
    if (error) return complain(path + ": " + std::strerror(error)), kRefused;
    if (action == "save") return kDone;
    std::vector<std::string> written, notes;
    if (int status = save_changes(written, {}, notes)) return status;
    // Other files are written only when Korvel would otherwise read them differently; a note says so.
    std::string file = file_name(kGroupIni, number_of(groups_in_use(INI1), group));
    if (std::find(written.begin(), written.end(), file) != written.end()) std::printf("%s: the events of %s\n", file.c_str(), path.c_str());
    for (const std::string &note : notes) std::printf("%s\n", note.c_str());
    return kDone;
}
