// Printers of "GNome" systems, made with the CUPS tools, and the default printer of a profile user.
#ifndef BRINDLE_PROCESS_PRINTERS_CUPS_H
#define BRINDLE_PROCESS_PRINTERS_CUPS_H

/// Makes CUPS queues of the printers in the archive root `args` with models of CUPS's own list; see
/// migrate_printers. `Driver` keeps the last answer.
/// Returns 0, whatever the commands did, or -1 when it ended because a file that one of them changes could
/// not be kept.
int nldprinter(const char* args);

/// Makes each Windows printer in the folder "Printers" of the profile's folder `args` in turn the default of
/// the user being migrated. Deliberate: the last in directory order stays it, "Default.txt" counts like any
/// other, and a printer goes by its Windows name, whether a queue has that name or not. Returns 0, or
/// -1 as above.
int normalprinter(const char* args);

#endif
