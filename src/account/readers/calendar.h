// Calendar files (iCalendar), component by component, so that one of any length is read in little memory.
#ifndef BRINDLE_ACCOUNT_READERS_CALENDAR_H
#define BRINDLE_ACCOUNT_READERS_CALENDAR_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "account/readers/text.h"

namespace account {

/// An event, a task, a journal entry, a time zone: what stands directly in a calendar.
struct CalendarItem {
  std::string kind;           ///< "VEVENT", "VTODO", ... in capitals
  std::string text;           ///< its lines as they stand, from BEGIN to END, with LF line ends
  std::string rewritten;      ///< the same after the reader's rewriting
  std::uint64_t place = 0;    ///< of its first byte in the file
  std::uint32_t size = 0;     ///< in the file, in bytes
  bool complete = true;       ///< false when the file ends before it does
  bool in_a_calendar = true;  ///< false for one outside of every VCALENDAR, which no program looks at
};

/// Reads as the calendar library of the target programs does: BEGIN and END are counted, whatever they name.
class CalendarReader {
 public:
  /// What becomes of one line, which comes with LF at its end.
  using Rewrite = std::function<std::string(const std::string& line)>;

  explicit CalendarReader(Source source, Rewrite rewrite = {});

  /// The next item. False at the end of the file.
  bool next(CalendarItem& item);

  /// At the end: everything that has begun has ended. The library refuses any other file as a whole.
  bool is_whole() const { return depth_ == 0; }
  /// At the end: what stood at the top of the file, calendars and items outside of them.
  std::size_t roots() const { return roots_; }

 private:
  void begin(const std::string& kind, CalendarItem& item);
  void add(const std::string& line, CalendarItem& item);

  LineReader lines_;
  Rewrite rewrite_;
  std::uint64_t place_ = 0, line_place_ = 0;
  std::size_t depth_ = 0, item_depth_ = 0, roots_ = 0;
  bool root_is_calendar_ = false, in_item_ = false;
};

/// How the text of a line is read: its bytes in, UTF-8 out.
using Decode = std::function<std::string(std::string_view line)>;

/// What an item says, whatever the order and the folding of its lines: one text for each property and each
/// component inside, sorted; the first is its kind. No value for a text that does not end what it begins.
using Content = std::vector<std::string>;
std::optional<Content> content_of(std::string_view text, const Decode& decode);

std::uint64_t hash_of(const Content& content);

/// "DTSTART" of a property; "VALARM" of a component inside.
std::string name_of(const std::string& property);

/// The value of the first property of that name, as it stands; empty without one.
std::string value_of(const Content& content, std::string_view name);

/// As people read it: the escapes of a text undone.
std::string plain(std::string_view value);

/// False for a rule or a time that the calendar library refuses, so that the property is lost.
bool is_readable(const std::string& property);

}  // namespace account

#endif
