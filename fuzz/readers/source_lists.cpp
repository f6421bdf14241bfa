// Evolution's lists of sources in a home: the first source's uid, and the repair of a list.
#include <cstring>

#include "process/mail/evolution/new_home.h"
#include "process/mail/evolution/personal.h"
#include "support/commands.h"
#include "support/harness.h"

namespace {

constexpr std::size_t uid_size = 128, uid2_size = 3072, piece_limit = 1023;
constexpr char untouched = '\x7e';

template <std::size_t Size>
void check_uid(int (*get)(const char*, char*), const std::string& text, const char* quote) {
  char uid[Size];
  std::memset(uid, untouched, sizeof uid);
  if (get(text.c_str(), uid) == 0) {
    fuzz::require(std::memchr(uid, '\0', sizeof uid) != nullptr, "a uid ends within its buffer");
    fuzz::require(fuzz::contains(text, uid), "a uid stands in the text");
    fuzz::require(!fuzz::contains(uid, quote), "a uid ends at its quote");
    fuzz::require(fuzz::contains(text, "source uid="), "a uid has its name before it");
  } else {
    for (const char c : uid) fuzz::require(c == untouched, "without a uid the buffer stays");
  }
}

void check_repair(const std::string& home, const std::string& text) {
  const std::string file = home + "/.gconf/apps/evolution/calendar/%gconf.xml";
  fuzz::write_file(file, text);
  fuzz::require(repair_source_list(fuzz::target_in(home, home), SourceList::calendar) == 0,
                "a list is repaired");
  const std::string after = fuzz::read_file(file).value_or("");
  std::size_t kept = 0;
  std::string replaced;
  for (const std::string& piece : fuzz::pieces_of(text, piece_limit)) {
    const bool is_roots = fuzz::contains(piece, "file:///root");
    if (is_roots) {
      const std::size_t end = after.find("&lt;/group&gt;", kept);
      fuzz::require(end != std::string::npos, "the line with root's folder becomes a group");
      kept = end + std::strlen("&lt;/group&gt;");
    } else {
      fuzz::require(after.compare(kept, piece.size(), piece) == 0, "all other lines stay");
      kept += piece.size();
    }
  }
  fuzz::require(kept == after.size(), "nothing is added");
}

// The list of shown calendars is made of the first source.
void check_shown(const std::string& home, const std::string& text) {
  fuzz::write_file(home + "/.gconf/apps/evolution/calendar/%gconf.xml", text);
  static_cast<void>(display_calendar());
  const auto shown = fuzz::read_file(home + "/.gconf/apps/evolution/calendar/display/%gconf.xml");
  fuzz::require(shown && shown->size() <= text.size() + 512, "what is shown is one uid of the list");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(fuzz::Input(data, size).text());
  const std::string plain = text.c_str();  // the given functions take texts that end at a NUL
  check_uid<uid_size>(get_source_uid, plain, "\"");
  check_uid<uid2_size>(get_source_uid2, plain, "&quot;");
  const std::string& home = fuzz::empty_home();
  check_repair(home, text);
  check_shown(home, text);
  fuzz::commands_run();
  return 0;
}
