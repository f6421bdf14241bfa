#include "gconf/kept_key.h"

#include <glib.h>

#include <cstdio>
#include <optional>
#include <set>
#include <string>

#include "keep/keep.h"
#include "things/setting.h"

namespace {

std::set<std::string> files_of_keys;  // since finish_keys; the worker's alone

// The daemon's own idea of it.
std::string settings_folder() { return std::string(g_get_home_dir()) + "/.gconf"; }

// One in each folder on the way: a daemon looks into no folder without one.
bool keep_files(const std::string& key) {
  for (std::size_t end = key.find('/', 1); end != key.npos; end = key.find('/', end + 1)) {
    const std::string file = settings_folder() + key.substr(0, end) + "/%gconf.xml";
    if (!keep::before_change(file)) return false;
    files_of_keys.insert(file);
  }
  return true;
}

}  // namespace

bool keep_settings_folder() { return keep::before_change(settings_folder()); }

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

void finish_keys(GConfClient* through) {
  if (through == nullptr || files_of_keys.empty()) return;
  std::string error;
  if (!things::write_settings(through, error)) std::fprintf(stderr, "settings: %s\n", error.c_str());
  // Said once more, they are looked at once more.
  for (const std::string& file : files_of_keys) static_cast<void>(keep::before_change(file));
  files_of_keys.clear();
}
