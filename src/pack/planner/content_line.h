// Lines of iCalendar, as other programs keep them.
#ifndef BRINDLE_PACK_PLANNER_CONTENT_LINE_H
#define BRINDLE_PACK_PLANNER_CONTENT_LINE_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pack {

/// NAME;PARAMETER="its value":the value
struct ContentLine {
  std::string name;                               ///< in capitals
  std::map<std::string, std::string> parameters;  ///< their names in capitals, their values without quotes
  std::string value;                              ///< as it stands
};

/// Those of a text, put together where they are folded. What has no ":" is passed over.
std::vector<ContentLine> content_lines(std::string_view text);

/// A parameter's value; empty when there is none.
std::string parameter(const ContentLine& line, const std::string& name);

/// The parts of a list of texts, which has "\," for a comma within one.
std::vector<std::string> listed_texts(std::string_view list);

/// The seconds of "-P1DT2H3M4S". No value for another text.
std::optional<std::int64_t> duration_of(std::string_view text);

}  // namespace pack

#endif
