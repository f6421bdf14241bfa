#include <algorithm>
#include <array>
#include <string>

#include "account/before/before.h"
#include "process/archive/layout.h"

namespace account {
namespace {

constexpr std::uint16_t stored = 0, deflated = 8, encryption_of_its_own = 99;
// Of Debian's unzip: stored, shrunk, reduced, imploded, deflated, deflated in 64 KiB, and bzip2.
constexpr std::array<std::uint16_t, 10> unzip_methods = {stored, 1, 2, 3, 4, 5, 6, deflated, 9, 12};

bool is_below(std::string_view name, std::string_view folder) {
  return name == folder || (name.starts_with(folder) && name[folder.size()] == '/');
}

bool is_damaged(const Archive& archive, const Entry& entry) {
  static std::array<char, 1 << 16> buffer;
  EntryStream stream = archive.open(entry);
  while (stream.read(buffer) > 0) {
  }
  return stream.failed();
}

// What unzip cannot do with the entry; no value when it can.
std::optional<Foresight> trouble_of(const Archive& archive, const Entry& entry) {
  if (entry.method == encryption_of_its_own) return Foresight::unknown_encryption;
  if (entry.encrypted()) return Foresight::encrypted;
  if (std::ranges::find(unzip_methods, entry.method) == unzip_methods.end()) return Foresight::unknown_method;
  if (!entry.folder && is_damaged(archive, entry)) return Foresight::damaged;
  return std::nullopt;
}

}  // namespace

void foresee_entries(const Outlook& outlook, std::vector<Warning>& found) {
  const Archive& archive = outlook.archive;
  if (!archive.has(layout::root)) found.push_back({"", {}, archive.path(), Foresight::no_root, layout::root});
  const Entry* next = archive.entries().data();
  const Entry* const end = next + archive.entries().size();
  for (const Entry& entry : archive.entries()) {
    ++next;
    const std::string name(entry.name);
    const auto say = [&](Foresight what, const char* detail = "") {
      found.push_back({"", {}, name, what, detail});
    };
    if (entry.unsafe) {
      say(Foresight::unsafe);
    } else if (!is_below(entry.name, layout::root)) {
      say(Foresight::outside_root, layout::root);
      continue;
    }
    if (entry.is_link_or_device()) say(Foresight::not_a_file);
    if (entry.shortened) say(Foresight::long_name);
    if (next < end && next->name == entry.name && !entry.folder) say(Foresight::same_name);
    if (const auto trouble = trouble_of(archive, entry)) say(*trouble);
  }
}

}  // namespace account
