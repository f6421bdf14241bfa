// One reader for each form in which a browser keeps bookmarks.
#ifndef BRINDLE_PACK_BROWSERS_READERS_H
#define BRINDLE_PACK_BROWSERS_READERS_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "pack/browsers/bookmark.h"
#include "pack/disk/disk.h"

namespace pack {

/// Those of Firefox's places.sqlite. No value when it is none.
std::optional<Bookmark> firefox_bookmarks(const Place& places);

/// Those of a file Bookmarks as Chromium writes it (JSON). No value when it is none.
std::optional<Bookmark> chromium_bookmarks(std::string_view json);

/// Those of a folder of Internet Explorer's, a file (.url) each, whose text is in the character set `charset`
/// when it is no UTF-8. `others` gets the files that are none.
struct Other {
  Place place;
  Entry entry;
};
Bookmark favorites(const Place& folder, const std::string& charset, std::vector<Other>& others);

/// The address in a file of that kind, in UTF-8; empty when there is none.
std::string address_in(std::string_view url_file, const std::string& charset = "CP1252");

}  // namespace pack

#endif
