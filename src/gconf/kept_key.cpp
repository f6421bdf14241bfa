#include "gconf/kept_key.h"

#include <glib.h>

#include <cstdio>
#include <optional>
#include <string>

#include "keep/keep.h"
#include "things/setting.h"

namespace {

// One in each folder on the way: a daemon looks into no folder without one.
bool keep_files(const std::string& key) {
  const std::string settings = std::string(g_get_home_dir()) + "/.gconf";  // the daemon's own idea of it
  for (std::size_t end = key.find('/', 1); end != key.npos; end = key.find('/', end + 1))
    if (!keep::before_change(settings + key.substr(0, end) + "/%gconf.xml")) return false;
  return true;
}

}  // namespace

bool keep_key(GConfClient* through, const char* key) {
  std::string error;
  const std::optional<std::string> state = things::setting_state(through, key, error);
  if (state) return keep::before_change_of(keep::Kind::gconf, key, *state) && keep_files(key);
  std::fprintf(stderr, "%s could not be kept as it is, so it is not set: %s\n", key, error.c_str());
  return false;
}

void note_key(GConfClient* through, const char* key) {
  std::string error;
  if (const auto state = things::setting_state(through, key, error))
    keep::now_is(keep::Kind::gconf, key, *state);
}
