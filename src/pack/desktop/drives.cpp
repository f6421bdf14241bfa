#include <algorithm>

#include "pack/desktop/desktop.h"
#include "process/archive/layout.h"

namespace pack {

namespace {

// A line of a drive's file is read in pieces of so many bytes, its end included.
constexpr std::size_t longest_line = 125;

// What a file manager's list of drives, an XML file that it is written into as it stands, cannot hold.
bool breaks_lists(std::string_view share) { return share.find_first_of("&<\r\n") != std::string_view::npos; }

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
    const auto path = hive->text("Network\\" + letter, "RemotePath");
    if (!path || path->empty()) continue;
    const std::string share = share_of(*path);
    if (breaks_lists(share) || !is_letter(letter) || !share.starts_with("//") ||
        share.size() > longest_line) {
      packing.leave_out(Kind::drives, Cause::share_not_kept, *path);
      continue;
    }
    packing.add_folder(layout::mapped_drives);
    packing.add_text(Kind::drives, std::string(layout::mapped_drives) + "/" + letter + ".txt",
                     share + "\r\n" + name_of(share, letter) + "\r\n");
  }
}

}  // namespace pack
