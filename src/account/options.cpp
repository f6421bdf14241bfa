#include "account/options.h"

#include <algorithm>
#include <functional>

namespace account {
namespace {

struct Option {
  const char* name;
  void (*set)(Options& options, const std::string& value);
};

void set_system(Options& options, const std::string& value) {
  options.system = system_called(value);
  if (!options.system) throw UsageError("there is no system '" + value + "'");
}

// DIR, or LOGIN=DIR for a profile of the archive. Whose home a DIR is depends on the archive.
void set_home(Options& options, const std::string& value) {
  const std::size_t equals = value.find('=');
  const std::size_t slash = value.find('/');
  std::string folder = equals < slash ? value.substr(equals + 1) : value;
  while (folder.size() > 1 && folder.ends_with('/')) folder.pop_back();
  if (folder.empty()) throw UsageError("--home needs a folder");
  if (equals < slash) {
    options.homes[value.substr(0, equals)] = folder;
  } else {
    options.folders.push_back(folder);
  }
}

constexpr Option options_with_value[] = {
    {"--system", set_system},
    {"--home", set_home},
    {"--html", [](Options& options, const std::string& value) { options.html = value; }},
    {"--tsv", [](Options& options, const std::string& value) { options.tsv = value; }},
    {"--missing", [](Options& options, const std::string& value) { options.missing = value; }},
    {"--replaced", [](Options& options, const std::string& value) { options.replaced = value; }},
};

}  // namespace

const char* const usage =
    R"(usage: brindle-account [options] ARCHIVE.zip
       brindle-account [options] --run [FILE]

Counts what a migration archive holds and what of it has arrived on this machine, for each person and each kind of
data, and names everything that has not arrived. Reads only; run it after Brindle.

  --run [FILE]       takes archive, system and homes from the note that Brindle left of its last run
                     (default: .brindle_run in your home)
  --before           looks ahead instead: what the archive holds, and what would go wrong
  --system NAME      gnome, nld, linspire, xandros, redflag or redflag-plus (default: this machine's)
  --home DIR         a home; may be given several times. It is that of the person in the archive whose login name
                     its last part is, any other that of the person who ran Brindle (default: yours)
  --home LOGIN=DIR   home of a person in the archive (default: /home/LOGIN), whatever its name
  --html FILE        writes the page for people there
  --tsv FILE         writes the table of counts there; with --before, the table of warnings
  --missing FILE     writes the table of what has not arrived there
  --replaced FILE    with --run, writes the table of what the run replaced there, and where the old things lie
  --help             this text

Exit status: 0 everything has arrived, 1 something has not, 2 it cannot be told. With --before: 0 nothing to warn of,
1 warnings, 2 the archive cannot be read.
)";

bool names_home_of(const Options& options, std::string_view login) {
  return std::ranges::any_of(options.folders, [login](std::string_view folder) {
    return folder.substr(folder.rfind('/') + 1) == login;
  });
}

Options read_options(int count, const char* const* words) {
  Options options;
  for (int i = 1; i < count; ++i) {
    const std::string word = words[i];
    const auto* const known = std::ranges::find(options_with_value, word, &Option::name);
    if (word == "--help") {
      options.help = true;
    } else if (word == "--before") {
      options.before = true;
    } else if (word == "--run") {
      options.of_note = true;
    } else if (known != std::end(options_with_value)) {
      if (i + 1 == count) throw UsageError(word + " needs a value");
      known->set(options, words[++i]);
    } else if (word.starts_with('-')) {
      throw UsageError("there is no option " + word);
    } else if (!options.archive.empty()) {
      throw UsageError("only one archive can be given");
    } else {
      options.archive = word;
    }
  }
  if (options.before && options.of_note) throw UsageError("--before and --run exclude each other");
  if (!options.replaced.empty() && !options.of_note) throw UsageError("--replaced needs --run");
  if (options.archive.empty() && !options.help && !options.of_note) throw UsageError("no archive is given");
  return options;
}

}  // namespace account
