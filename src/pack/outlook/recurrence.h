// How Outlook says that something comes again.
#ifndef BRINDLE_PACK_OUTLOOK_RECURRENCE_H
#define BRINDLE_PACK_OUTLOOK_RECURRENCE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pack {

/// All times are what a clock in the appointment's zone shows, as seconds as if it were UTC.
struct OutlookRecurrence {
  /// One of its times at which it is otherwise.
  struct Exception {
    std::int64_t replaces = 0;  ///< the start by the rule
    std::int64_t start = 0;
    std::int64_t end = 0;
    std::optional<std::string> title, location;  ///< when they are others
    std::optional<bool> has_reminder;
    std::optional<std::int32_t> minutes_before;
    std::optional<std::uint32_t> shown_as;
    std::optional<bool> is_all_day;
    bool has_more = false;  ///< a text, files or people of its own, which lie elsewhere
  };

  std::string rule;  ///< iCalendar's, without UNTIL; a number of times stands in it
  std::optional<std::int64_t> last_day;
  std::optional<std::int64_t> last_of_times;  ///< of a number of times: the day of the last one
  bool is_after_done = false;                 ///< of a task: the time runs from when it was done
  std::int64_t first_day = 0;
  std::int64_t start_of_day = 0;  ///< seconds from midnight to the start, and to the end
  std::int64_t end_of_day = 0;
  std::vector<std::int64_t> left_out;  ///< days on which it does not come
  std::vector<Exception> exceptions;
  bool is_whole = true;  ///< false: the exceptions cannot be read to their end
};

/// No value for what is damaged, and for what comes by another calendar than ours.
std::optional<OutlookRecurrence> outlook_recurrence(std::string_view bytes);

/// The name of the zone in Outlook's definition of one, as the registry calls it: "W. Europe Standard Time".
std::string zone_in_definition(std::string_view bytes);

}  // namespace pack

#endif
