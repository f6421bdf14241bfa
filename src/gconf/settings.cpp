#include "gconf/settings.h"

#include <cstdio>

#include "gconf/client.h"
#include "shell/files.h"
#include "shell/kept.h"
#include "shell/replace.h"
#include "shell/run.h"

namespace {

int set(const char* key, bool value) { return set_gconf_bool(key, value ? TRUE : FALSE); }

int set(const char* key, const std::string& value) { return set_gconf_string(key, value.c_str()); }

// By value: a GSList takes char*, not const char*.
int set(const char* key, std::vector<std::string> values) {
  GSList* list = nullptr;
  for (auto value = values.rbegin(); value != values.rend(); ++value)
    list = g_slist_prepend(list, value->data());
  const int result = set_gconf_list(key, list);
  g_slist_free(list);
  return result;
}

// False when something could not be kept.
bool make_folders(const Target& target, const SettingsFile& file) {
  for (const char* folder : file.new_folders) {
    if (!kept_before_change(target.home + "/.gconf/" + folder)) return false;
    const shell::Command command = compose("mkdir %s/.gconf/%s", target.home, folder);
    SYSTEM(command);
    if (file.announced) std::printf("Command::%s\n", command.c_str());
  }
  return true;
}

Stored write_file(const Target& target, const SettingsFile& file) {
  if (!make_folders(target, file)) return Stored::not_in_file;
  const std::string path = path_of(file, target);
  if (file.announced) std::printf("GConfPath::%s\n", path.c_str());
  return replace_file(path, file.text) ? Stored::all : Stored::not_in_file;
}

}  // namespace

Stored store_settings(const Target& target, const std::vector<Setting>& settings, const SettingsFile& file) {
  return target.is_running_user ? store_in_client(settings) : write_file(target, file);
}

Stored store_in_client(const std::vector<Setting>& settings) {
  Stored stored = Stored::all;
  for (const Setting& setting : settings) {
    const int result = std::visit([&](const auto& value) { return set(setting.key, value); }, setting.value);
    if (result != 0) stored = Stored::not_all_in_client;
  }
  return stored;
}

std::string path_of(const SettingsFile& file, const Target& target) {
  return target.home + "/.gconf/" + file.folder + "/%gconf.xml";
}
