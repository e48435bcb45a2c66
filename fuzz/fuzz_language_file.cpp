// Language files are copied between machines and edited by hand: whatever
// they hold, loading them must neither crash nor leave a text unterminated.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <unistd.h>

#include "console/globals.h"
#include "console/lang.h"

static char path[kProgramDirSize + 32];

static bool prepare() {
    char pattern[] = "/tmp/corvane-fuzz-lang-XXXXXX";
    if (!mkdtemp(pattern)) return false;
    std::snprintf(ProgramDir, kProgramDirSize, "%s/", pattern);
    std::snprintf(path, sizeof path, "%slang_00.ini", ProgramDir);
    return AllocText() == 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static bool ready = prepare();
    if (!ready) std::abort();
    FILE *file = std::fopen(path, "wb");
    if (!file) std::abort();
    std::fwrite(data, 1, size, file);
    std::fclose(file);
    // The editor's own section, then one that also fills the status texts.
    for (int kind : {kCorvane, kTarnwick}) {
        LoadText(kind, 0);
        for (char *text : LangText) {
            if (std::memchr(text, '\0', kTextSize) == nullptr) std::abort();
        }
    }
    return 0;
}
