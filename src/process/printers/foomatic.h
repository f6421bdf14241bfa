// Printers of the KDE systems: CUPS queues made with the foomatic tools.
#ifndef BRINDLE_PROCESS_PRINTERS_FOOMATIC_H
#define BRINDLE_PROCESS_PRINTERS_FOOMATIC_H

/// Makes CUPS queues of the printers in the archive root `args` with drivers of the foomatic database; see
/// migrate_printers. Gives `Id` and `Driver` fresh empty buffers; `Id2` and `Driver2` keep the last answer.
/// Returns 0, whatever the commands did, or -1 when it ended because a file that one of them changes could
/// not be kept.
int printer(const char* args);

#endif
