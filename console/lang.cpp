#include "console/lang.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>


char *LangText[kTextCount];
char LangFileVersion[21];
char LM[50][100];
char sys_mess[20][30] = {"On Line",
                         "Overload",
                         "Remaining",
                         "min",
                         "AC Fail !",
                         "AC Fail, Low Battery !",
                         "Standby",
                         "Battery is bad !",
                         "On Bypass",
                         "Low Battery !",
                         "Communication is OK",
                         "Communication is lost !!!",
                         "Line Interactive"};

std::string fill_text(const char *text, std::initializer_list<const char *> values) {
    std::string out;
    auto next = values.begin();
    for (const char *at = text; *at; ++at) {
        if (at[0] == '%' && (at[1] == 's' || at[1] == 'u' || at[1] == '%')) {
            if (at[1] == '%') out += '%';
            if (at[1] != '%' && next != values.end()) out += *next++;
            ++at;
            continue;
        }
        out += *at;
    }
    return out;
}

// Copies at most `limit` characters of `source` and always terminates;
// `destination` has room for limit + 1 bytes.
void copy_text(char *destination, const char *source, size_t limit) {
    size_t length = std::strlen(source);
    if (length > limit) length = limit;
    std::memcpy(destination, source, length);
    destination[length] = '\0';
}

void preset_text(int number) { std::snprintf(LangText[number], kTextSize, "Text %03d", number); }

void FreeText() {
    for (char *&text : LangText) {
        std::free(text);
        text = nullptr;
    }
}

int AllocText() {
    FreeText();
    for (int number = 0; number < kTextCount; ++number) {
        LangText[number] = static_cast<char *>(std::malloc(kTextSize));
        if (!LangText[number]) {
            FreeText();
            return 1;
        }
        preset_text(number);
    }
    return 0;
}
