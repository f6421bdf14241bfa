#include "process/desktop/konqueror.h"

#include <cerrno>
#include <cstdio>
#include <optional>
#include <string_view>

#include "shell/files.h"
#include "shell/kept.h"
#include "shell/pieces.h"
#include "shell/replace.h"
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

std::string rewritten(const std::string& line, const std::string& bookmark_xml) {
  if (!contains(line, "<xbel")) return line;
  std::printf("found something");
  return with_bookmark(line, bookmark_xml);
}

// No value, with errno set, when the file cannot be read to its end.
std::optional<std::string> read_rewritten(const std::string& path, const std::string& bookmark_xml) {
  const File file = open_file(path, "r");
  if (!file) return std::nullopt;
  std::string text;
  PieceReader reader(file.get(), line_limit);
  std::string_view line;
  while (reader.next(line)) text += rewritten(std::string(line), bookmark_xml);
  if (std::ferror(file.get()) != 0) return std::nullopt;
  return text;
}

bool is_whole(const std::string& copy, const std::string& original) {
  if (same_content(original, copy)) return true;
  if (errno == 0) errno = ENOSPC;  // the usual reason for a copy that ends early
  return false;
}

}  // namespace

bool add_konqueror_bookmark(const std::string& home, const std::string& bookmark_xml) {
  const std::string folder = home + "/.kde/share/apps/konqueror";
  const std::string bookmarks = folder + "/bookmarks.xml";
  const std::string copy = folder + "/bookmarkstemp.xml";
  const bool is_there = is_folder(folder.c_str(), "bookmarks.xml") == 1;
  if ((is_there && !kept_before_change(bookmarks)) || !kept_before_change(copy)) return false;
  SYSTEM(compose("rm -f %s", copy));
  SYSTEM(compose("cp %s %s", bookmarks, copy));
  if (is_folder(folder.c_str(), "bookmarks.xml") == 0) return true;
  const std::optional<std::string> text =
      is_whole(copy, bookmarks) ? read_rewritten(copy, bookmark_xml) : std::nullopt;
  if (text && replace_file(bookmarks, *text)) return true;
  const int error = errno;
  std::perror(bookmarks.c_str());
  errno = error;
  return false;
}
