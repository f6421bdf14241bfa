#include "account/kinds/browser.h"

#include <unistd.h>

#include <map>

#include "account/archive/charset.h"
#include "account/kinds/entries.h"
#include "account/readers/bookmarks.h"
#include "account/readers/cookies.h"
#include "account/readers/file.h"
#include "account/readers/profiles.h"
#include "process/archive/layout.h"

namespace account {
namespace {

// By the installed program, whatever profiles the home has.
std::string folder_of(const Case& of) {
  const bool has_firefox = access((of.machine + "/usr/bin/firefox").c_str(), R_OK) == 0;
  return of.in_home(has_firefox ? ".mozilla/firefox" : ".mozilla/default");
}

// A file of the archive, and what the browser has in its place.
struct Pair {
  std::string packed;
  std::optional<std::string> there;
  std::string place;  // its path, or the folder that has no profile
};

// What can be read of both. A file that cannot be read in the archive is missing as a whole, and how much it
// holds is not known; an encrypted one is known by its checksum when it arrived as it is.
std::optional<Pair> read_pair(const Case& of, const char* name, const char* file, Tally& tally) {
  const Entry* const entry = of.archive.find(of.in_archive(name));
  if (entry == nullptr || entry->folder) return std::nullopt;
  Pair pair;
  const std::string folder = folder_of(of);
  const auto profile = browser_profile(folder);
  pair.place = profile ? *profile + "/" + file : folder;
  if (profile) pair.there = read_whole(pair.place);
  bool whole = false;
  if (!fault_of(*entry) && !entry->encrypted()) pair.packed = of.archive.read(*entry, largest_text, &whole);
  Tally as_file;
  if (entry->encrypted()) compare_file(of.archive, *entry, pair.place, name, as_file);
  if (as_file.unchanged() > 0) {
    pair.packed = pair.there.value_or("");
  } else if (!whole) {
    tally.find();
    tally.miss(name, entry->encrypted() ? Cause::encrypted : fault_of(*entry).value_or(Cause::damaged));
    tally.give_up();
  }
  return pair;
}

Cause cause_without(const Pair& pair) { return pair.there ? Cause::not_there : Cause::place_missing; }

}  // namespace

void compare_bookmarks(const Case& of, Tally& tally) {
  const auto pair = read_pair(of, layout::bookmarks, "bookmarks.html", tally);
  if (!pair) return;
  // How often the browser has each one more than the archive.
  std::map<Bookmark, int> surplus;
  for (Bookmark& bookmark : read_bookmarks(pair->there.value_or(""))) ++surplus[std::move(bookmark)];
  const std::vector<Bookmark> packed = read_bookmarks(pair->packed);
  std::map<Bookmark, int> left = surplus;
  for (const Bookmark& bookmark : packed) --surplus[bookmark];
  for (const Bookmark& bookmark : packed) {
    tally.find();
    const std::string& name = bookmark.title.empty() ? bookmark.url : bookmark.title;
    if (left[bookmark]-- <= 0) {
      tally.miss(readable(name, of.charset.c_str()), cause_without(*pair), pair->place);
    } else if (surplus[bookmark] > 0) {
      --surplus[bookmark];
      tally.miss(readable(name, of.charset.c_str()), Cause::doubled);
    } else {
      tally.arrive_unchanged();
    }
  }
}

void compare_cookies(const Case& of, Tally& tally) {
  const auto pair = read_pair(of, layout::cookies, "cookies.txt", tally);
  if (!pair) return;
  const auto there = read_cookies(pair->there.value_or(""));
  std::map<Cookie, int> left;
  for (const Cookie& cookie : there) ++left[cookie];
  for (Cookie cookie : read_cookies(pair->packed)) {
    tally.find();
    const std::string name = cookie.name + " (" + cookie.host + ")";
    cookie.host.insert(0, ".");
    if (left[cookie]-- > 0) {
      tally.arrive_changed();
    } else {
      tally.miss(readable(name, of.charset.c_str()), cause_without(*pair), pair->place);
    }
  }
}

}  // namespace account
