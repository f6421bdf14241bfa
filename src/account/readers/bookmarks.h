// The Netscape bookmark file, in which browsers keep their bookmarks and give them to each other.
#ifndef BRINDLE_ACCOUNT_READERS_BOOKMARKS_H
#define BRINDLE_ACCOUNT_READERS_BOOKMARKS_H

#include <compare>
#include <string>
#include <string_view>
#include <vector>

namespace account {

struct Bookmark {
  std::string folder;  ///< "A/B/" for one in B in A, at most 512 bytes; empty at the top
  std::string title;
  std::string url;

  auto operator<=>(const Bookmark&) const = default;
};

/// Every bookmark of `text`, in order: <A HREF="URL">Title</A> in the lists <DL> of the headings <H3>. A
/// bookmark that is cut off is left out. Entities are resolved as far as a browser writes them: &amp; &lt;
/// &gt; &quot; and &#39;.
std::vector<Bookmark> read_bookmarks(std::string_view text);

}  // namespace account

#endif
