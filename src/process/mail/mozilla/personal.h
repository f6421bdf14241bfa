// Calendar, tasks and contacts into a profile of the Mozilla suite.
#ifndef BRINDLE_PROCESS_MAIL_MOZILLA_PERSONAL_H
#define BRINDLE_PROCESS_MAIL_MOZILLA_PERSONAL_H

#include "system/target.h"

/// Rewrites the archive's calendar.ics and tasks.ics for the Mozilla calendar (calendar_lines.h) and
/// replaces Calendar/CalendarDataFile.ics of the profile folder `path` by them, the tasks in front.
/// `args` is the archive root; its two files are rewritten in place from copies beside them. Tasks without
/// a calendar make the file alone; a calendar file that is missing counts as an empty one. Returns 0, or -1
/// when the old file could not be kept or the new one not be written whole: the old one is then there.
int mozillacalendar(const char* args, const char* path);

/// Converts the address book of the archive root `args` into ImapMail/Contacts/addressbook.xml and has
/// Mozilla import it. For another user the import goes through the administrator's profile folder `rootpath`,
/// whose own address books are set aside meanwhile, and the result is copied into the profile folder `path`.
/// Books that an earlier run has left aside are put back first; if they cannot be, nothing is imported.
/// Failing commands stop nothing. Returns 0, -1 when a book could not be copied whole: the profile's old
/// one is then back, or 1 when what was there could not be kept: nothing was imported. A migrator calls the
/// second one, with the target that it made of `args`.
int mozillaaddressbook(const char* args, const char* path, const char* rootpath);
int mozillaaddressbook(const Target& target, const char* path, const char* rootpath);

#endif
