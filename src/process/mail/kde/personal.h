// Contacts, calendar with tasks, and notes for KAddressBook, KOrganizer and KNotes. The archive's text goes
// through convert_to_utf8 (encoding.h).
#ifndef BRINDLE_PROCESS_MAIL_KDE_PERSONAL_H
#define BRINDLE_PROCESS_MAIL_KDE_PERSONAL_H

#include "system/target.h"

// Each takes the archive root (or a profile's folder) or, within a migrator, the target made of it. Returns
// 0, -1 when the new file could not be written whole: the person's old one is then as it was, or 1 when that
// could not be kept, and nothing was done. Other commands that fail are in the system log.

/// Appends the contacts of "ImapMail/Contacts/addressbook.db" to KAddressBook's standard file, whose folder
/// is made when it is missing.
int kaddressbook(const char* args);
int kaddressbook(const Target& target);

/// Replaces KOrganizer's standard calendar by the archive's calendar with its tasks behind it. Without a
/// "Calendar" folder in "ImapMail" the tasks are not migrated either.
int kmailcallendar(const char* args);
int kmailcallendar(const Target& target);

/// Replaces KNotes' notes by those of the folder "Notes": each file has a first line of label, colon and
/// title, then the note. A file without that line, and a folder, is passed over, the file with a line on
/// standard error.
int kmailnotes(const char* args);
int kmailnotes(const Target& target);

#endif
