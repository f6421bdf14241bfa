// Evolution in a home that was only just made.
#ifndef BRINDLE_PROCESS_MAIL_EVOLUTION_NEW_HOME_H
#define BRINDLE_PROCESS_MAIL_EVOLUTION_NEW_HOME_H

#include "system/target.h"

/// Evolution's lists of sources.
enum class SourceList { addressbook, calendar, tasks };

/// A new home is a copy of a skeleton that was the superuser's, so Evolution's lists of sources still name
/// file:///root. Replaces every line of the list's %gconf.xml that does so by the group "On This Computer" of
/// `target`. Returns the result of the last command, or -1 when there is no home or a file cannot be kept,
/// read or written; the list is then as it was.
int repair_source_list(const Target& target, SourceList list);

/// repair_source_list for the user being migrated.
int updateAddressbookGconf();
int updateCalendarGconf();
int updateTasksGconf();

/// Lets Evolution make its folders: when the target's home has neither "evolution" nor ".evolution", starts
/// it on a thread of its own, waits 10 seconds and stops it by command. It is not started when what it works
/// on could not be kept.
void start_evolution_once(const Target& target);

/// start_evolution_once for the user being migrated.
void launch_evolution();

#endif
