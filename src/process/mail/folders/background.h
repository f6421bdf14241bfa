// The body of a thread that runs one command.
#ifndef BRINDLE_PROCESS_MAIL_FOLDERS_BACKGROUND_H
#define BRINDLE_PROCESS_MAIL_FOLDERS_BACKGROUND_H

/// Thread body: runs the command that `args` points to, a shell::Command that must live as long as the
/// thread, through SYSTEM. Returns a null pointer when the command has ended.
void* func(void* args);

#endif
