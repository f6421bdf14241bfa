#include "account/model/kinds.h"

#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>

namespace account {
namespace {

constexpr KindName names[] = {
#define KIND(name, table, key, english) {Kind::name, table, key, english},
#include "account/model/kinds.def"
#undef KIND
};

constexpr const char* system_names[system_count] = {"gnome",   "nld",     "linspire",
                                                    "xandros", "redflag", "redflag-plus"};

bool exists(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0;
}

}  // namespace

std::span<const KindName> kinds() { return names; }

const KindName& name_of(Kind kind) { return names[static_cast<std::size_t>(kind)]; }

std::optional<System> system_called(std::string_view name) {
  const auto* const found = std::ranges::find(system_names, name);
  if (found == std::end(system_names)) return std::nullopt;
  return static_cast<System>(found - std::begin(system_names));
}

const char* name_of(System system) { return system_names[static_cast<std::size_t>(system)]; }

System system_of_machine(const char* root) {
  const std::string etc = std::string(root) + "/etc/";
  if (exists(etc + "linspire-version")) return System::linspire;
  if (exists(etc + "xandros-version")) return System::xandros;
  if (exists(etc + "redflag-release")) {
    std::ifstream release(etc + "redflag-release");
    std::string line;
    std::getline(release, line);
    return line.find("4.1plus") == std::string::npos ? System::redflag : System::redflag_plus;
  }
  return exists(std::string(root) + "/opt/gnome/share/pixmaps") ? System::nld : System::gnome;
}

}  // namespace account
