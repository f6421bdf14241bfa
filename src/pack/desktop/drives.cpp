#include <glib.h>

#include <algorithm>
#include <memory>

#include "pack/desktop/desktop.h"
#include "process/archive/layout.h"

namespace pack {

namespace {

// A line of a drive's file is read in pieces of so many bytes, its end included.
constexpr std::size_t longest_line = 125;

// What a file manager's list of drives, an XML file that it is written into as it stands, cannot hold.
bool breaks_lists(std::string_view share) {
  return std::ranges::any_of(
      share, [](char c) { return c == '&' || c == '<' || static_cast<unsigned char>(c) < ' '; });
}

bool is_text(std::string_view text) {
  return !text.empty() &&
         std::ranges::none_of(text, [](char c) { return static_cast<unsigned char>(c) < ' '; });
}

// UTF-16 without a type of its own, as some programs that set up drives write it.
std::string from_utf16(std::string_view bytes) {
  const std::unique_ptr<char, decltype(&g_free)> text(
      g_convert(bytes.data(), static_cast<gssize>(bytes.size()), "UTF-8", "UTF-16LE", nullptr, nullptr,
                nullptr),
      g_free);
  return text ? text.get() : "";
}

// No value when there is none; empty when it cannot be read.
std::optional<std::string> text_of(const Hive& hive, const std::string& key, std::string_view value) {
  if (const auto text = hive.text(key, value)) return text;
  const auto bytes = hive.bytes(key, value);
  return bytes ? std::optional(from_utf16(*bytes)) : std::nullopt;
}

// What else a key there is called would be a path in the archive.
bool is_letter(const std::string& name) {
  return name.size() == 1 && ((name[0] >= 'A' && name[0] <= 'Z') || (name[0] >= 'a' && name[0] <= 'z'));
}

std::string share_of(std::string path) {
  std::ranges::replace(path, '\\', '/');
  while (path.size() > 2 && path.ends_with('/')) path.pop_back();
  return path;
}

// "Public (P)": what Windows shows, in a form that can be a file's name.
std::string name_of(const std::string& share, const std::string& letter) {
  return share.substr(share.rfind('/') + 1) + " (" + letter + ")";
}

}  // namespace

void pack_drives(Packing& packing, const Machine&, const Person&, const Hive* hive) {
  if (hive == nullptr || !packing.wants(Kind::drives)) return;
  for (const std::string& letter : hive->keys("Network")) {
    const std::string key = "Network\\" + letter;
    const auto path = text_of(*hive, key, "RemotePath");
    if (!path) continue;
    const std::string share = share_of(*path);
    if (breaks_lists(share) || !is_letter(letter) || !share.starts_with("//") ||
        share.size() > longest_line) {
      packing.leave_out(Kind::drives, Cause::share_not_kept, is_text(*path) ? *path : key);
      continue;
    }
    packing.add_folder(layout::mapped_drives);
    packing.add_text(Kind::drives, std::string(layout::mapped_drives) + "/" + letter + ".txt",
                     share + "\r\n" + name_of(share, letter) + "\r\n");
    const std::string user = hive->text(key, "UserName").value_or("");
    if (!user.empty()) packing.tell_of(Kind::drives, Cause::partly_kept, *path + ": the login " + user);
  }
}

}  // namespace pack
