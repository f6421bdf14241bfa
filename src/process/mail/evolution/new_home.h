// Evolution in a home that was only just made.
#ifndef BRINDLE_PROCESS_MAIL_EVOLUTION_NEW_HOME_H
#define BRINDLE_PROCESS_MAIL_EVOLUTION_NEW_HOME_H

// A new home is a copy of a skeleton that was the superuser's, so Evolution's lists of sources still name
// file:///root. Each of the three replaces every line of its %gconf.xml that does so by the group
// "On This Computer" of the target user. They return the result of the last command, or -1 when a file
// cannot be opened.
int updateAddressbookGconf();
int updateCalendarGconf();
int updateTasksGconf();

/// Lets Evolution make its folders: when the home of the target user has neither "evolution" nor
/// ".evolution", starts it on a thread of its own, waits 10 seconds and stops it by command.
void launch_evolution();

#endif
