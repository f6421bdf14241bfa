// Mail folders for KMail: every mbox file becomes a maildir folder, one file a message.
#ifndef BRINDLE_PROCESS_MAIL_FOLDERS_KMAIL_H
#define BRINDLE_PROCESS_MAIL_FOLDERS_KMAIL_H

#include "system/target.h"

/// Converts the folder "Mail" of the target's archive root into "Mail" in its home. A message that is there
/// from an earlier run is left as it is, so running again doubles none; no other file is overwritten. Returns
/// 0, also without a home, -1 when a message could not be read or written; the others are there, or 1 when
/// something that was there could not be kept: then no further folder is converted.
int migrate_kmail_folders(const Target& target);

/// migrate_kmail_folders for the user being migrated, from the archive root `args`.
int kmailemails(const char* args);

/// Converts the mbox files of `sourcedir` and, through their NAME.sbd folders, all subfolders into maildir
/// folders in `destdir`. KMail's own names ("inbox", "sent-mail", ...) are given at the first level only,
/// when `isfirstlevel` is 1. Returns 0, also when a folder cannot be listed, which is reported as
/// "In setupemails() opendir: " with the system error, or -1 and 1 as above.
int setupemails(const char* sourcedir, const char* destdir, int isfirstlevel);

#endif
