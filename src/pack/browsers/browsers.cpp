#include "pack/browsers/browsers.h"

#include <algorithm>
#include <ctime>
#include <set>

#include "pack/browsers/places.h"
#include "pack/browsers/readers.h"
#include "pack/database/database.h"
#include "pack/disk/refusal.h"
#include "pack/disk/stage.h"
#include "pack/files/known_folders.h"
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

void add_firefox(Packing& packing, const std::vector<Profile>& profiles, Lists& lists) {
  for (const Profile& profile : profiles) {
    const auto places = file_of(profile, "places.sqlite");
    if (!places) continue;
    auto list = firefox_bookmarks(*places);
    if (list) {
      lists.add(profile.browser, std::move(*list), places->path);
    } else {
      packing.leave_out(Kind::bookmarks, cause_of_unopened(*places), places->path);
    }
  }
}

void add_chromium(Packing& packing, const std::vector<Profile>& profiles, Lists& lists) {
  for (const Profile& profile : profiles) {
    const auto file = file_of(profile, "Bookmarks");
    if (!file) continue;
    const auto json = whole(*file, longest_json);
    auto list = json ? chromium_bookmarks(*json) : std::nullopt;
    if (list) {
      lists.add(profile.browser, std::move(*list), file->path);
    } else {
      packing.leave_out(Kind::bookmarks, cause_at(*file, Cause::damaged), file->path);
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
    packing.add_file(Kind::documents, below + "/" + kept_name(entry.name), place, entry);
  }
}

// Where the registry says, and what stayed at the usual place.
void add_favorites(Packing& packing, const Machine& machine, const Person& person, const Hive* hive,
                   Lists& lists, Gaps& gaps) {
  std::vector<Place> folders;
  const Whereabouts moved = shell_folder(machine.disk, person, hive, "Favorites");
  if (moved.cause) gaps.add(*moved.cause, moved.path);
  for (const auto& folder : {moved.place, folder_at(person.home, "Favorites", gaps)}) {
    const auto holds = [&](const Place& other) { return lies_in(*folder, other); };
    if (folder && std::ranges::none_of(folders, holds)) folders.push_back(*folder);
  }
  for (const Place& folder : folders) {
    std::vector<Other> others;
    lists.add("Internet Explorer", favorites(folder, machine.charset, others), folder.path);
    add_others(packing, folder, others);
  }
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
    "SELECT host, path, isSecure, expiry, name, value, originAttributes FROM moz_cookies "
    "ORDER BY host, path, name, originAttributes";
// Older ones know no containers.
constexpr const char* old_cookies_statement =
    "SELECT host, path, isSecure, expiry, name, value, '' FROM moz_cookies ORDER BY host, path, name";

// Seconds; the newest versions count in milliseconds.
std::int64_t in_seconds(std::int64_t expiry) {
  constexpr std::int64_t latest_in_seconds = 100'000'000'000;
  return expiry > latest_in_seconds ? expiry / 1000 : expiry;
}

// Cookies of several profiles on their way into one file.
class Cookies {
 public:
  explicit Cookies(Packing& packing) : packing_(packing) {}

  // False when the file is damaged; what was read of it until then is taken.
  bool add(const Place& file) {
    const auto database = Database::open(file);
    if (!database) return false;
    const bool has_containers =
        database->each("SELECT originAttributes FROM moz_cookies LIMIT 1", [](const Row&) {});
    std::set<std::string> here;  // one profile's own cannot be of another one
    const bool good = database->each(has_containers ? cookies_statement : old_cookies_statement,
                                     [&](const Row& row) { take(row, file.path, here); });
    known_.merge(here);
    return good;
  }

  void pack() const {
    if (count_ > 0) packing_.add_text(Kind::cookies, layout::cookies, text_, count_);
  }

 private:
  void take(const Row& row, const std::string& file, std::set<std::string>& here) {
    const std::string from = file + ": " + row.text(0) + " " + row.text(4);
    const std::int64_t expiry = in_seconds(row.number(3));
    // One without a date ends with its browser.
    if (expiry <= now_) return packing_.leave_out(Kind::cookies, Cause::expired, from);
    const std::string line = row.text(6).empty() ? cookie_line(row, expiry) : "";
    if (line.empty()) return packing_.leave_out(Kind::cookies, Cause::no_place, from);
    const std::string key = row.text(0) + "\t" + row.text(1) + "\t" + row.text(4);
    if (known_.contains(key)) return packing_.leave_out(Kind::cookies, Cause::there_already, from);
    here.insert(key);
    text_ += line;
    ++count_;
  }

  Packing& packing_;
  const std::int64_t now_ = std::time(nullptr);
  std::string text_;
  std::size_t count_ = 0;
  std::set<std::string> known_;
};

void tell_of(Packing& packing, Kind kind, Cause cause, const std::vector<Profile>& profiles,
             std::initializer_list<std::string_view> names) {
  for (const Profile& profile : profiles)
    for (const std::string_view name : names)
      if (const auto file = file_of(profile, name)) packing.leave_out(kind, cause, file->path);
}

}  // namespace

void pack_bookmarks(Packing& packing, const Machine& machine, const Person& person, const Hive* hive) {
  if (!packing.wants(Kind::bookmarks)) return;
  Lists lists(packing);
  Gaps gaps;
  add_firefox(packing, firefox_profiles(machine.disk, person, hive, gaps), lists);
  add_chromium(packing, chromium_profiles(machine.disk, person, hive, gaps), lists);
  add_favorites(packing, machine, person, hive, lists, gaps);
  gaps.tell(packing, Kind::bookmarks);
  lists.pack();
}

void pack_cookies(Packing& packing, const Machine& machine, const Person& person, const Hive* hive) {
  if (!packing.wants(Kind::cookies)) return;
  Cookies cookies(packing);
  Gaps gaps;
  for (const Profile& profile : firefox_profiles(machine.disk, person, hive, gaps)) {
    const auto file = file_of(profile, "cookies.sqlite");
    if (file && !cookies.add(*file)) packing.leave_out(Kind::cookies, cause_of_unopened(*file), file->path);
  }
  cookies.pack();
  tell_of(packing, Kind::cookies, Cause::bound_to_windows,
          chromium_profiles(machine.disk, person, hive, gaps), {"Network/Cookies", "Cookies"});
  gaps.tell(packing, Kind::cookies);
}

// Folders that cannot be looked at are told with the bookmarks and cookies in them.
void tell_of_passwords(Packing& packing, const Machine& machine, const Person& person, const Hive* hive) {
  Gaps gaps;
  tell_of(packing, Kind::passwords, Cause::no_place, firefox_profiles(machine.disk, person, hive, gaps),
          {"logins.json"});
  tell_of(packing, Kind::passwords, Cause::bound_to_windows,
          chromium_profiles(machine.disk, person, hive, gaps), {"Login Data"});
}

}  // namespace pack
