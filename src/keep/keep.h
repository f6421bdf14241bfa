// Keeps what a run is about to replace, so that brindle-undo can give it back.
//
// Whatever changes somebody's files says so first:
//
//   if (!keep::before_change(prefs)) return -1;
//   SYSTEM(compose("rm %s", prefs));
//
// What lies there is copied into ~/.brindle_before/DATE-TIME/ of that home and written into its list; what
// does not lie there yet is written down as made by the run. What lies outside of the homes is kept in the
// home of whoever runs the program. False means that it could not be kept, which was said on standard error:
// then the change must not be made. Without a run, and for paths in /tmp, everything is true and nothing is
// kept.
//
// In another's home nothing is changed where its owner may have set a trap for the superuser: where a link,
// in the folders or as the last name, leads out of that home, where the file is a further name of somebody
// else's, and where a pipe or device lies. The same in no home, as in /Share, where the link or the name may
// be somebody else's. It is false, with the path and the reason on standard error.
//
// replace_file, append_to_file, copy_entries and copy_over (src/shell) call this themselves.
#ifndef BRINDLE_KEEP_KEEP_H
#define BRINDLE_KEEP_KEEP_H

#include <sys/types.h>

#include <ctime>
#include <optional>
#include <string>

#include "keep/list.h"
#include "place/beneath.h"

namespace keep {

/// Begins a run of the person whose home is `home`: what changes from now on is kept under the time `now`.
void begin_run(const std::string& home, std::time_t now);

/// Begins the taking back of the run called `of` (DATE-TIME). One that was left unfinished goes on.
void begin_undo(const std::string& home, std::time_t now, const std::string& of);

/// Before the file or link at `path`, absolute, is replaced, cut, rewritten, removed or made, or a folder is
/// made there. Of a folder that is there only mode, owner and times are written down. When it is a link, the
/// link is kept, and what it names as well. The folder it lies in is written down, too; of those that are
/// missing the uppermost counts as made with all that comes into it. What was there at an earlier call, or
/// was made by the run, is kept no second time.
[[nodiscard]] bool before_change(const std::string& path);

/// Before `path` is removed with all below it, or moved away.
[[nodiscard]] bool before_removal(const std::string& path);

/// Before the entries of the folder `from`, but hidden ones, are copied into the folder `to`, over what has
/// the same name there: all that the copy would replace is kept, files whose content stays the same are not.
/// `to` may be missing.
[[nodiscard]] bool before_copy(const std::string& from, const std::string& to);

/// The same before `from` itself, a file or a folder with all in it, is copied to the name `to`.
[[nodiscard]] bool before_copy_as(const std::string& from, const std::string& to);

/// Before things with new names are added to the folder `path`, nobody knows yet which: the names that are
/// there are written down, all others count as made. Not those in folders that are there.
[[nodiscard]] bool before_adding(const std::string& path);

/// Before a program of somebody else works in all of the folder `path`: its files up to 1 MiB are kept, the
/// others are written down, what is new after it counts as made. For folders of settings, not of somebody's
/// mail.
[[nodiscard]] bool before_program(const std::string& path);

/// Before all of the tree at `path` gets the owner `uid` or the mode `mode`: what has another one is written
/// down.
[[nodiscard]] bool before_owner(const std::string& path, uid_t uid);
[[nodiscard]] bool before_mode(const std::string& path, mode_t mode);

/// Before both at once: all gets the owner `uid`, and nobody else has any right to a file or folder.
[[nodiscard]] bool before_closing(const std::string& path, uid_t uid);

/// Before the file `path` is read by us, for the owner of the home that it lies in. False where a link leads
/// to what that owner could not read.
[[nodiscard]] bool before_reading(const std::string& path);

/// Where `path` itself lies, for whoever makes, moves or removes it: a folder that is open, over no link that
/// might be a trap, and a name in it. What becomes of the folders above meanwhile makes no difference.
place::Spot spot_of(const std::string& path);

/// The same for the file that `path` names in the end, when its last name is a link, too.
place::Spot spot_at_end(const std::string& path);

/// After an account was made with the home `path`: writes down what it holds, so that the account can go
/// again when nothing was added. What is changed there later counts as in any home.
[[nodiscard]] bool after_new_home(const std::string& path);

/// Writes down what was there before of what is no file (kinds gconf, queue, default_queue, account), in the
/// list of whoever runs the program. The first time of a name counts.
[[nodiscard]] bool before_change_of(Kind kind, const std::string& name, const std::string& before);

/// What became of it.
void now_is(Kind kind, const std::string& name, const std::string& became);

/// Looks at everything that was written down since the last call, and writes what became of it.
void settle();

/// The same, but what the run has made is read beside the caller's next commands: by the next settle or
/// end_run it is written.
void begin_to_settle();

/// settle, and the lists are complete, with one row a name. What was begun without a change leaves nothing.
void end_run();

/// The folder ~/.brindle_before/DATE-TIME of the person who runs the program; empty while nothing was written
/// there.
std::string folder_of_run();

/// Moves what lies at `path` into the kept folder, with all in it: before_removal and the removal at once.
[[nodiscard]] bool take(const std::string& path);

}  // namespace keep

#endif
