#include "config/language.h"

#include <cstdio>
#include <cstring>

#include "config/files.h"
#include "console/lang.h"
#include "console/terminal.h"

static const char *section_header(int kind) {
    switch (kind) {
    case kTarnwick: return "[Tarnwick]";
    case kBrisken: return "[Brisken]";
    case kCorvane: return "[Corvane]";
    case kHalverton: return "[Halverton]";
    case kPellmoor: return "[Pellmoor]";
    default: return nullptr;
    }
}

void language_path(char *path, size_t size, int kind, int language) {
    std::snprintf(path, size, kind == kHalverton ? "%slang1_%02d.ini" : "%slang_%02d.ini", ProgramDir,
                  language);
}

// Drops the line end fgets left: the last character, or the last two when
// they are CR LF.
static void strip_line_end(char *line) {
    size_t length = std::strlen(line);
    if (length >= 2 && line[length - 2] == '\r') {
        line[length - 2] = '\0';
    } else if (length >= 1) {
        line[length - 1] = '\0';
    }
}

// Reads the texts after the section header, one line per number in strict
// order; a line that is not the next number's key ends the reading and leaves
// the rest as it was.
static void read_texts(const char *at, const char *end) {
    char line[300];
    for (int number = 0; number < kTextCount; ++number) {
        if (!next_line(at, end, line, sizeof line)) {
            preset_text(number);
            continue;
        }
        char key[16];
        int key_length = std::snprintf(key, sizeof key, "String%03d", number);
        if (std::strlen(line) > static_cast<size_t>(key_length) + 102) line[key_length + 102] = '\0';
        char *equals = std::strchr(line, '=');
        if (!equals || equals - line != key_length || std::strncmp(line, key, key_length) != 0) return;
        // The text stands two characters after "=" (after the opening quote)
        // and ends before the last quote of the line, when there is one.
        char *text = std::strlen(equals) > 2 ? equals + 2 : equals + std::strlen(equals);
        char *closing = std::strrchr(text, '"');
        if (closing) {
            *closing = '\0';
        } else {
            text[std::strcspn(text, "\r\n")] = '\0';
        }
        copy_text(LangText[number], text, kTextSize - 1);
    }
}

// Moves `at` to the line after the section header of program `kind`,
// keeping the version the lines before it give. False when there is no
// such section.
static bool find_section(int kind, const char *&at, const char *end, char *version) {
    const char *header = section_header(kind);
    version[0] = '\0';
    char line[300];
    while (header && next_line(at, end, line, sizeof line)) {
        strip_line_end(line);
        if (std::strcmp(line, header) == 0) return true;
        if (std::strncmp(line, "Version:", 8) == 0 && std::strlen(line) > 9) {
            const char *text = line + 8;
            if (*text == ' ') ++text;
            copy_text(version, text, sizeof LangFileVersion - 1);
        }
    }
    return false;
}

// Language file `language` of program `kind`, read whole; the reason it
// cannot be read is noted.
static FileBytes read_language_file(int kind, int language, char (&path)[kProgramDirSize + 32]) {
    language_path(path, sizeof path, kind, language);
    FileBytes file = read_file_bytes(path);
    if (int why = unreadable(file)) note_unreadable(path, why);
    return file;
}

bool language_loadable(int language) {
    char path[kProgramDirSize + 32], version[sizeof LangFileVersion];
    FileBytes file = read_language_file(kCorvane, language, path);
    const char *at = file.bytes.data();
    if (unreadable(file)) return false;
    if (find_section(kCorvane, at, at + file.bytes.size(), version)) return true;
    note_unreadable(path, kNoSection);
    return false;
}

int LoadText(int kind, int language) {
    char path[kProgramDirSize + 32];
    FileBytes file = read_language_file(kind, language, path);
    if (unreadable(file)) {
        char message[sizeof path + 32];
        std::snprintf(message, sizeof message, "\n\rCannot open file %s ", path);
        printfc(message);
        return 1;
    }
    int result = LoadTextBytes(kind, file.bytes.data(), file.bytes.size());
    if (result == 2) note_unreadable(path, kNoSection);
    return result;
}

int LoadTextBytes(int kind, const char *bytes, size_t size) {
    char version[sizeof LangFileVersion];
    const char *at = bytes, *end = bytes + size;
    bool found = find_section(kind, at, end, version);
    copy_text(LangFileVersion, version, sizeof LangFileVersion - 1);
    if (!found) {
        const char *header = section_header(kind);
        char message[64];
        std::snprintf(message, sizeof message, "\n\rCannot found section %s ", header ? header : "");
        printfc(message);
        return 2;
    }

    read_texts(at, end);
    if (kind != kTarnwick && kind != kHalverton) return 0;

    for (int i = 0; i < 20; ++i) copy_text(sys_mess[i], LangText[80 + i], sizeof sys_mess[i] - 1);
    for (int i = 0; i < 50; ++i) copy_text(LM[i], LangText[1 + i], sizeof LM[i] - 1);
    size_t used = std::strlen(LM[0]);
    std::snprintf(LM[0] + used, sizeof LM[0] - used, "   [ %s ]", "Version 5.3.0");
    return 0;
}
