#include "account/kinds/groupwise.h"

#include <algorithm>

#include "account/kinds/entries.h"
#include "account/readers/file.h"
#include "process/archive/layout.h"

namespace account {
namespace {

constexpr std::size_t piece = 1023;

// Lines are taken in pieces of 1023 bytes, and each piece that names the mailbox is replaced as a whole.
std::string pointed_to_home(std::string_view text, const std::string& home) {
  std::string result;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    const std::string_view line =
        text.substr(0, std::min(piece, end == std::string_view::npos ? text.size() : end + 1));
    text.remove_prefix(line.size());
    if (line.find("<_default reg='sz'>gwremote</_default>") == std::string_view::npos) {
      result += line;
    } else {
      result += "<_default reg=\"sz\">" + home + "/gwremote</_default>\n";
    }
  }
  return result;
}

void compare_settings(const Case& of, const Entry& entry, Tally& tally) {
  const std::string path = of.in_home(layout::groupwise_settings);
  bool whole = false;
  const std::string text = of.archive.read(entry, largest_text, &whole);
  const std::string expected = pointed_to_home(text, of.person.home);
  // What is not rewritten, or cannot be, is a file like any other.
  if (!whole || text == expected)
    return compare_file(of.archive, entry, path, layout::groupwise_settings, tally);
  const auto actual = read_whole(path);
  if (!actual) return tally.miss(layout::groupwise_settings, Cause::not_there);
  if (*actual == expected) return tally.arrive_changed();
  const bool cut = actual->size() < expected.size() && expected.starts_with(*actual);
  tally.miss(layout::groupwise_settings, cut ? Cause::shorter : Cause::differs);
}

bool lies_in(std::string_view name, std::string_view folder) {
  return name.starts_with(folder) && name.size() > folder.size() && name[folder.size()] == '/';
}

}  // namespace

void compare_groupwise(const Case& of, Tally& tally) {
  const std::string folder = of.in_archive(layout::groupwise), settings = layout::groupwise_settings;
  const bool has_settings = of.archive.has(folder + "/" + settings);
  for_each_thing(of.archive, folder, [&](const Entry& entry) {
    tally.find();
    const std::string name(name_within(entry, folder));
    const bool is_mailbox = name == layout::groupwise_mailbox || lies_in(name, layout::groupwise_mailbox);
    if (of.place == nullptr) {
      tally.have_no_place();
    } else if (!has_settings) {
      tally.miss(name, Cause::not_looked_at, settings);
    } else if (name == settings) {
      compare_settings(of, entry, tally);
    } else if (is_mailbox) {
      compare_thing(of.archive, entry, of.in_home(name), name, tally);
    } else {
      tally.miss(name, Cause::left_behind, settings + ", " + layout::groupwise_mailbox);
    }
  });
}

}  // namespace account
