// The account's own look at bookmarks and cookies.
#include "account/readers/bookmarks.h"
#include "account/readers/cookies.h"
#include "support/harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = fuzz::Input(data, size).text();
  for (const account::Bookmark& bookmark : account::read_bookmarks(text)) {
    fuzz::require(bookmark.title.size() + bookmark.url.size() <= size, "a bookmark stands in the text");
    fuzz::require(bookmark.folder.size() <= 512, "a folder has a name that somebody reads");
  }
  for (const account::Cookie& cookie : account::read_cookies(text)) {
    fuzz::require(!cookie.host.starts_with('#'), "a comment is no cookie");
    for (const std::string* field : {&cookie.host, &cookie.path, &cookie.name})
      fuzz::require(field->find_first_of("\t\n") == std::string::npos, "a field ends at its tab");
  }
  return 0;
}
