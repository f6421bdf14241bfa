// The archive's key=value files: account settings, users.txt, printer descriptions.
//
// A key is found by plain containment anywhere in a line, the value part included, and the first such line
// answers. So the order of questions matters: "Display Name" also finds "SMTP Display Name=...".
#ifndef BRINDLE_PROCESS_ARCHIVE_SETTINGS_H
#define BRINDLE_PROCESS_ARCHIVE_SETTINGS_H

#include <cstdio>
#include <optional>
#include <string>

/// The value of the first line of `fp` that contains `key`: all after the line's first "=" up to the
/// newline, nothing trimmed. Lines are read in pieces of at most 127 characters.
/// Returns a 128-byte buffer that the caller frees with free(); empty for an empty value or a line without
/// "="; a null pointer when no line contains the key. Reading starts from the top of the file each time.
char* get_string(std::FILE* fp, const char* key);

/// The last character before the newline of the first line that contains `key`; NUL without such a line.
/// An empty value thus reads as '='. A last line without a newline gives its last character.
char get_char(std::FILE* fp, const char* key);

/// get_string with an owner: no value when no line contains `key`.
std::optional<std::string> setting(std::FILE* fp, const char* key);

#endif
