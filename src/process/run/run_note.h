// The note that a run leaves in the running user's home, for the account of it: ".brindle_run", lines of
// key=value.
//
//   archive=/media/cdrom/Old PC.zip    as an absolute path
//   system=gnome                       or nld, linspire, xandros, redflag, redflag-plus
//   person=root                        the running user first, then each profile of the archive
//   home=/root                         of the person above
//   account=before                     of a profile whose account was there before the run
//   begun=1132610735                   seconds since 1970
//   kept=/root/.brindle_before/2005-11-21-225215   what was there before; missing while there is none
//   over=1132611022                    missing while the run goes on
//   ending=ended                       or begun, cancelled, refused
//
// A line end in a value is written \n or \r, and a backslash twice. A run that was killed leaves "begun".
#ifndef BRINDLE_PROCESS_RUN_RUN_NOTE_H
#define BRINDLE_PROCESS_RUN_RUN_NOTE_H

#include <string>

/// A run of `archive` begins, for the running user on the detected system. Replaces the note of an earlier
/// run. Worker, with isDefaultUser still 1.
void begin_run_note(const char* archive);

/// Adds the profiles that lie in the archive root `root`. Worker.
void add_profiles_to_run_note(const char* root);

/// The profile `login` had an account before the run, whose password stays. Worker.
void note_account_was_there(const std::string& login);

enum class RunEnd { ended, refused };

/// Adds the folder in which the run keeps what was there before, once there is one. Worker, while keep's run
/// goes on.
void add_kept_folder_to_run_note();

/// The run is over. One that was cancelled meanwhile stays cancelled. Worker; before anybody can leave the
/// wizard, since the note is read then.
void end_run_note(RunEnd how);

/// The person has cancelled the run, or closed its window. Nothing when no run is going on. GUI thread.
void cancel_run_note();

// All of them say on standard error when the note cannot be written; the run goes on.

#endif
