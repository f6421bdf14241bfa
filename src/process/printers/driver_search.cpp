#include "process/printers/driver_search.h"

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "shell/compose.h"
#include "shell/files.h"
#include "shell/home.h"
#include "shell/run.h"
#include "state/question.h"
#include "state/state.h"

namespace {

constexpr std::size_t word_limit = 10;
constexpr std::size_t shortest_search = 3;
constexpr std::size_t line_limit = 1023;

char nothing[1] = "";

using Words = std::vector<std::string>;

// Two blanks in a row give an empty word.
Words split_up(const std::string& name) {
  std::printf("Splitting up Driver Name::%s", name.c_str());
  Words words(1);
  for (const char c : name) {
    std::printf("In the Loop.");
    if (c != ' ') {
      words.back() += c;
    } else {
      if (words.size() <= word_limit)
        std::printf("Driver Part %zu - %s", words.size() - 1, words.back().c_str());
      words.emplace_back();
    }
  }
  if (words.size() > word_limit) words.resize(word_limit);
  return words;
}

std::string search_text(const Words& words) {
  std::string text = words.front();
  for (std::size_t i = 1; i < words.size(); ++i) text += " " + words[i];
  std::printf("GrepString::%s", text.c_str());
  std::printf("Removing the ppd.txt file.");
  return text;
}

// The window's title is read by the other thread: it must outlive the search.
void show_as_title(const char* drivername) {
  static std::string title;
  title = drivername;
  displaylabel = title.c_str();
}

void remove_result(const std::string& home) { SYSTEM(compose("rm %s/ppd.txt", home)); }

void ask_user(const std::string& home) {
  remove_result(home);
  driver_question.ask(displaylabel);
}

File open_result(const std::string& home) {
  std::printf("Trying to open the ppd.txt file.");
  return open_file(home + "/ppd.txt", "r");
}

void report_no_match(const File& result) {
  if (result) {
    std::printf("Nothing in line");
    std::printf("File pointer closed.");
  } else {
    std::printf("fp is null.Continuing");
  }
}

// With its newline: the traces show a line as it was read.
bool read_line(const File& file, std::string& line) { return read_piece(file.get(), line_limit, line); }

std::string up_to_blank(const std::string& text) { return text.substr(0, text.find_first_of(" \n")); }

// The text from `line`'s first `label` to the next blank, its single quotes included.
std::string field(const std::string& line, const char* label) {
  const std::size_t found = line.find(label);
  if (found == std::string::npos) return "";
  return up_to_blank(line.substr(found + std::char_traits<char>::length(label)));
}

void take_listing(const std::string& line) {
  assign(Id2, field(line, "Id=").c_str());
  assign(Driver2, field(line, "Driver=").c_str());
  std::printf("Id=%s\tDriver=%s", Id2, Driver2);
}

std::optional<std::string> search_foomatic(const Words& words, const std::string& home) {
  const shell::Command command =
      compose("foomatic-ppdfile-bd -P\"%s\" > %s/ppd.txt", search_text(words), home);
  SYSTEM(command);
  std::printf("Executed Command::%s", command.c_str());
  const File result = open_result(home);
  if (result) std::printf("Found the ppd.txt file.Continuing");
  std::string line;
  if (result && read_line(result, line)) return line;
  report_no_match(result);
  return std::nullopt;
}

// A line of the result that the model list recommends; its first word is the PPD's name.
std::optional<std::string> recommended_model(const File& result) {
  std::string line;
  while (result && read_line(result, line)) {
    std::printf("Value read from ppd.txt::%s", line.c_str());
    if (contains(line, "recommended")) return up_to_blank(line);
  }
  return std::nullopt;
}

std::optional<std::string> search_model_list(const Words& words, const std::string& home) {
  const std::string text = search_text(words);
  remove_result(home);
  std::printf("Running the grep command.");
  shell::run_unlogged(compose("grep -i \"%s\" %s/ppdlist.txt > %s/ppd.txt", text, home, home));
  const File result = open_result(home);
  const std::optional<std::string> model = recommended_model(result);
  if (!model) report_no_match(result);
  return model;
}

// The longest prefix of the name that `search` finds something for.
template <typename Search>
std::optional<std::string> search_shorter_and_shorter(Words words, const std::string& home, Search search) {
  for (; words.size() >= shortest_search; words.pop_back()) {
    if (std::optional<std::string> found = search(words, home)) return found;
  }
  return std::nullopt;
}

}  // namespace

char* finddriver(const char* drivername) {
  // An answer for the printer before must never be taken for this one.
  assign(Id2, "");
  assign(Driver2, "");
  const std::string home = user_home();
  show_as_title(drivername);
  const Words words = split_up(drivername);
  std::printf("Trying to find printer name using grep.");
  if (const auto line = search_shorter_and_shorter(words, home, search_foomatic)) {
    std::printf("Value read from ppd.txt::%s", line->c_str());
    take_listing(*line);
    remove_result(home);
    return nothing;
  }
  ask_user(home);
  std::printf("Woken up.");
  std::printf("Selected Driver::%s", selecteddriver);
  if (contains(selecteddriver, "Id=")) std::printf("Found Id=");
  take_listing(selecteddriver);
  return nothing;
}

char* nldfinddriver(const char* drivername) {
  static std::string ppd_name;
  Driver = nothing;
  const std::string home = user_home();
  show_as_title(drivername);
  const Words words = split_up(drivername);
  const shell::Command listing = compose("lpinfo -m > %s/ppdlist.txt", home);
  SYSTEM(listing);
  std::printf("Executing command::%s", listing.c_str());
  std::printf("Trying to find printer name using grep.");
  const auto found = search_shorter_and_shorter(words, home, search_model_list);
  if (found) {
    ppd_name = *found;
    Driver = ppd_name.data();
    std::printf("Driver=%s", Driver);
    remove_result(home);
    return nothing;
  }
  ask_user(home);
  std::printf("Selected Driver::%s", selecteddriver);
  Driver = selecteddriver;
  std::printf("Driver=%s", Driver);
  return nothing;
}
