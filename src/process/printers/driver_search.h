// The search for a driver by the words of a Windows driver name, and the question to the person when nothing
// is found.
//
// Both searches look for the whole name, then drop word after word from its end down to three words; names
// of one or two words are never searched. Of more than ten words the first ten count. A person who declines
// the question gets no model. Search results are files in the folder `home`: "ppd.txt" and, of CUPS's model
// list, "ppdlist.txt", which stays behind.
#ifndef BRINDLE_PROCESS_PRINTERS_DRIVER_SEARCH_H
#define BRINDLE_PROCESS_PRINTERS_DRIVER_SEARCH_H

#include <string>

/// What a queue is made with.
struct Model {
  std::string id;      ///< foomatic's id of the printer in its single quotes; empty for CUPS
  std::string driver;  ///< foomatic's driver in its single quotes, or the name of a PPD; empty: none
};

// Each keeps what the search of that name replaces in the folder `home`. False when that fails: then there
// must be no search.
[[nodiscard]] bool keep_foomatic_search(const std::string& home);
[[nodiscard]] bool keep_cups_search(const std::string& home);

/// Searches the foomatic database. Either text of the model is empty when the line found, or the person's
/// answer, does not have it, or it is longer than 255 bytes or holds a NUL. Leaves both in `Id2` and
/// `Driver2` as well.
Model find_foomatic_model(const std::string& home, const std::string& driver_name);

/// Searches the model list of CUPS for a model marked "recommended". Leaves the PPD's name in `Driver` as
/// well, which points at `selecteddriver` after a question.
Model find_cups_model(const std::string& home, const std::string& driver_name);

/// The two searches in the home of the user being migrated, whose answers are in the globals. Both return an
/// empty text. Where their files cannot be kept nothing is searched.
char* finddriver(const char* drivername);
char* nldfinddriver(const char* drivername);

#endif
