#include "pack/calendars.h"

#include <gtest/gtest.h>

#include <sstream>

namespace calendars {

std::vector<std::string> lines_of(const recorded::Result& result, const std::string& file,
                                  const std::string& uid) {
  const auto found = result.content.find(file);
  std::istringstream text(found == result.content.end() ? "" : found->second);
  std::vector<std::string> lines;
  for (std::string line; std::getline(text, line);) {
    EXPECT_LE(line.size(), 75U);
    if (line.starts_with(' ') && !lines.empty()) {
      lines.back() += line.substr(1);
    } else {
      if (!lines.empty() && (lines.back() == "END:VEVENT" || lines.back() == "END:VTODO")) {
        if (lines[1] == "UID:" + uid) break;
        lines.clear();
      }
      if (line.starts_with("BEGIN:VEVENT") || line.starts_with("BEGIN:VTODO")) lines.clear();
      if (!line.starts_with("DTSTAMP:")) lines.push_back(line);
    }
  }
  if (lines.size() < 2 || lines[1] != "UID:" + uid) return {};
  return {lines.begin() + 2, lines.end() - 1};
}

}  // namespace calendars
