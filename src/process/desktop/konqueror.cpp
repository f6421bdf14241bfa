#include "process/desktop/konqueror.h"

#include <cerrno>
#include <cstdio>
#include <string>
#include <string_view>

#include "shell/files.h"
#include "shell/kept.h"
#include "shell/line_rules.h"
#include "shell/pieces.h"
#include "shell/replace.h"
#include "shell/run.h"

namespace {

// Deliberate: part of the format. A longer line is read in pieces, and each piece counts as a line: an
// opening element that is cut is not found, and behind one that is whole the bookmark stands where the piece
// ends.
constexpr std::size_t line_limit = 1023;

constexpr std::size_t block_size = std::size_t{1} << 16;

// Deliberate: part of the format. No line end behind the bookmark, so the next old line is glued to it.
void append_bookmark(std::string_view line, const std::string& bookmark_xml, std::string& out) {
  if (line.find("<xbel/>") != std::string_view::npos) {
    out.append("<xbel>\n").append(bookmark_xml).append("</xbel>\n");
  } else {
    out.append(line).append(bookmark_xml);
  }
}

LineRules rules_for(const std::string& bookmark_xml) {
  return {.marks = {"xb"}, .rewrite = [&](std::string_view line, std::string& out) {
            if (line.find("<xbel") == std::string_view::npos) {
              out += line;
              return false;
            }
            std::printf("found something");
            append_bookmark(line, bookmark_xml, out);
            return false;
          }};
}

// Hands all of the file at `path` to `take`, with the bookmark. False, with errno set, when the file cannot
// be read to its end.
bool add_bookmark(const std::string& path, const std::string& bookmark_xml, const TakePart& take) {
  const File file = open_file(path, "r");
  if (!file) return false;
  PieceReader reader(file.get(), line_limit, block_size);
  LineRewriter rewriter(rules_for(bookmark_xml), line_limit);
  for (std::string_view lines; reader.next_block(lines);)
    if (!take(rewriter.rewrite(lines))) return false;
  return std::ferror(file.get()) == 0;
}

bool is_whole(int status, const std::string& copy, const std::string& original) {
  if (is_copied(status, original, copy)) return true;
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
  const int status = shell::run_for_status(compose("cp %s %s", bookmarks, copy));
  if (is_folder(folder.c_str(), "bookmarks.xml") == 0) return true;
  const auto with_bookmark = [&](const TakePart& take) { return add_bookmark(copy, bookmark_xml, take); };
  if (is_whole(status, copy, bookmarks) && replace_file_by(bookmarks, with_bookmark)) return true;
  const int error = errno;
  std::perror(bookmarks.c_str());
  errno = error;
  return false;
}
