#include "pack/browsers/bookmark.h"

namespace pack {

namespace {

constexpr const char* head = R"(<!DOCTYPE NETSCAPE-Bookmark-file-1>
<META HTTP-EQUIV="Content-Type" CONTENT="text/html; charset=UTF-8">
<TITLE>Bookmarks</TITLE>
<H1>Bookmarks</H1>
)";

// Of the line ends and tabs in it one blank each is left: an item is a line.
std::string escaped(const std::string& text) {
  std::string html;
  for (const char c : text) {
    switch (c) {
      case '&':
        html += "&amp;";
        break;
      case '<':
        html += "&lt;";
        break;
      case '>':
        html += "&gt;";
        break;
      case '"':
        html += "&quot;";
        break;
      case '\n':
      case '\r':
      case '\t':
        html += ' ';
        break;
      default:
        html += c;
    }
  }
  return html;
}

std::string date_of(const Bookmark& bookmark) {
  return bookmark.added > 0 ? " ADD_DATE=\"" + std::to_string(bookmark.added) + "\"" : "";
}

std::string attribute(const char* name, const std::string& value) {
  return value.empty() ? "" : std::string(" ") + name + "=\"" + escaped(value) + "\"";
}

void write_children(const Bookmark& folder, const std::string& indent, std::string& html) {
  html += indent + "<DL><p>\n";
  for (const Bookmark& child : folder.children) {
    if (child.is_line) {
      html += indent + "    <HR>\n";
    } else if (child.url.empty()) {
      html += indent + "    <DT><H3" + date_of(child) + ">" + escaped(child.title) + "</H3>\n";
      write_children(child, indent + "    ", html);
    } else {
      html += indent + "    <DT><A HREF=\"" + escaped(child.url) + "\"" + date_of(child) +
              attribute("SHORTCUTURL", child.keyword) + attribute("TAGS", child.tags) + ">" +
              escaped(child.title) + "</A>\n";
    }
  }
  html += indent + "</DL><p>\n";
}

}  // namespace

std::size_t count_of(const Bookmark& folder) {
  std::size_t count = 0;
  for (const Bookmark& child : folder.children) count += child.url.empty() ? count_of(child) : 1;
  return count;
}

std::size_t drop_known(Bookmark& folder, const std::set<std::string>& known) {
  std::size_t dropped = 0;
  std::erase_if(folder.children, [&](Bookmark& child) {
    if (child.url.empty()) {
      const std::size_t here = drop_known(child, known);
      dropped += here;
      return here > 0 && child.children.empty();
    }
    const bool is_known = known.contains(child.url);
    dropped += is_known ? 1 : 0;
    return is_known;
  });
  return dropped;
}

void note_addresses(const Bookmark& folder, std::set<std::string>& known) {
  for (const Bookmark& child : folder.children) {
    if (child.url.empty()) {
      note_addresses(child, known);
    } else {
      known.insert(child.url);
    }
  }
}

std::string bookmark_file(const Bookmark& top) {
  std::string html = head;
  write_children(top, "", html);
  return html;
}

}  // namespace pack
