#include "pack/mail/prefs.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace pack {

namespace {

constexpr std::string_view beginning = "user_pref(";
constexpr std::string_view ending = ");";

// user_pref("NAME", VALUE);  Both are as JSON writes them.
void take_line(std::string_view line, Prefs& prefs) {
  while (line.ends_with('\r') || line.ends_with(' ')) line.remove_suffix(1);
  if (!line.starts_with(beginning) || !line.ends_with(ending)) return;
  line.remove_prefix(beginning.size());
  line.remove_suffix(ending.size());
  const auto both = nlohmann::json::parse("[" + std::string(line) + "]", nullptr, false);
  if (!both.is_array() || both.size() != 2 || !both[0].is_string()) return;
  if (both[1].is_structured()) return;
  prefs[both[0].get<std::string>()] = both[1].is_string() ? both[1].get<std::string>() : both[1].dump();
}

}  // namespace

Prefs read_prefs(std::string_view text) {
  Prefs prefs;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    take_line(text.substr(0, end), prefs);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return prefs;
}

std::string pref(const Prefs& prefs, const std::string& name) {
  const auto found = prefs.find(name);
  return found == prefs.end() ? "" : found->second;
}

}  // namespace pack
