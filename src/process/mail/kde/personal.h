// Contacts, calendar with tasks, and notes for KAddressBook, KOrganizer and KNotes. The archive's text is
// taken for GB2312 and becomes UTF-8; what does not convert is dropped.
#ifndef BRINDLE_PROCESS_MAIL_KDE_PERSONAL_H
#define BRINDLE_PROCESS_MAIL_KDE_PERSONAL_H

// Each takes the archive root (or a profile's folder) and returns 0. Commands that fail are in the system
// log.

/// Appends the contacts of "ImapMail/Contacts/addressbook.db" to KAddressBook's standard file.
int kaddressbook(const char* args);

/// Replaces KOrganizer's standard calendar by the archive's calendar with its tasks behind it. Without a
/// "Calendar" folder in "ImapMail" the tasks are not migrated either.
int kmailcallendar(const char* args);

/// Replaces KNotes' notes by those of the folder "Notes": each file has a first line of label, colon and
/// title, then the note. A file without that line, and a folder, is passed over.
int kmailnotes(const char* args);

#endif
