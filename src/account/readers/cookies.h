// The Netscape cookie file.
#ifndef BRINDLE_ACCOUNT_READERS_COOKIES_H
#define BRINDLE_ACCOUNT_READERS_COOKIES_H

#include <compare>
#include <string>
#include <string_view>
#include <vector>

namespace account {

struct Cookie {
  std::string host;  ///< as the file has it, with its dots
  std::string path;
  std::string name;
  std::string value;

  auto operator<=>(const Cookie&) const = default;
};

/// Every cookie of `text`, in order: the lines with seven fields between tabs, comments left out. Lines end
/// with LF or CR LF. An expired cookie and one of a single session are cookies too.
std::vector<Cookie> read_cookies(std::string_view text);

}  // namespace account

#endif
