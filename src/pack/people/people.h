// Who has used a Windows machine.
#ifndef BRINDLE_PACK_PEOPLE_PEOPLE_H
#define BRINDLE_PACK_PEOPLE_PEOPLE_H

#include <map>
#include <string>
#include <vector>

#include "pack/disk/disk.h"
#include "pack/people/machine_registry.h"

namespace pack {

/// Somebody with a folder on the disk.
struct Person {
  std::string shown;  ///< the name of the folder, which people take for theirs
  std::string login;  ///< the account to be: one that useradd takes
  Place home;         ///< the folder
  std::string
      account{};  ///< the name they logged in with on Windows, which may be another one; empty: unknown
};

/// A disk with those of its people who are packed.
struct Machine {
  const Disk& disk;
  const std::vector<Person>& people;
  MachineRegistry registry{};
  std::vector<Person> everybody{};        ///< people who are not packed among them
  std::vector<Place> places_of_people{};  ///< and their folders, wherever they are; of those who are packed
                                          ///< from their turn on
  std::vector<Gap> gaps{};                ///< what of all this is known of and cannot be had, each once
  /// The code page of old programs' texts, by a name that iconv knows.
  std::string charset = "CP1252";
};

/// Everybody who has a folder, and the folders that are known of and cannot be had.
struct Household {
  std::vector<Person> people;
  std::vector<Gap> gaps;
};

/// All of them, ordered by name, with a login of its own each. No people when the disk has none. They have
/// folders in Users or where the registry says, on other drives too. The folders that Windows makes for
/// nobody (Default, Public, All Users, ...) are left out.
Household household_of(const Disk& disk, const MachineRegistry& registry);
std::vector<Person> people_on(const Disk& disk);

/// A login name made of a person's name: small ASCII letters, digits, "-" and "_", with a letter in front, of
/// at most 32 characters; letters of other scripts are spelt in ASCII where that is known. Names of accounts
/// that every machine has (root, daemon, ...) get a digit. "user" when nothing is left.
std::string login_of(const std::string& shown);

/// True when useradd takes it.
bool is_login(const std::string& name);

}  // namespace pack

#endif
