#include "pack/outlook/profiles.h"

#include <algorithm>
#include <array>

#include "pack/outlook/charsets.h"

namespace pack {

namespace {

constexpr std::array<std::string_view, 7> places = {
    R"(Software\Microsoft\Office\16.0\Outlook\Profiles)",
    R"(Software\Microsoft\Office\15.0\Outlook\Profiles)",
    R"(Software\Microsoft\Office\14.0\Outlook\Profiles)",
    R"(Software\Microsoft\Office\12.0\Outlook\Profiles)",
    R"(Software\Microsoft\Office\11.0\Outlook\Profiles)",
    R"(Software\Microsoft\Windows NT\CurrentVersion\Windows Messaging Subsystem\Profiles)",
    R"(Software\Microsoft\Windows Messaging Subsystem\Profiles)"};

constexpr std::string_view accounts = "9375CFF0413111d3B88A00104B2A6676";

// By the numbers of what they hold: the path of a PST, and of an OST.
constexpr std::array<std::string_view, 4> paths_of_files = {"001f6700", "001e6700", "001f6610", "001e6610"};

}  // namespace

std::vector<std::string> outlook_profiles(const Hive& hive) {
  std::vector<std::string> profiles;
  for (const std::string_view place : places)
    for (const std::string& name : hive.keys(place)) profiles.push_back(std::string(place) + "\\" + name);
  return profiles;
}

std::vector<std::string> accounts_in(const Hive& hive, const std::string& profile) {
  std::vector<std::string> keys;
  const std::string key = profile + "\\" + std::string(accounts);
  for (const std::string& name : hive.keys(key)) keys.push_back(key + "\\" + name);
  return keys;
}

std::string outlook_text(const Hive& hive, const std::string& key, std::string_view value) {
  if (const auto text = hive.text(key, value)) return *text;
  const auto bytes = hive.bytes(key, value);
  if (!bytes) return "";
  const bool is_of_bytes = value.starts_with("001e");
  return is_of_bytes ? text_of_code_page(*bytes, 1252) : text_of_utf16(*bytes);
}

std::vector<std::string> data_files_in(const Hive& hive) {
  std::vector<std::string> paths;
  for (const std::string& profile : outlook_profiles(hive))
    for (const std::string& name : hive.keys(profile))
      for (const std::string_view value : paths_of_files) {
        const std::string path = outlook_text(hive, profile + "\\" + name, value);
        if (!path.empty() && std::ranges::find(paths, path) == paths.end()) paths.push_back(path);
      }
  return paths;
}

}  // namespace pack
