#include "main/options.h"

#include <getopt.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

namespace {

constexpr const char* usage = R"(usage: brindle [options]

Opens the wizard that moves a person's files and settings from Windows to this desktop. It asks for the migration
archive, the zip file that was packed on the Windows PC, and tells at the end what has arrived. With the archives of
several people it makes their accounts; only root can do that, and set up printers.

  --display DISPLAY  the X display to open the windows on
  --help             this text
  --version          the version

The language is that of LC_CTYPE or LANG. What a migration would do can be looked at before with brindle-account
--before, and taken back afterwards with brindle-undo.
)";

enum : int { unknown = '?', help = 'h', version = 'V', of_toolkit = 256 };

// The toolkit's own, and those that a desktop's session adds.
const option options[] = {
    {"help", no_argument, nullptr, help},
    {"version", no_argument, nullptr, version},
    {"display", required_argument, nullptr, of_toolkit},
    {"screen", required_argument, nullptr, of_toolkit},
    {"class", required_argument, nullptr, of_toolkit},
    {"name", required_argument, nullptr, of_toolkit},
    {"gtk-module", required_argument, nullptr, of_toolkit},
    {"gdk-debug", required_argument, nullptr, of_toolkit},
    {"gdk-no-debug", required_argument, nullptr, of_toolkit},
    {"gtk-debug", required_argument, nullptr, of_toolkit},
    {"gtk-no-debug", required_argument, nullptr, of_toolkit},
    {"g-fatal-warnings", no_argument, nullptr, of_toolkit},
    {"sync", no_argument, nullptr, of_toolkit},
    {"sm-client-id", required_argument, nullptr, of_toolkit},
    {"sm-config-prefix", required_argument, nullptr, of_toolkit},
    {"sm-disable", no_argument, nullptr, of_toolkit},
    {},
};

// Of several letters in one word the one that is not known.
std::string refused_option(const char* word) {
  const bool is_letter = optopt != 0 && optopt < of_toolkit && optopt != help && optopt != version;
  return is_letter ? std::string("-") + static_cast<char>(optopt) : word;
}

// getopt takes the beginning of a name as well, the toolkit does not.
bool is_whole(const char* word, const option* of_word) {
  return of_word == nullptr || std::string_view(word).substr(2, std::strcspn(word, "=") - 2) == of_word->name;
}

int refuse(const std::string& what) {
  std::fprintf(stderr, "brindle: %s; brindle --help tells more\n", what.c_str());
  return 2;
}

}  // namespace

std::optional<int> answer_options(int argc, char** argv) {
  opterr = 0;
  for (;;) {
    const int at = optind;
    int row = -1;
    const int option = getopt_long(argc, argv, "+hV", options, &row);
    if (option == -1) break;
    if (option == unknown || !is_whole(argv[at], row < 0 ? nullptr : &options[row]))
      return refuse("the option " + refused_option(argv[at]) + " is not known, or not given like this");
    if (option == help) return std::fputs(usage, stdout), 0;
    if (option == version) return std::puts("brindle " BRINDLE_VERSION), 0;
  }
  if (optind < argc) return refuse("\"" + std::string(argv[optind]) + "\" is no option");
  return std::nullopt;
}
