// What the run replaced, where the old things lie, and how to go back.
#ifndef BRINDLE_ACCOUNT_REPLACED_H
#define BRINDLE_ACCOUNT_REPLACED_H

#include <ostream>
#include <string>
#include <vector>

#include "account/model/texts.h"
#include "account/note.h"
#include "account/readers/kept.h"

namespace account {

/// What the run replaced of one person's. Things outside of all homes are the running person's.
struct Replaced {
  std::string login;
  std::string home;
  std::string run;         ///< the name of its folder in ~/.brindle_before
  std::string path;        ///< of the list
  bool is_undone = false;  ///< it was taken back, and `list` is empty
  KeptList list;
};

/// One for each person for whom the run of `note` has kept or made something, in the note's order. Of
/// somebody else the copy of the list counts that lies in the running person's home, if there is one: that
/// person could not change it.
std::vector<Replaced> replaced_in(const RunNote& note);

/// What to call it: its path, or "the setting /apps/x/y".
std::string name_of(const KeptThing& thing, const Texts& texts);

/// What became of it and where the old one lies, in words.
std::string told(const Replaced& replaced, const KeptThing& thing, const Texts& texts);

/// True when there is something to be named.
bool has_names(const std::vector<Replaced>& replaced);

/// How to go back, or that somebody did, a paragraph each; empty when there is no reason to. `several`: the
/// run was for a family.
std::vector<std::string> way_back(const std::vector<Replaced>& replaced, bool several, const Texts& texts);

/// "person kind name change old", one line a thing that was replaced; tab-separated, with that head. `change`
/// is replaced, removed or unknown, `old` where the old one lies, or "-". A list that cannot be read has a
/// line of the kind list.
void write_table_of_replaced(std::ostream& out, const std::vector<Replaced>& replaced);

}  // namespace account

#endif
