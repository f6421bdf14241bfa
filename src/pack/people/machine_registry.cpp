#include "pack/people/machine_registry.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "pack/disk/bytes.h"
#include "pack/disk/refusal.h"
#include "pack/registry/hive.h"

namespace pack {

namespace {

constexpr std::string_view windows_key = R"(Microsoft\Windows NT\CurrentVersion)";

// Since XP, and before.
constexpr std::array<std::string_view, 2> places_of_windows = {"Windows", "WINNT"};

// How the number of a person begins: of this machine or a domain, and of a company's cloud. Others are
// services.
constexpr std::array<std::string_view, 2> numbers_of_people = {"S-1-5-21-", "S-1-12-1-"};

std::string below(std::string_view key, std::string_view name) {
  return std::string(key) + "\\" + std::string(name);
}

// The hives of the machine, and what is to be told of them.
class Hives {
 public:
  Hives(const Disk& disk, std::vector<Gap>& gaps) : tree_(disk.system()), gaps_(gaps) {
    for (const std::string_view place : places_of_windows)
      if (folder_.empty()) folder_ = find_folder(tree_, "", place).value_or("");
  }

  bool has_windows() const { return !folder_.empty(); }

  std::optional<Hive> open(std::string_view name) const {
    const std::string path = joined(folder_, std::string("System32/config/") + std::string(name));
    const auto file = has_windows() ? find(tree_, "", path) : std::nullopt;
    if (!file || file->entry.what != What::file) {
      if (has_windows()) gaps_.push_back({.cause = Cause::registry_missing, .path = path});
      return std::nullopt;
    }
    auto hive = Hive::open(tree_, file->path);
    if (!hive)
      gaps_.push_back({.cause = cause_at({.tree = &tree_, .path = file->path}, Cause::machine_registry),
                       .path = file->path});
    if (hive && hive->is_dirty()) gaps_.push_back({.cause = Cause::registry_dirty, .path = file->path});
    return hive;
  }

 private:
  const Tree& tree_;
  std::string folder_;
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

std::string charset_of(const Hive& system) {
  char key[64];
  std::snprintf(key, sizeof key, R"(ControlSet%03u\Control\Nls\CodePage)",
                system.number("Select", "Current").value_or(1));
  const std::string charset = known_charset(system.text(key, "ACP").value_or(""));
  // Programs' texts from before that was chosen are of a code page that nobody knows.
  return charset == "UTF-8" ? "" : charset;
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

MachineRegistry machine_registry(const Disk& disk) {
  MachineRegistry registry;
  const Hives hives(disk, registry.gaps);
  if (const auto software = hives.open("SOFTWARE")) {
    std::vector<Gap> untold;  // without it names alone are missing
    const auto accounts = Hives(disk, untold).open("SAM");
    read_profiles(*software, accounts ? &*accounts : nullptr, registry);
    read_fonts(*software, registry);
  }
  if (const auto system = hives.open("SYSTEM")) registry.charset = charset_of(*system);
  return registry;
}

}  // namespace pack
