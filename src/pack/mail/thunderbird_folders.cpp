#include "pack/mail/thunderbird_folders.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <memory>
#include <system_error>

#include "pack/files/known_folders.h"
#include "pack/mail/mailbox.h"

namespace pack {

namespace {

constexpr std::string_view index_ending = ".msf";
constexpr std::string_view subfolders = ".sbd";
// Copies of messages for a search by Windows.
constexpr std::string_view search_copies = ".mozmsgs";

// What is done with mail that comes in, which the person has said.
constexpr std::string_view filters = "msgFilterRules.dat";

// How names of files end that lie beside mailboxes. A mailbox may have such a name as well.
constexpr std::array<std::string_view, 9> other_endings = {index_ending,  ".dat",  ".html", ".rdf", ".sqlite",
                                                           ".sqlite-wal", ".json", ".ini",  ".log"};

bool ends_with(std::string_view name, std::string_view ending) {
  return name.size() > ending.size() && is_same_name(name.substr(name.size() - ending.size()), ending);
}

bool has_other_ending(std::string_view name) {
  return std::ranges::any_of(other_endings, [&](std::string_view ending) { return ends_with(name, ending); });
}

std::string without(std::string_view ending, const std::string& name) {
  return name.substr(0, name.size() - ending.size());
}

std::string converted(const std::string& text, const char* to, const char* from) {
  const std::unique_ptr<char, decltype(&g_free)> result(
      g_convert(text.data(), static_cast<gssize>(text.size()), to, from, nullptr, nullptr, nullptr), g_free);
  return result ? result.get() : "";
}

// As people see it, where it is the one spelling of that: newer servers send names as they are, and one of
// those may look like it.
std::string without_spelling_of_imap(const std::string& name) {
  constexpr const char* spelling = "UTF-7-IMAP";
  if (name.find('&') == std::string::npos) return name;
  const std::string plain = converted(name, "UTF-8", spelling);
  return !plain.empty() && converted(plain, spelling, "UTF-8") == name ? plain : name;
}

// The first bytes of a file; no value when they cannot be read.
std::optional<std::string> beginning_of(const Place& file) {
  std::array<char, 4096> bytes{};
  std::size_t size = 0;
  try {
    const auto content = file.tree->open(file.path);
    while (size < bytes.size()) {
      const std::size_t count = content->read(bytes.data() + size, bytes.size() - size);
      if (count == 0) break;
      size += count;
    }
  } catch (const std::system_error&) {
    return std::nullopt;
  }
  return std::string(bytes.data(), size);
}

std::uint64_t size_of_maildir(const Place& folder) {
  constexpr std::uint64_t lines_of_each = 64;
  std::uint64_t size = 0;
  Gaps told_when_packed;
  for (const char* part : {"cur", "new"})
    if (const auto place = folder_at(folder, part, told_when_packed))
      for (const Entry& entry : listed(*place, told_when_packed)) size += entry.size + lines_of_each;
  return size;
}

}  // namespace

void ThunderbirdFolders::add_servers(const Place& folder, Spelling spelling) {
  const std::vector<Entry> entries = listed(folder, gaps_);
  for (const Entry& entry : entries) {
    const Place place{.tree = folder.tree, .path = joined(folder.path, entry.name)};
    if (entry.what == What::folder) {
      add_server(place, spelling);
    } else {
      spelling_ = spelling;
      add_file(place, entry, {});
    }
  }
}

void ThunderbirdFolders::add_server(const Place& folder, Spelling spelling) {
  if (std::ranges::any_of(servers_, [&](const Place& other) { return lies_in(folder, other); })) return;
  servers_.push_back(folder);
  spelling_ = spelling;
  add(folder);
}

void ThunderbirdFolders::add(const Place& folder) {
  const std::vector<Entry> entries = listed(folder, gaps_);
  Names indexed;
  for (const Entry& entry : entries)
    if (ends_with(entry.name, index_ending)) indexed.insert(without(index_ending, entry.name));
  for (const Entry& entry : entries) {
    const Place place{.tree = folder.tree, .path = joined(folder.path, entry.name)};
    if (entry.what == What::folder) {
      add_folder(place, entry.name);
    } else {
      add_file(place, entry, indexed);
    }
  }
}

void ThunderbirdFolders::add_folder(const Place& place, const std::string& name) {
  if (ends_with(name, subfolders)) {
    names_.push_back(without(subfolders, name));
    add(place);
    names_.pop_back();
  } else if (find_folder(*place.tree, place.path, "cur") || find_folder(*place.tree, place.path, "new")) {
    add_source(name, {.place = place, .size = size_of_maildir(place), .is_maildir = true});
  } else if (!ends_with(name, search_copies) && !listed(place, gaps_).empty()) {
    packing_.leave_out(Kind::mail, Cause::no_mailbox, place.path);
  }
}

// What has the name of a file beside mailboxes is a mailbox when it has an index, or begins as one.
void ThunderbirdFolders::add_file(const Place& place, const Entry& entry, const Names& indexed) {
  const bool is_indexed = indexed.contains(entry.name);
  const bool may_be_other = has_other_ending(entry.name) && !is_indexed;
  const auto beginning =
      entry.what == What::file && !entry.gap ? beginning_of(place) : std::optional<std::string>();
  if (beginning && is_same_name(entry.name, filters) && beginning->find("\nname=") != std::string::npos)
    packing_.tell_of(Kind::mail, Cause::no_place, place.path);
  if (may_be_other && (!beginning || beginning_of_mailbox(*beginning) != Beginning::message)) return;
  if (entry.gap || entry.what != What::file)
    return packing_.leave_out(Kind::mail, entry.gap.value_or(Cause::special), place.path);
  // What cannot be read is told when it is packed.
  if (beginning && beginning_of_mailbox(*beginning) == Beginning::other && !is_indexed)
    return packing_.leave_out(Kind::mail, Cause::no_mailbox, place.path);
  add_source(entry.name, {.place = place, .size = entry.size});
}

void ThunderbirdFolders::add_source(const std::string& name, const MailFolders::Source& source) {
  std::vector<std::string> names = names_;
  names.push_back(name);
  if (spelling_ == Spelling::of_imap) std::ranges::transform(names, names.begin(), without_spelling_of_imap);
  folders_.add(names, source);
}

}  // namespace pack
