#include "account/readers/profiles.h"

#include <dirent.h>
#include <glib.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <string_view>

namespace account {
namespace {

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

bool is_folder(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::string value_of(GKeyFile* file, const char* group, const char* key) {
  const std::unique_ptr<char, decltype(&g_free)> value(g_key_file_get_value(file, group, key, nullptr),
                                                       g_free);
  return value == nullptr ? "" : value.get();
}

// The path of the profile that is marked as the default, or of the only or first one; empty without any.
std::string default_profile(const std::string& folder) {
  const std::unique_ptr<GKeyFile, decltype(&g_key_file_free)> file(g_key_file_new(), g_key_file_free);
  const std::string path = folder + "/profiles.ini";
  if (!g_key_file_load_from_file(file.get(), path.c_str(), G_KEY_FILE_NONE, nullptr)) return {};
  const std::unique_ptr<char*, decltype(&g_strfreev)> groups(g_key_file_get_groups(file.get(), nullptr),
                                                             g_strfreev);
  std::string chosen;
  for (char** group = groups.get(); *group != nullptr; ++group) {
    if (!std::string_view(*group).starts_with("Profile")) continue;
    const bool is_default = value_of(file.get(), *group, "Default") == "1";
    if (!chosen.empty() && !is_default) continue;
    const std::string profile = value_of(file.get(), *group, "Path");
    chosen = value_of(file.get(), *group, "IsRelative") == "0" ? profile : folder + "/" + profile;
    if (is_default) break;
  }
  return chosen;
}

std::optional<std::string> first_profile(const std::string& folder) {
  constexpr std::array<std::string_view, 4> others = {".", "..", "pluginreg.dat", "profiles.ini"};
  const std::unique_ptr<DIR, CloseFolder> entries(opendir(folder.c_str()));
  if (entries == nullptr) return std::nullopt;
  for (const dirent* entry; (entry = readdir(entries.get())) != nullptr;)
    if (std::ranges::find(others, std::string_view(entry->d_name)) == others.end())
      return folder + "/" + entry->d_name;
  return std::nullopt;
}

}  // namespace

std::optional<std::string> browser_profile(const std::string& folder) {
  const std::string chosen = default_profile(folder);
  return !chosen.empty() && is_folder(chosen) ? chosen : first_profile(folder);
}

}  // namespace account
