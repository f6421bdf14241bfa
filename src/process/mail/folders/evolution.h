// Mail folders for Evolution: mbox files with a NAME.sbd folder beside them for the subfolders, either
// copied as they are (Evolution 2) or rebuilt as the tree of Evolution 1.
#ifndef BRINDLE_PROCESS_MAIL_FOLDERS_EVOLUTION_H
#define BRINDLE_PROCESS_MAIL_FOLDERS_EVOLUTION_H

#include <string>

#include "system/target.h"

/// What became of the mail folders.
enum class Folders {
  copied,
  not_all,  ///< there were too many names for the command, and they could not all be copied here
  not_kept  ///< something that was there could not be kept: it was left, and all else with it
};

/// Stops a running Evolution by command.
void stop_evolution();

/// Stops Evolution and puts the mail folders of `mail_dir` into the store of `target`: unchanged into
/// .evolution/mail/local when the home has ".evolution", else as Evolution 1's tree into evolution/local.
/// The store is made where it is missing; a command that fails is only logged.
[[nodiscard]] Folders migrate_mail_folders(const Target& target, const std::string& mail_dir);

/// migrate_mail_folders for the user being migrated. Returns a null pointer.
void* mails_pop(const char* mail_dir);

/// Builds Evolution 1's tree of the folders in `mail_dir` under `dest`, which ends in "/". A folder that
/// cannot be listed ends the walk, and the list of folders, email_sbd_sbd, then stays in the home. A file of
/// that name that cannot be kept stays, and nothing is built.
void evolution_old(const char* mail_dir, const char* dest);

/// Makes one folder of Evolution 1 out of the mbox file `name` in `path`: a directory with "mbox" and
/// "folder-metadata.xml" at its staging place under `dest`.
void file_to_folder(const char* path, const char* name, const char* dest);

/// Rewrites a source folder's path in place into its staging path under `dest`:
///
///   path                           dest                      becomes
///   M                              M/brindlemail/            M/brindlemail/
///   M/Work.sbd                     M/brindlemail/            M/brindlemail/Work/subfolders
///   M/Work.sbd/Old.sbd             M/brindlemail/            M/brindlemail/Work/subfolders/Old/subfolders
///
/// The result is longer than the path: the buffer has PATH_MAX bytes. A result that does not fit leaves it
/// empty.
void delete_sbd_add_subfolders(char* path, const char* dest);

/// Removes one newline at the end of `buf`, if there is one.
void delete_new_line(char* buf);

#endif
