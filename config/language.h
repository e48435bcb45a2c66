// Loading the user-interface texts of a language file (lang_NN.ini, or
// lang1_NN.ini for kHalverton) of the program directory into LangText.
#pragma once

#include <cstddef>

// The path of language file `language` for program `kind`.
void language_path(char *path, size_t size, int kind, int language);

// Loads the texts of program `kind` from language file `language`. 0 on
// success, 1 when the file cannot be opened, 2 when it has no such section.
// Texts after a gap or misnumbered line keep what they held before.
int LoadText(int kind, int language);
// The same from the bytes of a language file: 0, or 2 when they have no
// such section.
int LoadTextBytes(int kind, const char *bytes, size_t size);
// Whether this editor's texts can be loaded from language file `language`:
// the file is there, readable, and has the editor's section.
bool language_loadable(int language);
