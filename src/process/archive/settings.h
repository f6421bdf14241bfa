// The archive's key=value files: account settings, users.txt, printer descriptions.
//
// A key is found by plain containment anywhere in a line, the value part included, and the first such line
// answers. So the order of questions matters: "Display Name" also finds "SMTP Display Name=...". Lines are
// read in pieces of at most 127 bytes; where that cuts a character of UTF-8 or GB2312 in two, the line ends
// before it. Each question starts from the top of the file.
#ifndef BRINDLE_PROCESS_ARCHIVE_SETTINGS_H
#define BRINDLE_PROCESS_ARCHIVE_SETTINGS_H

#include <cstdio>
#include <optional>
#include <string>

/// The value of the first line of `fp` that contains `key`: all after the line's first "=" up to the newline,
/// nothing trimmed; empty for an empty value or a line without "=". No value when no line contains the key.
std::optional<std::string> setting(std::FILE* fp, const char* key);

/// The last character before the newline of the first line that contains `key`. An empty value thus reads as
/// '='. A last line without a newline gives its last character. No value when no line contains the key.
std::optional<char> flag_setting(std::FILE* fp, const char* key);

// ---- The same with the given signatures.

/// The setting in a 128-byte buffer that the caller frees with free(); a null pointer without a value.
char* get_string(std::FILE* fp, const char* key);

/// The flag_setting; NUL without a value.
char get_char(std::FILE* fp, const char* key);

#endif
