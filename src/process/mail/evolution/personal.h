// Calendar, contacts and tasks for Evolution.
#ifndef BRINDLE_PROCESS_MAIL_EVOLUTION_PERSONAL_H
#define BRINDLE_PROCESS_MAIL_EVOLUTION_PERSONAL_H

#include <string>

#include "system/target.h"

/// Copies calendar, address book and tasks from the archive's folder "ImapMail", `folder`, into the stores of
/// Evolution 2 (the target's home has ".evolution") or Evolution 1, and for Evolution 2 makes the first
/// calendar and task list the shown ones. Folders that are missing are made. What the archive lacks is
/// skipped. Returns 0, or -1 when a file could not be copied whole: the person's old one is then as it was,
/// and the others are copied. -1 as well when an old one could not be kept: it is as it was, and nothing more
/// is copied.
int copy_personal_data(const Target& target, const std::string& folder);

/// copy_personal_data for the user being migrated.
int calendar_contacts_tasks(const char* args);

/// Makes the first calendar source of the user being migrated the one that Evolution shows. Returns 0, also
/// when there is no source or the client fails; -1 when a profile's source file cannot be opened or its list
/// of shown calendars cannot be made.
int display_calendar();

/// The same for the first task list; a profile without a source file gives 0 here.
int display_tasks();

/// Copies the first source's uid of `str`, the XML text of a source group, into `buf` (128 bytes).
/// Returns 0, or -1 after "get_source_uid " with the system error on standard error when there is none (or
/// it does not fit); `buf` is then left as it was.
int get_source_uid(const char* str, char* buf);

/// The same for a whole %gconf.xml, where quotes are written &quot; ; `buf` has 3072 bytes.
int get_source_uid2(const char* str, char* buf);

#endif
