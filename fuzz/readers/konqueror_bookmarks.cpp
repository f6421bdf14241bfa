// The bookmarks of Konqueror in a home, to which one is added.
#include "process/desktop/konqueror.h"

#include "support/commands.h"
#include "support/harness.h"

namespace {

constexpr std::string_view bookmark = "<bookmark href=\"smb://a/b\"><title>B</title></bookmark>\n";
constexpr std::size_t piece_limit = 1023;

// Each piece that opens the list is followed by the new one; all else stays.
std::string expected(std::string_view text) {
  std::string result;
  for (const std::string& piece : fuzz::pieces_of(text, piece_limit)) {
    if (fuzz::contains(piece, "<xbel/>")) {
      result += "<xbel>\n" + std::string(bookmark) + "</xbel>\n";
    } else {
      result += piece;
      if (fuzz::contains(piece, "<xbel")) result += bookmark;
    }
  }
  return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::Input input(data, size);
  const std::string& home = fuzz::empty_home();
  const std::string file = home + "/.kde/share/apps/konqueror/bookmarks.xml";
  fuzz::write_file(file, input.text());
  fuzz::require(add_konqueror_bookmark(home, std::string(bookmark)), "a bookmark can be added");
  fuzz::commands_run();
  fuzz::require(fuzz::read_file(file) == expected(input.text()), "the old bookmarks stay as they were");
  fuzz::require(fuzz::read_file(home + "/.kde/share/apps/konqueror/bookmarkstemp.xml") == input.text(),
                "the state before stays beside it");
  return 0;
}
