#include "undo/options.h"

#include <algorithm>

namespace undo {

const char* const usage =
    R"(usage: brindle-undo [--list] [--only PATH ...] [--accounts] [--yes] [DATE-TIME]

Gives back what a run of Brindle has replaced or removed, and removes what it has made, in your home and, if you are
root, everywhere. What somebody has changed since then is left as it is and named. DATE-TIME is the name of a run;
without it the newest migration is undone that is not undone yet. Whatever is removed or replaced by this is kept as
well: an undo is a run of its own, and its DATE-TIME brings back the state before it.

  --list           shows the runs; with DATE-TIME, everything that undoing that run would do
  --only PATH ...  only those files and folders, and what is in them
  --accounts       removes the accounts that the run has made, with their homes, if nobody has used them. Without it
                   they stay, without what was migrated into their homes
  --yes            does not ask
  --help           this text

Exit status: 0 everything is as it was, 1 something was left, 2 nothing was done.
)";

namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

bool is_date_time(std::string_view word) {
  constexpr std::string_view pattern = "0000-00-00-000000";
  if (word.size() < pattern.size()) return false;
  for (std::size_t at = 0; at < pattern.size(); ++at)
    if (pattern[at] == '0' ? !is_digit(word[at]) : word[at] != pattern[at]) return false;
  const std::string_view rest = word.substr(pattern.size());
  return rest.empty() || (rest.size() > 1 && rest[0] == '-' && std::ranges::all_of(rest.substr(1), is_digit));
}

Options read_options(int count, const char* const* words) {
  Options options;
  bool takes_paths = false;
  for (int i = 1; i < count; ++i) {
    const std::string word = words[i];
    if (word.empty()) throw UsageError("a path or time is empty");
    if (takes_paths && !word.starts_with("--") && !is_date_time(word)) {
      options.only.push_back(word);
      continue;
    }
    if (takes_paths && options.only.empty()) throw UsageError("--only needs a path");
    takes_paths = word == "--only";
    if (word == "--help") {
      options.help = true;
    } else if (word == "--list") {
      options.list = true;
    } else if (word == "--accounts") {
      options.accounts = true;
    } else if (word == "--yes") {
      options.yes = true;
    } else if (takes_paths) {
      continue;
    } else if (word.starts_with('-')) {
      throw UsageError("there is no option " + word);
    } else if (!is_date_time(word)) {
      throw UsageError("'" + word + "' is not the time of a run, as 2026-11-22-014530");
    } else if (!options.date_time.empty()) {
      throw UsageError("only one run can be given");
    } else {
      options.date_time = word;
    }
  }
  if (takes_paths && options.only.empty()) throw UsageError("--only needs a path");
  if (options.accounts && !options.only.empty()) throw UsageError("--accounts and --only exclude each other");
  return options;
}

}  // namespace undo
