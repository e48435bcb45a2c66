#include "fuzz/checks.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "config/model_code.h"
#include "config/fields.h"
#include "config/group_profile.h"
#include "config/ini_reader.h"
#include "config/ini_writer.h"
#include "config/record.h"
#include "config/language.h"
#include "console/lang.h"
#include "config/codec.h"

namespace {

[[noreturn]] void fail_and_abort(const char *what) {
    std::fprintf(stderr, "check failed: %s\n", what);
    std::abort();
}

void require(bool holds, const char *what) {
    if (!holds) CheckFailed(what);
}

void load(IniFile file, const std::string &bytes) {
    std::memset(&INI, 0, sizeof INI);
    actual_section = 255;
    g_index = 0;
    EncodeINIText(file, bytes.data(), bytes.size());
    if (file == kKorvelIni) DecodeSchedules();
}

// The text a save of the record writes for `file`.
std::string produce(IniFile file) {
    FileText text;
    require(ProduceFile(file, INI, 0, text) == 0, "producing the file's text");
    std::string bytes(text.bytes, text.size);
    std::free(text.bytes);
    return bytes;
}

void check_ini_file(IniFile file, const uint8_t *data, size_t size) {
    load(file, std::string(reinterpret_cast<const char *>(data), size));
    // The first save may still drop what only the odd input carried (a
    // section past an array, a quote written into a text); from then on the
    // files must stay as they are.
    std::string first = produce(file);
    load(file, first);
    std::string second = produce(file);
    if (second == first) return;  // the same text is read the same way again
    load(file, second);
    require(produce(file) == second, "loading and saving again changes nothing");
}

}  // namespace

void (*CheckFailed)(const char *what) = fail_and_abort;

void check_korvel_ini(const uint8_t *data, size_t size) { check_ini_file(kKorvelIni, data, size); }
void check_jobs_ini(const uint8_t *data, size_t size) { check_ini_file(kJobsIni, data, size); }
void check_jobs_sts_ini(const uint8_t *data, size_t size) { check_ini_file(kJobsStsIni, data, size); }
void check_sensor_ini(const uint8_t *data, size_t size) { check_ini_file(kSensorIni, data, size); }
void check_group_ini(const uint8_t *data, size_t size) { check_ini_file(kGroupIni, data, size); }

void check_language_file(const uint8_t *data, size_t size) {
    if (!LangText[0]) require(AllocText() == 0, "text buffers");  // another test may have freed them
    for (int kind : {kCorvane, kTarnwick, kHalverton}) {
        LoadTextBytes(kind, reinterpret_cast<const char *>(data), size);
        for (char *text : LangText) require(std::memchr(text, '\0', kTextSize) != nullptr, "texts terminated");
        require(std::memchr(LangFileVersion, '\0', sizeof LangFileVersion) != nullptr, "version terminated");
        for (const char *status : sys_mess) require(std::memchr(status, '\0', sizeof sys_mess[0]) != nullptr, "status texts");
        for (const char *line : LM) require(std::memchr(line, '\0', sizeof LM[0]) != nullptr, "lines terminated");
    }
}

void check_group_profile(const uint8_t *data, size_t size) {
    static GroupEvent loaded[kGroupEvents], again[kGroupEvents];
    std::memset(loaded, 0xEE, sizeof loaded);
    ParseGroupProfile(reinterpret_cast<const char *>(data), size, loaded);
    std::string saved = ProduceGroupProfile(loaded);
    ParseGroupProfile(saved.data(), saved.size(), again);
    // The events in use come back in order; those not in use are not saved.
    // No text holds what would end a line or a value in a group file.
    int next = 0;
    for (const GroupEvent &event : loaded) {
        for (const char *text : {event.Job.File, event.Job.Message}) {
            size_t size = text == event.Job.File ? sizeof event.Job.File : sizeof event.Job.Message;
            for (size_t i = 0; i < size && text[i]; ++i) {
                require(text[i] != '"' && static_cast<unsigned char>(text[i]) >= 32 && text[i] != 127, "clean texts");
            }
        }
        if (event.Type[0] == 0) continue;
        require(std::memcmp(&again[next++], &event, sizeof event) == 0, "the same events");
    }
    const GroupEvent zero = {};
    for (; next < kGroupEvents; ++next) require(std::memcmp(&again[next], &zero, sizeof zero) == 0, "nothing more");
}

void check_schedules(const uint8_t *data, size_t size) {
    std::memset(&INI, 0, sizeof INI);
    for (int i = 0; i < kSchedules && static_cast<size_t>(i) * 20 < size; ++i) {
        size_t length = size - static_cast<size_t>(i) * 20 < 20 ? size - static_cast<size_t>(i) * 20 : 20;
        std::memcpy(INI.Schedule[i].Data, data + i * 20, length);
    }
    DecodeSchedules();
    ScheduleEntry decoded[kSchedules];
    std::memcpy(decoded, INI.Schedule, sizeof decoded);
    EncodeSchedules();
    DecodeSchedules();
    for (int i = 0; i < kSchedules; ++i) {
        const ScheduleEntry &entry = INI.Schedule[i];
        if (decoded[i].Action == kActionUnused) {
            const ScheduleEntry zero = {};
            require(std::memcmp(&entry, &zero, sizeof zero) == 0, "an unused schedule is cleared");
            continue;
        }
        require(std::strlen(entry.Data) == 18 && std::strspn(entry.Data, "0123456789ABCDEF") == 18,
                "18 upper-case digits");
        require(entry.StartTime == decoded[i].StartTime && entry.UpsIndex == decoded[i].UpsIndex &&
                    entry.Action == decoded[i].Action && entry.Period == decoded[i].Period &&
                    entry.PeriodDay == decoded[i].PeriodDay,
                "decoding what was encoded gives the same schedule");
    }
}

void check_model_code(const uint8_t *data, size_t size) {
    char code[64];
    size_t width = size < sizeof code ? size : sizeof code;
    std::memcpy(code, data, width);
    if (!FindUpsModelTxt(code, width)) {
        require(std::strcmp(FindModel.name, "Unknow model") == 0 && FindModel.brand == 255, "reset after a failure");
        return;
    }
    // Read only within the field, and the name kept to 50 characters.
    size_t length = strnlen(code, width < 50 ? width : 50);
    require(std::strlen(FindModel.name) == length && std::memcmp(FindModel.name, code, length) == 0, "the code kept");
    require(length >= 12 && FindModel.brand <= 5, "a whole code, and a brand");
}
