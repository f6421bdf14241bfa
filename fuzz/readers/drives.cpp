// Mapped drives: links on the desktop, bookmarks of both file managers.
#include <algorithm>

#include "process/desktop/mapped_drives.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/harness.h"

namespace {

constexpr std::string_view old_bookmarks = "<!DOCTYPE xbel>\n<xbel>\n <title>Mine</title>\n</xbel>\n";

// A name and a share end at their line, so that they cannot bring lines of their own.
void check_links(const std::string& desktop) {
  for (const std::string& name : fuzz::names_in(desktop)) {
    const std::string link = fuzz::read_file(desktop + "/" + name).value_or("");
    fuzz::require(fuzz::count_of(link, "\n") == 6, "a desktop link has seven lines");
    fuzz::require(fuzz::contains(link, "Name=" + name + "\n"), "a desktop link is called as its file");
  }
}

void check_home(const std::string& home) {
  const std::vector<std::string> known = {".gconf", ".kde", ".nautilus", "Desktop", "archive"};
  for (const std::string& name : fuzz::names_in(home))
    fuzz::require(std::ranges::find(known, name) != known.end(), "nothing is written beside the desktop");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<std::string> parts = fuzz::Input(data, size).parts(3);
  const std::string& home = fuzz::empty_home();
  const std::string root = home + "/archive";
  for (std::size_t at = 0; at < parts.size(); ++at)
    fuzz::write_file(root + "/Mapped_Drives/" + std::to_string(at) + ".txt", parts[at]);
  fuzz::write_file(home + "/Desktop/Trash", "Name=Trash\n\n\n\n\n\n");
  fuzz::write_file(home + "/.kde/share/apps/konqueror/bookmarks.xml", old_bookmarks);

  static_cast<void>(mappeddrives(root.c_str()));
  check_links(home + "/Desktop");
  const std::string bookmarks =
      fuzz::read_file(home + "/.kde/share/apps/konqueror/bookmarks.xml").value_or("");
  fuzz::require(bookmarks.starts_with("<!DOCTYPE xbel>\n<xbel>\n") && bookmarks.ends_with("</xbel>\n"),
                "the old bookmarks stand around the new ones");

  static_cast<void>(nautilusmappeddrives(root.c_str()));
  check_links(home + "/Desktop");
  check_home(home);
  fuzz::commands_run();
  return 0;
}
