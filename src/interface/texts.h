// Interface texts: one plain file a language under /usr/local/brindle, one "key=text" a line.
//
// A key is found on the first line that CONTAINS it anywhere, so the order of the lines matters: a key must
// stand before every line that holds it as part of a longer one (window1 before window1-next).
#ifndef BRINDLE_INTERFACE_TEXTS_H
#define BRINDLE_INTERFACE_TEXTS_H

#include <cstdio>

/// The language code: the first five characters of LC_CTYPE (on "GNome", when it is set) or LANG; empty for
/// a shorter or unset variable. Detects the system again and prints its trace lines at every call. Never
/// freed by callers.
char* get_language();

/// The characters `start` to `end` of `str`, both included, at most 255, in a buffer that lives as long as
/// the program. A shared empty text when `str` has fewer than end - start + 1 characters.
char* substring_r(const char* str, int start, int end);

/// The interface text file of get_language(), opened for reading; null when there is none. With an empty
/// code that is the folder itself, which opens but has no lines.
std::FILE* get_language_file();

/// The text of `key`: all after the first "=" of its line up to the newline, as it stands, in a buffer that
/// lives as long as the program. A shared empty text for a missing key. Lines are read in pieces of 511
/// characters.
char* get_widget_string(std::FILE* fp, const char* key);

#endif
