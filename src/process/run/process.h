// The migration run: body of the worker thread.
#ifndef BRINDLE_PROCESS_RUN_PROCESS_H
#define BRINDLE_PROCESS_RUN_PROCESS_H

/// Carries the archive g_filename onto the desktop of the running user, and of each Windows user in it,
/// posting a progress mark for each kind of data. `args` is passed to getOsVersion, which ignores it.
/// Always returns null; ends the whole program when users.txt cannot be closed.
void* process(void* args);

#endif
