// For whom a migrator works, and where from.
#ifndef BRINDLE_SYSTEM_TARGET_H
#define BRINDLE_SYSTEM_TARGET_H

#include <string>

#include "system/capabilities.h"
#include "system/system.h"

/// Made once by each entry function; helpers get it, or the values they need of it.
struct Target {
  std::string home;  ///< "/root", or "/home/" and the login name; empty for a running user without an account
  std::string login;            ///< login name of that home's owner
  bool is_running_user = true;  ///< the user running the program, not a profile of the archive
  bool one_of_several = false;  ///< the archive has several users
  System system = System::other;
  std::string system_version;  ///< as OSVersion has it
  std::string root;         ///< where the migrator's data lie: the archive root, or a profile's folder in it
  std::string locale = {};  ///< the person's (language.h)

  const Capabilities& has() const { return capabilities(system); }
};

/// The target of a migrator that was called with `args`, from isDefaultUser, cur_user, isMultiUser, OSName
/// and OSVersion. Prints nothing.
Target target_of(const char* args);

#endif
