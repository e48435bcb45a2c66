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
static void read_texts(FILE *file) {
    char line[300];
    for (int number = 0; number < kTextCount; ++number) {
        if (!std::fgets(line, sizeof line, file)) {
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

// Opens language file `language` of program `kind` at the line after its
// section header, keeping the version the lines before it give. Null with
// `result` 1 when the file cannot be opened, 2 when it has no such section.
static FILE *open_section(int kind, int language, char *path, size_t size, int &result, char *version) {
    const char *header = section_header(kind);
    language_path(path, size, kind, language);
    int error = 0;
    FILE *file = open_regular(path, &error);
    if (!file) {
        note_unreadable(path, error);
        result = 1;
        return nullptr;
    }
    version[0] = '\0';
    char line[300];
    while (header && std::fgets(line, sizeof line, file)) {
        strip_line_end(line);
        if (std::strcmp(line, header) == 0) return file;
        if (std::strncmp(line, "Version:", 8) == 0 && std::strlen(line) > 9) {
            const char *text = line + 8;
            if (*text == ' ') ++text;
            copy_text(version, text, sizeof LangFileVersion - 1);
        }
    }
    note_unreadable(path, kNoSection);
    std::fclose(file);
    result = 2;
    return nullptr;
}

bool language_loadable(int language) {
    char path[kProgramDirSize + 32], version[sizeof LangFileVersion];
    int result = 0;
    FILE *file = open_section(kCorvane, language, path, sizeof path, result, version);
    if (file) std::fclose(file);
    return file != nullptr;
}

int LoadText(int kind, int language) {
    char path[kProgramDirSize + 32], version[sizeof LangFileVersion];
    int result = 0;
    FILE *file = open_section(kind, language, path, sizeof path, result, version);
    if (result == 1) {
        char message[sizeof path + 32];
        std::snprintf(message, sizeof message, "\n\rCannot open file %s ", path);
        printfc(message);
        return 1;
    }
    copy_text(LangFileVersion, version, sizeof LangFileVersion - 1);
    if (result == 2) {
        const char *header = section_header(kind);
        char message[64];
        std::snprintf(message, sizeof message, "\n\rCannot found section %s ", header ? header : "");
        printfc(message);
        return 2;
    }

    read_texts(file);
    std::fclose(file);
    if (kind != kTarnwick && kind != kHalverton) return 0;

    for (int i = 0; i < 20; ++i) copy_text(sys_mess[i], LangText[80 + i], sizeof sys_mess[i] - 1);
    for (int i = 0; i < 50; ++i) copy_text(LM[i], LangText[1 + i], sizeof LM[i] - 1);
    size_t used = std::strlen(LM[0]);
    std::snprintf(LM[0] + used, sizeof LM[0] - used, "   [ %s ]", "Version 5.3.0");
    return 0;
}
