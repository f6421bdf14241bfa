#include "system/target.h"

#include "shell/home.h"
#include "state/state.h"
#include "system/language.h"

Target target_of(const char* args) {
  const Owner owner = current_owner();
  return {.home = owner.home,
          .login = owner.login,
          .is_running_user = isDefaultUser != 0,
          .one_of_several = isMultiUser != 0,
          .system = detected_system(),
          .system_version = OSVersion,
          .root = args,
          .locale = persons_locale()};
}
