// What a run has written down of what it found: the lists in ~/.brindle_before/DATE-TIME.
//
// A list has a row a thing and change: kind, name, what was there before and what became of it, with a tab
// between each. The first row of a name has what was there, the last one what became of it. Rows of the kind
// run tell of the run itself.
#ifndef BRINDLE_ACCOUNT_READERS_KEPT_H
#define BRINDLE_ACCOUNT_READERS_KEPT_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace account {

/// What became of something that was there. `unknown`: the run ended before it could tell.
enum class Fate { replaced, removed, unknown };

struct KeptThing {
  std::string kind;  ///< the list's word for it: path, gconf, queue, default_queue or account
  std::string name;  ///< of a path: absolute
  Fate fate;
  bool is_kept = false;  ///< of a path: the old one lies in the run's folder
};

struct KeptList {
  enum class State { none, unreadable, unfinished, whole };

  State state = State::none;
  std::string run;        ///< "migration" or "undo"; empty when the list does not tell
  std::string undone;     ///< the name of the undo that took it back; empty without one
  std::size_t made = 0;   ///< things that were not there before
  bool adjusted = false;  ///< something has only another mode, owner or time now
  std::vector<KeptThing>
      things;  ///< what has another content now, is gone, or may be so; in the list's order
};

/// The names of the folders of runs, DATE-TIME each, in the home `home`; the newest first.
std::vector<std::string> kept_runs(const std::string& home);

/// Whether it can be the name of a run's folder.
bool is_kept_run(std::string_view name);

/// Reads the list `name`, "list.tsv" or "homes/LOGIN.tsv", of the run `run` in `home`. Links below the home
/// are not followed, and make it unreadable, like a list of more than a million names. Memory: what is in
/// `things`, and about 60 bytes for each other name.
KeptList read_kept_list(const std::string& home, const std::string& run, const std::string& name);

/// HOME/.brindle_before/RUN/NAME
std::string kept_path(const std::string& home, const std::string& run, const std::string& name);

/// Looks for the old ones of the paths in `list` among what the run `run` has kept in `home`; links are not
/// followed.
void look_for_old_ones(KeptList& list, const std::string& home, const std::string& run);

}  // namespace account

#endif
