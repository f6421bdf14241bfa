// What the writers for the mail clients share: the account files they read, and the files they make.
#ifndef BRINDLE_PROCESS_MAIL_CLIENT_FILES_H
#define BRINDLE_PROCESS_MAIL_CLIENT_FILES_H

#include <optional>
#include <string>
#include <vector>

#include "shell/compose.h"
#include "shell/files.h"
#include "shell/line_rules.h"

/// The paths of the account settings files in the archive root (or a profile's folder) `root`, in directory
/// order. No value when their folder cannot be opened, which is reported on standard error as
/// "In mail_account() opendir: " with the system error.
std::optional<std::vector<std::string>> account_files(const std::string& root);

/// replace_file and append_to_file for a file that a mail client reads. A failure is reported on standard
/// output.
[[nodiscard]] bool replace_client_file(const std::string& path, const std::string& text);
[[nodiscard]] bool append_to_client_file(const std::string& path, const std::string& text);

/// Replaces the file `to` by what `rules` make of the file `from`. A line of more than 1023 characters comes
/// as several. A missing `from` empties `to`; when `to` cannot be opened, no line is read. False, with errno
/// set, when not all of it could be written.
[[nodiscard]] bool rewrite_lines(const std::string& from, const std::string& to, LineRules rules);

/// Converts the address book of the archive's mail folder `mail` into the file `to`, which gets LF line ends.
/// `script` is the path of one of the installed scripts.
void convert_contacts(const std::string& mail, const char* script, const std::string& to);

/// Runs `command` through SYSTEM and prints "Command::" and its text afterwards. Its exit status, or -1, as
/// run_for_status has it.
int run_and_trace(const shell::Command& command);

#endif
