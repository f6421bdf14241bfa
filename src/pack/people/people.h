// Who has used a Windows machine.
#ifndef BRINDLE_PACK_PEOPLE_PEOPLE_H
#define BRINDLE_PACK_PEOPLE_PEOPLE_H

#include <map>
#include <string>
#include <vector>

#include "pack/disk/disk.h"

namespace pack {

/// Somebody with a folder on the disk.
struct Person {
  std::string shown;  ///< the name of the folder, which people take for theirs
  std::string login;  ///< the account to be: one that useradd takes
  Place home;         ///< the folder
};

/// A disk with those of its people who are packed.
struct Machine {
  const Disk& disk;
  const std::vector<Person>& people;
};

/// All of them, ordered by name, with a login of its own each. Empty when the disk has no people. The folders
/// that Windows makes for nobody (Default, Public, All Users, ...) are left out.
std::vector<Person> people_on(const Disk& disk);

/// A login name made of a person's name: small ASCII letters, digits, "-" and "_", with a letter in front, of
/// at most 32 characters; letters of other scripts are spelt in ASCII where that is known. Names of accounts
/// that every machine has (root, daemon, ...) get a digit. "user" when nothing is left.
std::string login_of(const std::string& shown);

/// True when useradd takes it.
bool is_login(const std::string& name);

}  // namespace pack

#endif
