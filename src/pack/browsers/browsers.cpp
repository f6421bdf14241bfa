#include "pack/browsers/browsers.h"

#include <ctime>
#include <set>

#include "pack/browsers/places.h"
#include "pack/browsers/readers.h"
#include "pack/database/database.h"
#include "pack/disk/stage.h"
#include "pack/files/names.h"
#include "process/archive/layout.h"

namespace pack {

namespace {

constexpr std::size_t longest_json = std::size_t{1} << 24;

// Lists from several browsers on their way into one.
class Lists {
 public:
  explicit Lists(Packing& packing) : packing_(packing) {}

  void add(const std::string& browser, Bookmark list, const std::string& path) {
    for (std::size_t dropped = drop_known(list, known_); dropped > 0; --dropped)
      packing_.leave_out(Kind::bookmarks, Cause::there_already, path);
    note_addresses(list, known_);
    if (list.children.empty()) return;
    list.title = browser;
    top_.children.push_back(std::move(list));
  }

  void pack() {
    if (top_.children.empty()) return;
    // One browser's list needs no folder around it.
    if (top_.children.size() == 1) {
      Bookmark only = std::move(top_.children.front());
      top_ = std::move(only);
    }
    packing_.add_text(Kind::bookmarks, layout::bookmarks, bookmark_file(top_), count_of(top_));
  }

 private:
  Packing& packing_;
  Bookmark top_;
  std::set<std::string> known_;
};

void add_firefox(Packing& packing, const Person& person, Lists& lists) {
  for (const Profile& profile : firefox_profiles(person)) {
    const auto places = file_of(person, profile, "places.sqlite");
    if (!places) continue;
    auto list = firefox_bookmarks(*places);
    if (list) {
      lists.add(profile.browser, std::move(*list), places->path);
    } else {
      packing.leave_out(Kind::bookmarks, Cause::damaged, places->path);
    }
  }
}

void add_chromium(Packing& packing, const Person& person, Lists& lists) {
  for (const Profile& profile : chromium_profiles(person)) {
    const auto file = file_of(person, profile, "Bookmarks");
    if (!file) continue;
    const auto json = whole(*file, longest_json);
    auto list = json ? chromium_bookmarks(*json) : std::nullopt;
    if (list) {
      lists.add(profile.browser, std::move(*list), file->path);
    } else {
      packing.leave_out(Kind::bookmarks, Cause::damaged, file->path);
    }
  }
}

// What else a person has put there goes with the documents.
void add_others(Packing& packing, const Place& folder, const std::vector<Other>& others) {
  std::string to;
  for (const auto& [place, entry] : others) {
    if (entry.what != What::file || is_same_name(entry.name, "desktop.ini")) {
      packing.leave_out(Kind::bookmarks,
                        entry.what == What::file ? Cause::windows_own : entry.gap.value_or(Cause::special),
                        place.path);
      continue;
    }
    packing.add_folder(layout::documents);
    if (to.empty()) to = std::string(layout::documents) + "/" + packing.free_name("Favorites");
    packing.add_folder(to);
    std::string below = to;
    std::string rest = place.path.substr(folder.path.size() + 1);
    for (std::size_t slash = 0; (slash = rest.find('/')) != std::string::npos; rest.erase(0, slash + 1)) {
      below += "/" + kept_name(rest.substr(0, slash));
      packing.add_folder(below);
    }
    packing.add_file(Kind::bookmarks, below + "/" + kept_name(entry.name), place, entry);
  }
}

void add_favorites(Packing& packing, const Person& person, Lists& lists) {
  const auto folder = find_folder(*person.home.tree, person.home.path, "Favorites");
  if (!folder) return;
  const Place place{.tree = person.home.tree, .path = *folder};
  std::vector<Other> others;
  lists.add("Internet Explorer", favorites(place, others), *folder);
  add_others(packing, place, others);
}

// Seven fields with tabs between, as Netscape wrote them. A field that would break its line has no place
// there.
std::string cookie_line(const Row& row, std::int64_t expiry) {
  std::string host = row.text(0);
  host.erase(0, host.find_first_not_of('.'));
  const std::string path = row.text(1);
  const std::string name = row.text(4);
  const std::string value = row.text(5);
  for (const std::string_view field :
       {std::string_view(host), std::string_view(path), std::string_view(name), std::string_view(value)})
    if (field.find_first_of("\t\r\n") != std::string_view::npos) return "";
  if (host.empty() || host.front() == '#') return "";
  return host + "\tTRUE\t" + path + "\t" + (row.number(2) != 0 ? "TRUE" : "FALSE") + "\t" +
         std::to_string(expiry) + "\t" + name + "\t" + value + "\r\n";
}

constexpr const char* cookies_statement =
    "SELECT host, path, isSecure, expiry, name, value FROM moz_cookies WHERE originAttributes = '' "
    "ORDER BY host, path, name";
// Older ones know no containers.
constexpr const char* old_cookies_statement =
    "SELECT host, path, isSecure, expiry, name, value FROM moz_cookies ORDER BY host, path, name";

// Seconds; the newest versions count in milliseconds.
std::int64_t in_seconds(std::int64_t expiry) {
  constexpr std::int64_t latest_in_seconds = 100'000'000'000;
  return expiry > latest_in_seconds ? expiry / 1000 : expiry;
}

struct Cookies {
  std::string text;
  std::size_t count = 0;
};

bool add_cookies(const Place& file, Cookies& cookies) {
  const auto database = Database::open(file);
  if (!database) return false;
  const std::int64_t now = std::time(nullptr);
  const auto take = [&](const Row& row) {
    const std::int64_t expiry = in_seconds(row.number(3));
    const std::string line = expiry > now ? cookie_line(row, expiry) : "";
    cookies.text += line;
    cookies.count += line.empty() ? 0 : 1;
  };
  return database->each(cookies_statement, take) || database->each(old_cookies_statement, take);
}

void tell_of(Packing& packing, const Person& person, Kind kind, Cause cause,
             const std::vector<Profile>& profiles, std::initializer_list<std::string_view> names) {
  for (const Profile& profile : profiles)
    for (const std::string_view name : names)
      if (const auto file = file_of(person, profile, name)) packing.leave_out(kind, cause, file->path);
}

}  // namespace

void pack_bookmarks(Packing& packing, const Machine&, const Person& person, const Hive*) {
  if (!packing.wants(Kind::bookmarks)) return;
  Lists lists(packing);
  add_firefox(packing, person, lists);
  add_chromium(packing, person, lists);
  add_favorites(packing, person, lists);
  lists.pack();
}

void pack_cookies(Packing& packing, const Machine&, const Person& person, const Hive*) {
  if (!packing.wants(Kind::cookies)) return;
  Cookies cookies;
  for (const Profile& profile : firefox_profiles(person)) {
    const auto file = file_of(person, profile, "cookies.sqlite");
    if (file && !add_cookies(*file, cookies)) packing.leave_out(Kind::cookies, Cause::damaged, file->path);
  }
  if (cookies.count > 0) packing.add_text(Kind::cookies, layout::cookies, cookies.text, cookies.count);
  tell_of(packing, person, Kind::cookies, Cause::bound_to_windows, chromium_profiles(person),
          {"Network/Cookies", "Cookies"});
}

void tell_of_passwords(Packing& packing, const Machine&, const Person& person, const Hive*) {
  tell_of(packing, person, Kind::passwords, Cause::no_place, firefox_profiles(person), {"logins.json"});
  tell_of(packing, person, Kind::passwords, Cause::bound_to_windows, chromium_profiles(person),
          {"Login Data"});
}

}  // namespace pack
