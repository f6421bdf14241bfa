// The programs beside whose words a value may stand, because every word of theirs is data to them.
//
// An interpreter has no row: a value in its program, `awk '%s'` or `sh -c "%s"`, would be run. Neither has
// what runs its own words, such as xargs, env or sudo. Before a program or an option gets one, read in its
// manual that it neither runs nor evaluates what follows. `find -exec` and `tar -I` do, for instance, and are
// left out. foomatic-configure puts two of its words between quotes into command lines of its own: a value
// that would not stay one word there is refused. What a program makes of a word that reaches it whole is its
// caller's affair: grep reads a regular expression, dcop a name, perl the script that is named first.
#ifndef BRINDLE_SHELL_PROGRAMS_H
#define BRINDLE_SHELL_PROGRAMS_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace shell {

/// One row. A word is written here as the template's text without its quotes, "%s" for a value.
struct Program {
  static constexpr std::size_t any = static_cast<std::size_t>(-1);

  std::string_view name;
  std::string_view options{};        ///< the words beginning with "-" that it may have, a blank between them
  std::size_t words = any;           ///< how many other words it may have
  std::string_view reads_command{};  ///< the word that it gives to a shell, for a whole Command only
  std::string_view quotes{};         ///< the options whose words it puts between quotes for a shell
  std::string_view names_file{};     ///< those whose words become a part of a file's name

  constexpr bool has_option(std::string_view word) const { return has(options, word); }

  static constexpr bool has(std::string_view words, std::string_view word) {
    for (std::string_view rest = words; !rest.empty();) {
      const std::size_t end = std::min(rest.find(' '), rest.size());
      if (rest.substr(0, end) == word) return true;
      rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return false;
  }
};

inline constexpr std::array programs = {
    Program{"cat"},
    Program{"chown", "-R"},
    Program{"cp", "-a -f -rf"},
    Program{"dcop"},
    Program{"dos2unix", "-q"},
    Program{"fc-cache"},
    Program{"file", "-b"},
    Program{"find", "-name"},
    Program{"firefox"},
    Program{"foomatic-configure", "-s -p -c -n -d -o -D", Program::any, {}, "-c -n", "-n"},
    Program{"foomatic-ppdfile-bd", "-P%s"},
    Program{"grep", "-i"},
    Program{"iconv", "-c -f -t -o"},
    Program{"ln", "-s"},
    Program{"lpadmin", "-p -E -v -m -d"},
    Program{"lpoptions", "-p -o -d"},
    Program{"ls", "-l"},
    Program{"mkdir", "-p"},
    Program{"mount", "-l -t"},
    Program{"mozilla", "-syncin"},
    Program{"mv"},
    Program{"perl"},
    Program{"rm", "-f -rf"},
    // The one word is the login name; the words behind it would be a script's name and its arguments.
    Program{"su", "-", 1, "-c%s"},
    Program{"tar", "-xf -jxf -C"},
    Program{"unzip", "-l -o -d"},
    Program{"useradd", "-d -m -k -G -s -g"},
    Program{"zipinfo", "-v"},
};

/// The row of `name`; no value without one. A copy: while it compiles, g++ 12 with UndefinedBehaviorSanitizer
/// does not compare the address of a row with null.
constexpr std::optional<Program> program(std::string_view name) {
  for (const Program& row : programs)
    if (row.name == name) return row;
  return std::nullopt;
}

}  // namespace shell

#endif
