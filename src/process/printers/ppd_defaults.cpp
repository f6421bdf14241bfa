#include "process/printers/ppd_defaults.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

constexpr std::string_view marker = "*Default";
constexpr std::array of_the_page = {"PageSize", "PageRegion", "ImageableArea", "PaperDimension"};

std::string_view line_at(std::string_view text, std::size_t at) {
  return text.substr(at, text.find_first_of("\r\n", at) - at);
}

template <typename Take>
void for_each_line(std::string_view text, Take take) {
  for (std::size_t at = 0; at < text.size();) {
    take(line_at(text, at));
    const std::size_t end = text.find('\n', at);
    at = end == std::string_view::npos ? text.size() : end + 1;
  }
}

// "*PageSize A4/Its name: ..." and "*PageSize A4: ..."
bool offers(std::string_view line, const std::string& option, const std::string& choice) {
  const std::string start = "*" + option + " " + choice;
  return line.starts_with(start) && line.size() > start.size() &&
         (line[start.size()] == '/' || line[start.size()] == ':');
}

// The option whose default the line tells; empty for another line.
std::string_view default_in(std::string_view line) {
  if (!line.starts_with(marker)) return {};
  const std::size_t colon = line.find(':');
  return colon == std::string_view::npos ? "" : line.substr(marker.size(), colon - marker.size());
}

bool follows(std::string_view option, const std::string& chosen) {
  return option == chosen ||
         (chosen == of_the_page.front() && std::ranges::find(of_the_page, option) != of_the_page.end());
}

}  // namespace

std::string with_default(const std::string& ppd, const std::string& option, const std::string& choice) {
  bool is_offered = false;
  for_each_line(ppd, [&](std::string_view line) { is_offered = is_offered || offers(line, option, choice); });
  if (!is_offered) return ppd;
  std::string text;
  std::size_t done = 0;
  for_each_line(ppd, [&](std::string_view line) {
    const std::string_view found = default_in(line);
    if (found.empty() || !follows(found, option)) return;
    const std::size_t begin = static_cast<std::size_t>(line.data() - ppd.data());
    text.append(ppd, done, begin - done).append(marker).append(found).append(": ").append(choice);
    done = begin + line.size();
  });
  return text.append(ppd, done);
}
