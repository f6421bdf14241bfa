#include "account/readers/cookies.h"

#include <array>
#include <optional>

namespace account {
namespace {

std::optional<Cookie> cookie_of(std::string_view line) {
  if (line.starts_with('#')) return std::nullopt;
  std::array<std::string_view, 6> fields;  // host, with its subdomains, path, secure, expires, name
  for (std::string_view& field : fields) {
    const std::size_t tab = line.find('\t');
    if (tab == std::string_view::npos) return std::nullopt;
    field = line.substr(0, tab);
    line.remove_prefix(tab + 1);
  }
  return Cookie{std::string(fields[0]), std::string(fields[2]), std::string(fields[5]), std::string(line)};
}

}  // namespace

std::vector<Cookie> read_cookies(std::string_view text) {
  std::vector<Cookie> cookies;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (auto cookie = cookie_of(line)) cookies.push_back(std::move(*cookie));
  }
  return cookies;
}

}  // namespace account
