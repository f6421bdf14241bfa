#include "account/kinds/evolution_3.h"

#include <algorithm>
#include <filesystem>
#include <string>

namespace account {
namespace {

constexpr const char* sources = ".config/evolution/sources";

const char* folder_of(Kind kind) {
  switch (kind) {
    case Kind::mail_accounts:
      return sources;
    case Kind::mail:
      return ".local/share/evolution/mail";
    case Kind::calendar:
      return ".local/share/evolution/calendar";
    case Kind::tasks:
      return ".local/share/evolution/tasks";
    case Kind::contacts:
      return ".local/share/evolution/addressbook";
    default:
      return nullptr;
  }
}

bool has_sources(const std::string& folder) {
  std::error_code fault;
  const std::filesystem::directory_iterator list(folder, fault);
  return !fault && std::any_of(begin(list), end(list), [](const std::filesystem::directory_entry& entry) {
    return entry.path().extension() == ".source";
  });
}

}  // namespace

std::optional<Reason> taken_over(const Case& of, Kind kind) {
  const char* const folder = folder_of(kind);
  if (!has_evolution(of.system) || folder == nullptr || !has_sources(of.in_home(sources)))
    return std::nullopt;
  return Reason{Cause::taken_over, of.in_home(folder)};
}

}  // namespace account
