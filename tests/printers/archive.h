// Printer folders of archives, and stand-ins for the programs that are run on them.
#ifndef BRINDLE_TESTS_PRINTERS_ARCHIVE_H
#define BRINDLE_TESTS_PRINTERS_ARCHIVE_H

#include <functional>
#include <map>
#include <string>
#include <vector>

constexpr const char* archive = "/tmp/archive";

/// A description file in the order of docs/printers.md, with CR LF line ends: a laser printer on LPT1 without
/// any settings, in which the named values are changed.
std::string description(const std::map<std::string, std::string>& changes = {});

/// Puts a description file into the archive's folder "Printers".
void add_printer(const std::string& file, const std::map<std::string, std::string>& changes = {});

/// Puts a program in front of a real one: a shell script with this body.
void stand_in(const std::string& program, const std::string& body = "exit 0");

/// The recorded commands that begin with one of `words`, blanks in front left aside.
std::vector<std::string> commands_of(const std::vector<std::string>& words);

/// Standard output of `action`.
std::string traces(const std::function<void()>& action);

#endif
