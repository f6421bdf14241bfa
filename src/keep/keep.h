// Keeps what a run is about to replace, so that brindle-undo can give it back.
//
// Whatever changes somebody's files says so first:
//
//   if (!keep::before_change(prefs)) return -1;
//   SYSTEM(compose("rm %s", prefs));
//
// What lies there is copied into ~/.brindle_before/DATE-TIME/ of that home and written into its list; what
// does not lie there yet is written down as made by the run. Outside of the homes it is kept in the home of
// whoever runs the program. False means that it could not be kept, which was said on standard error: then the
// change must not be made. Without a run (begin_run), and for paths in /tmp, everything is true and nothing
// is kept.
//
// replace_file, append_to_file, copy_entries and copy_over (src/shell) call this themselves.
#ifndef BRINDLE_KEEP_KEEP_H
#define BRINDLE_KEEP_KEEP_H

#include <ctime>
#include <string>

#include "keep/list.h"

namespace keep {

/// Begins a run of the person whose home is `home`: what changes from now on is kept under the time `now`.
void begin_run(const std::string& home, std::time_t now);

/// Before `path`, absolute, is replaced, cut, rewritten, removed or made, with all below it if it is a folder
/// that goes. When it is a link, the link is kept, and the file that it names as well. Its folder is written
/// down, too, and those above it that are missing. A path that was there at an earlier call, or that the run
/// itself has made, is kept no second time.
[[nodiscard]] bool before_change(const std::string& path);

/// Before the entries of the folder `from`, but hidden ones, are copied into the folder `to`, over what has
/// the same name there: all that the copy would replace is kept, files whose content stays the same are not.
/// `to` may be missing.
[[nodiscard]] bool before_copy(const std::string& from, const std::string& to);

/// Before a program of somebody else works in the folder `path`: its files up to 1 MiB are kept, of larger
/// ones and of folders that are there the names are written down. What is new after it is taken for its work.
[[nodiscard]] bool before_program(const std::string& path);

/// Before owners or modes are changed in all of the tree at `path`: writes down those that are there before.
[[nodiscard]] bool before_attributes(const std::string& path);

/// Writes a row about what is no file (the kinds gconf, queue, default_queue and account) to the list of
/// whoever runs the program; the first `before` of a name counts.
[[nodiscard]] bool before_change_of(Kind kind, const std::string& name, const std::string& before);

/// What became of it.
void now_is(Kind kind, const std::string& name, const std::string& became);

/// Looks at everything that was written down since the last call, and writes what became of it.
void settle();

/// settle, and the lists are complete.
void end_run();

/// The folder ~/.brindle_before/DATE-TIME of the person who runs the program; empty when nothing was kept or
/// made.
std::string folder_of_run();

}  // namespace keep

#endif
