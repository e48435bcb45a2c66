// Keyboard input: menu keys, text lines, numbers in a range, yes/no words.
//
// Nothing here reports an error to its caller: a refused number falls back to
// the old value, a refused text leaves the field as it was. All input comes
// one byte at a time through console_getc().
#pragma once

#include <cstdint>

// Reads the next input byte (0-255), or returns -1 when no byte can ever come
// again (end of file, read error). Tests replace it with a script.
extern int (*ConsoleReadByte)();
// Called when ConsoleReadByte reports the end. In the editor it leaves at
// once with status 0, saving nothing; it does not return.
extern void (*ConsoleInputEnded)();

// The next input byte. Flushes screen output first so that the prompt is
// visible while the program waits. Returns -1 only if ConsoleInputEnded
// returns.
int console_getc();
// Pushes one byte back; the next console_getc returns it. Word reading stops
// at a blank and leaves it for the next reader, as scanf does.
void console_ungetc(int c);
// Forgets a pushed-back byte, so that the next read starts on fresh input.
void console_forget_input();

enum MenuKey { KEY_NONE, KEY_UP, KEY_DOWN, KEY_ENTER };
// One menu key: ESC always takes the next two bytes and the last of them
// decides ("A" up, "B" down); line feed is Enter; everything else is nothing.
MenuKey read_key();

// Largest `max` the line readers accept; longer lines are cut.
constexpr int kLineMax = 300;

// Reads a line; at most max - 2 characters are kept, each further one rings
// the bell, and so does a double quote or a zero byte, which the files
// cannot hold. An empty or ESC-led line leaves `destination` unchanged; any
// other fills all `max` bytes of it, zeros after the text.
void get_str(char *destination, int max, const char *prompt);
// As get_str without colour, and Enter on an empty line is ignored.
void get_prtk(char *destination, int max, const char *prompt);
// Reads a password into `destination` (room for keep + 1 bytes) with
// get_str's prompt: up to `keep` bytes, every byte accepted, since only
// their digest is kept. Returns how many were typed; 0 for an empty or
// ESC-led line.
int get_secret(char *destination, int keep, const char *prompt);
// Asks until a number in [low, high] is typed; there is no default.
uint32_t get_int(uint32_t low, uint32_t high, const char *prompt, const char *error);
// Reads a number for a field whose current value is `fallback`. An empty or
// ESC-led line gives `fallback`; a number outside [low, high] shows `error`
// with the bell, waits 2 seconds and also gives `fallback`.
uint16_t get_int1(uint32_t low, uint32_t high, uint32_t fallback, const char *unused,
                  const char *error);
// Upper-case first letter of the next word typed.
int test_key();

extern char yes_no[20];
extern char yes_no_str[220];
// The answer hint "[y=Yes,n=No]" built from the two words.
char *yesnostr(const char *yes, const char *no);
// Asks `question` and returns 1 when the answer starts like the yes word.
int get_yesno(const char *yes, const char *no, const char *question);
// Puts the yes or the no text into yes_no according to `flag`.
char *yesno(int flag, const char *yes, const char *no);

// Value of the decimal digits at the start of `text`, and how many there were.
int getnum(const char *text, uint16_t *out);

// The screen shown while one field is entered: the framed label, then the
// label again with the value colour set for the caller's current value.
void menu_insert_value(const char *label);

// ASCII-only character classes, independent of the locale.
namespace console {
int toupper(int c);
int tolower(int c);
bool isdigit(int c);
}  // namespace console
