// What every comparison is given: one person, and where to look.
#ifndef BRINDLE_ACCOUNT_KINDS_CASE_H
#define BRINDLE_ACCOUNT_KINDS_CASE_H

#include <string>
#include <vector>

#include "account/archive/archive.h"
#include "account/model/kinds.h"
#include "account/model/tally.h"

namespace account {

/// Somebody whose things an archive holds.
struct Person {
  std::string login;
  std::string home;          ///< absolute, no slash at its end
  std::string folder;        ///< in the archive: "Brindle", or "Brindle/Profiles/LOGIN"
  bool runs = true;          ///< ran the wizard; false for a profile of the archive
  bool has_account = true;   ///< this machine knows the login
  bool is_namesake = false;  ///< a profile with the login of who ran the wizard
};

/// By which a person is told from all others: the login, of a namesake with the folder it stands for.
std::string name_of(const Person& person);

struct Case {
  const Archive& archive;
  const Person& person;
  System system;
  bool several;         ///< the archive is for several people
  bool as_root;         ///< the wizard was run by root
  std::string charset;  ///< iconv's name of the archive's Windows character set, for texts without a mark
  const char* place;    ///< of the kind on this system, as the register has it; null: it has none here
  std::string machine;  ///< what stands before absolute places, "" for this machine; no slash at its end

  /// The kind's name in the archive: the person's folder, a slash, `name`.
  std::string in_archive(std::string_view name) const { return person.folder + "/" + std::string(name); }
  /// The kind's place: in the person's home, or on the machine when it begins with a slash.
  std::string target() const;
  std::string in_home(std::string_view name) const { return person.home + "/" + std::string(name); }
};

}  // namespace account

#endif
