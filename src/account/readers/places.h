// The lists in which file managers keep places.
#ifndef BRINDLE_ACCOUNT_READERS_PLACES_H
#define BRINDLE_ACCOUNT_READERS_PLACES_H

#include <compare>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace account {

struct Place {
  std::string name;
  std::string address;  ///< a URL

  auto operator<=>(const Place&) const = default;
};

/// The places of Nautilus's list `text`, <bookmark name="..." uri="..."/>. No value when it is not
/// well-formed: then Nautilus has none.
std::optional<std::vector<Place>> read_nautilus_places(std::string_view text);

/// The bookmarks of Konqueror's list `text`, <bookmark href="..."><title>...</title>, in all its folders. No
/// value when it is not well-formed.
std::optional<std::vector<Place>> read_konqueror_places(std::string_view text);

}  // namespace account

#endif
