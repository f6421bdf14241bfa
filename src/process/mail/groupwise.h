// The GroupWise client's settings and its remote mailbox.
#ifndef BRINDLE_PROCESS_MAIL_GROUPWISE_H
#define BRINDLE_PROCESS_MAIL_GROUPWISE_H

/// Brings .gwuser.xml and gwremote from the folder Groupwise of the archive root (or a profile's folder)
/// `args` into the target user's home, with the remote mailbox's place changed from a relative path to
/// HOME/gwremote. The settings inside the archive are rewritten; their former text stays beside them as
/// .gwusertemp.xml. Without .gwuser.xml nothing is made; a missing gwremote is only logged.
/// Always returns 0.
int groupwise(const char* args);

#endif
