// Documents, desktop and shared files. Without a home to put them into (no account entry) the migrators
// return -1 and touch nothing: an empty home would make "/Documents" of a path. Only file_extensions of
// several users needs no home of its own.
#ifndef BRINDLE_PROCESS_DESKTOP_DOCUMENTS_H
#define BRINDLE_PROCESS_DESKTOP_DOCUMENTS_H

/// Copies the documents folder `args` ("My Documents" or "Personal" of the archive) into the home and puts a
/// link to it on the desktop; on a system with documents_on_desktop it lies there itself. Returns 0, or -1
/// after "MyDocs " and the system error when the link cannot be written, or when documents that were too many
/// for the command could not be copied here (copy_entries).
int mydocs(const char* args);

/// Copies the Windows desktop of `args`, an archive root or a profile's folder, onto the home's. Returns 0,
/// or -1 when files that were too many for the command could not be copied here.
int desktop(const char* args);

/// Copies the files that were collected by their extension: for one user into the home, with a link on the
/// desktop; for several into /Share, with a link on every desktop under /home and on root's.
/// `args` is an archive root or a profile's folder. Returns 0, or -1 after a message with the system error
/// when files that were too many for the command could not be copied here, a link or bookmark cannot be
/// written or /home cannot be listed; a home without a desktop is only told.
int file_extensions(const char* args);

/// Puts the link to /Share on the desktop of `home` and, on a system with share_in_konqueror, a bookmark for
/// it into its Konqueror. A home without Konqueror's folder first gets the one of the skeleton home in
/// `homedirpath`, which `user` then owns.
void add_share_shortcut(const char* home, const char* user);

#endif
