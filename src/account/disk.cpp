#include "account/disk.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <string_view>
#include <utility>

#include "process/archive/layout.h"

namespace account {
namespace {

// A table of twenty kinds for a thousand people has less.
constexpr std::size_t most_bytes = 4 << 20;

constexpr std::string_view head = "person\tlogin\tkind\tfound\tpacked\tleft_out\tbytes";

// A field of the table as it was before it was written.
std::string unescaped(std::string_view field) {
  std::string text;
  for (std::size_t at = 0; at < field.size(); ++at) {
    if (field[at] != '\\' || at + 1 == field.size()) {
      text += field[at];
      continue;
    }
    const char letter = field[++at];
    text += letter == 't' ? '\t' : letter == 'n' ? '\n' : letter == 'r' ? '\r' : letter;
  }
  return text;
}

std::vector<std::string_view> parts_of(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  for (std::size_t end = 0; (end = text.find(separator)) != text.npos; text.remove_prefix(end + 1))
    parts.push_back(text.substr(0, end));
  parts.push_back(text);
  return parts;
}

bool read_number(std::string_view text, std::uint64_t& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size();
}

std::optional<DiskCount> count_in(std::string_view line) {
  const std::vector<std::string_view> fields = parts_of(line, '\t');
  if (fields.size() != 7) return std::nullopt;
  DiskCount count = {unescaped(fields[0]), std::string(fields[1]), std::string(fields[2])};
  const bool is_whole = read_number(fields[3], count.found) && read_number(fields[4], count.packed) &&
                        read_number(fields[5], count.left_out);
  return is_whole ? std::optional(std::move(count)) : std::nullopt;
}

// The packer's kinds for which the account has a word of its own, and those for which it needs another.
constexpr std::array<std::pair<std::string_view, Kind>, 15> same_kinds = {{{"documents", Kind::documents},
                                                                           {"desktop", Kind::desktop},
                                                                           {"others", Kind::shared_files},
                                                                           {"accounts", Kind::mail_accounts},
                                                                           {"mail", Kind::mail},
                                                                           {"contacts", Kind::contacts},
                                                                           {"events", Kind::calendar},
                                                                           {"tasks", Kind::tasks},
                                                                           {"notes", Kind::notes},
                                                                           {"wallpaper", Kind::wallpaper},
                                                                           {"drives", Kind::drives},
                                                                           {"fonts", Kind::fonts},
                                                                           {"printers", Kind::printers},
                                                                           {"bookmarks", Kind::bookmarks},
                                                                           {"cookies", Kind::cookies}}};

constexpr std::array<std::pair<std::string_view, Text>, 6> own_kinds = {
    {{"shared", Text::disk_outside},
     {"pictures", Text::disk_pictures},
     {"music", Text::disk_music},
     {"videos", Text::disk_videos},
     {"downloads", Text::disk_downloads},
     {"passwords", Text::disk_passwords}}};

template <typename Kinds>
auto meaning_in(const Kinds& kinds, std::string_view name) {
  return std::ranges::find(kinds, name, [](const auto& kind) { return kind.first; });
}

}  // namespace

std::vector<DiskCount> disk_counts_in(const Archive& archive) {
  const Entry* const entry = archive.find(std::string(layout::root) + "/" + layout::packed_counts);
  if (entry == nullptr || entry->folder || entry->encrypted()) return {};
  bool whole = false;
  const std::string table = archive.read(*entry, most_bytes, &whole);
  const std::vector<std::string_view> lines = parts_of(table, '\n');
  if (!whole || lines.front() != head) return {};
  std::vector<DiskCount> counts;
  for (const std::string_view line : lines)
    if (auto count = count_in(line)) counts.push_back(std::move(*count));
  return counts;
}

std::string kind_shown(const DiskCount& count, const Texts& texts) {
  if (const auto same = meaning_in(same_kinds, count.kind); same != same_kinds.end())
    return texts(same->second);
  if (const auto own = meaning_in(own_kinds, count.kind); own != own_kinds.end()) return texts(own->second);
  return count.kind;
}

std::string owner_shown(const DiskCount& count) {
  if (count.login.empty() || count.login == count.person) return count.person;
  return count.person + " (" + count.login + ")";
}

bool leave_something_out(const std::vector<DiskCount>& counts) {
  return std::ranges::any_of(counts, [](const DiskCount& count) { return count.left_out > 0; });
}

}  // namespace account
