// The search for a driver by the words of a Windows driver name, and the question to the user when nothing
// is found.
//
// Both searches look for the whole name, then drop word after word from its end down to three words; names
// of one or two words are never searched. Of more than ten words the first ten count.
#ifndef BRINDLE_PROCESS_PRINTERS_DRIVER_SEARCH_H
#define BRINDLE_PROCESS_PRINTERS_DRIVER_SEARCH_H

/// Searches the foomatic database. Leaves the printer's id and driver in `Id2` and `Driver2`, in the single
/// quotes of the listing, or empty texts when the user skipped the printer. Waits for the driver window when
/// nothing is found. Uses "ppd.txt" in the home of the user being migrated.
/// Returns an empty text.
char* finddriver(const char* drivername);

/// Searches the model list of CUPS for a model marked "recommended". Leaves its PPD's name in `Driver`, or
/// what the user chose in the driver window, or an empty text. Uses "ppd.txt" and "ppdlist.txt", which stays
/// behind, in the home of the user being migrated.
/// Returns an empty text.
char* nldfinddriver(const char* drivername);

#endif
