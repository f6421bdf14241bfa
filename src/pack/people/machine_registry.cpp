#include "pack/people/machine_registry.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "pack/disk/bytes.h"
#include "pack/registry/hive.h"

namespace pack {

namespace {

constexpr std::string_view windows_key = R"(Microsoft\Windows NT\CurrentVersion)";

// Since XP, and before.
constexpr std::array<std::string_view, 2> places_of_windows = {"Windows", "WINNT"};
constexpr std::string_view folder_of_hives = "System32/config";

// How the number of a person begins: of this machine or a domain, and of a company's cloud. Others are
// services.
constexpr std::array<std::string_view, 2> numbers_of_people = {"S-1-5-21-", "S-1-12-1-"};

std::string below(std::string_view key, std::string_view name) {
  return std::string(key) + "\\" + std::string(name);
}

// The folder of Windows; none on a disk without it. One that has been replaced may have left the other name
// behind, but no registry.
std::optional<std::string> folder_of_windows(const Tree& tree) {
  std::optional<std::string> first;
  for (const std::string_view place : places_of_windows) {
    const auto folder = find_folder(tree, "", place);
    if (folder && find_folder(tree, *folder, folder_of_hives)) return folder;
    if (!first) first = folder;
  }
  return first;
}

std::string place_of_hive(std::string_view name) { return joined(std::string(folder_of_hives), name); }

// One of the machine's, for as long as it is asked.
struct OpenHive {
  std::string path;
  Hive hive;
};

// The hives of the machine, and what is to be told of them.
class Hives {
 public:
  Hives(const Disk& disk, std::vector<Gap>& gaps)
      : tree_(disk.system()), windows_(folder_of_windows(tree_)), gaps_(gaps) {}

  std::optional<OpenHive> open(std::string_view name) const {
    const auto path = machine_hive(tree_, name);
    if (!path) {
      if (windows_) tell(Cause::registry_missing, joined(*windows_, place_of_hive(name)));
      return std::nullopt;
    }
    auto hive = Hive::open(tree_, *path);
    if (!hive) {
      tell(Cause::machine_registry, *path);
      return std::nullopt;
    }
    if (hive->is_dirty()) tell(Cause::registry_dirty, *path);
    return OpenHive{.path = *path, .hive = std::move(*hive)};
  }

  // When all that is asked of it has been.
  void tell_damage(const OpenHive& open) const {
    if (open.hive.is_damaged()) tell(Cause::registry_damaged, open.path);
  }

 private:
  void tell(Cause cause, const std::string& path) const { gaps_.push_back({.cause = cause, .path = path}); }

  const Tree& tree_;
  std::optional<std::string> windows_;
  std::vector<Gap>& gaps_;
};

bool is_person(std::string_view number) {
  return std::ranges::any_of(numbers_of_people,
                             [&](std::string_view begin) { return number.starts_with(begin); });
}

// Accounts lie below the last part of their number, in a value of 17 pieces: twelve bytes for each in front
// (begin, size, something), and the pieces behind. The second piece is the name.
std::string account_of(const Hive& accounts, std::string_view number) {
  constexpr std::size_t name = 12;
  constexpr std::size_t heads = 0xCC;
  char key[32];
  std::snprintf(key, sizeof key, "%08lX",
                std::strtoul(std::string(number.substr(number.rfind('-') + 1)).c_str(), nullptr, 10));
  const auto value = accounts.bytes(below(R"(SAM\Domains\Account\Users)", key), "V");
  if (!value || value->size() < heads) return "";
  const std::size_t begin = heads + long_at(*value, name);
  const std::size_t size = long_at(*value, name + 4);
  if (begin > value->size() || size > value->size() - begin) return "";
  return utf8_of_utf16(std::string_view(*value).substr(begin, size));
}

// Those whom the machine itself knows have its number in theirs; it ends the value that its accounts have in
// common. Others' names are with their domain.
bool is_of_this_machine(const Hive& accounts, std::string_view number) {
  constexpr std::size_t parts = 12;
  const std::string value = accounts.bytes(R"(SAM\Domains\Account)", "V").value_or("");
  if (value.size() < parts) return false;
  std::string machine = "S-1-5-21";
  for (std::size_t part = 0; part < parts; part += 4)
    machine += "-" + std::to_string(long_at(value, value.size() - parts + part));
  return number.substr(0, number.rfind('-')) == machine;
}

void read_profiles(const Hive& software, const Hive* accounts, MachineRegistry& registry) {
  const std::string list = below(windows_key, "ProfileList");
  registry.programs_folder =
      without_variables(software.text(R"(Microsoft\Windows\CurrentVersion)", "ProgramFilesDir").value_or(""));
  registry.profiles_folder = without_variables(software.text(list, "ProfilesDirectory").value_or(""));
  for (const std::string& key : software.keys(list)) {
    if (!is_person(key)) continue;
    // A profile that could not be loaded once has that behind its number.
    const std::string number = key.ends_with(".bak") ? key.substr(0, key.size() - 4) : key;
    const std::string path =
        without_variables(software.text(below(list, key), "ProfileImagePath").value_or(""));
    if (path.empty()) continue;
    const bool has_name = accounts != nullptr && is_of_this_machine(*accounts, number);
    registry.profiles.push_back({.path = path, .account = has_name ? account_of(*accounts, number) : ""});
  }
}

void read_fonts(const Hive& software, MachineRegistry& registry) {
  const std::string list = below(windows_key, "Fonts");
  for (const std::string& name : software.values(list))
    if (const auto file = software.text(list, name); file && !file->empty())
      registry.fonts.push_back(without_variables(*file));
}

// A key of those settings that Windows was last started with.
std::string below_control(const Hive& system, std::string_view name) {
  char set[32];
  std::snprintf(set, sizeof set, "ControlSet%03u", system.number("Select", "Current").value_or(1));
  return below(below(set, "Control"), name);
}

std::string charset_of(const Hive& system) {
  const std::string charset =
      known_charset(system.text(below_control(system, R"(Nls\CodePage)"), "ACP").value_or(""));
  // Programs' texts from before that was chosen are of a code page that nobody knows.
  return charset == "UTF-8" ? "" : charset;
}

// UTF-16 up to its zero: behind it Windows leaves what was there before. Names of keys are ASCII.
std::string key_name_in(const std::string& bytes) {
  std::string name;
  for (std::size_t i = 0; i + 1 < bytes.size() && (bytes[i] != 0 || bytes[i + 1] != 0); i += 2)
    name += bytes[i];
  return name;
}

// Before Vista the zone stands there under the name that people see.
std::string zone_with_standard_name(const Hive& software, const std::string& standard) {
  const std::string zones = below(windows_key, "Time Zones");
  for (const std::string& key : software.keys(zones))
    if (software.text(below(zones, key), "Std") == standard) return key;
  return "";
}

void read_zone(const Hive& system, const Hive* software, MachineRegistry& registry) {
  const std::string key = below_control(system, "TimeZoneInformation");
  registry.zones.push_back(key_name_in(system.bytes(key, "TimeZoneKeyName").value_or("")));
  const auto standard = system.text(key, "StandardName");
  if (standard && software != nullptr)
    registry.zones.push_back(zone_with_standard_name(*software, *standard));
  std::erase(registry.zones, "");
}

// With a variable's value in its place, whatever the case.
void expand(std::string& path, std::string_view variable, std::string_view value) {
  if (path.size() >= variable.size() && is_same_name(path.substr(0, variable.size()), variable))
    path.replace(0, variable.size(), value);
}

}  // namespace

std::string without_variables(const std::string& path) {
  std::string plain = path;
  expand(plain, "%SystemDrive%", "C:");
  expand(plain, "%SystemRoot%", R"(C:\Windows)");
  expand(plain, "%windir%", R"(C:\Windows)");
  return plain;
}

std::string known_charset(const std::string& name) {
  if (name.empty()) return "";
  const bool is_number = std::ranges::all_of(name, [](char c) { return c >= '0' && c <= '9'; });
  const std::string charset = name == "65001" ? "UTF-8" : is_number ? "CP" + name : name;
  const GIConv converter = g_iconv_open("UTF-8", charset.c_str());
  if (converter == reinterpret_cast<GIConv>(-1)) return "";
  g_iconv_close(converter);
  return charset;
}

std::optional<std::string> machine_hive(const Tree& tree, std::string_view name) {
  const auto windows = folder_of_windows(tree);
  const auto file = windows ? find(tree, *windows, place_of_hive(name)) : std::nullopt;
  return file && file->entry.what == What::file ? std::optional(file->path) : std::nullopt;
}

MachineRegistry machine_registry(const Disk& disk) {
  MachineRegistry registry;
  const Hives hives(disk, registry.gaps);
  const auto software = hives.open("SOFTWARE");
  const auto system = hives.open("SYSTEM");
  if (software) {
    std::vector<Gap> untold;  // without it names alone are missing
    const auto accounts = Hives(disk, untold).open("SAM");
    read_profiles(software->hive, accounts ? &accounts->hive : nullptr, registry);
    read_fonts(software->hive, registry);
  }
  if (system) {
    registry.charset = charset_of(system->hive);
    read_zone(system->hive, software ? &software->hive : nullptr, registry);
  }
  for (const auto& hive : {&software, &system})
    if (*hive) hives.tell_damage(**hive);
  return registry;
}

}  // namespace pack
