#include "process/printers/driver_search.h"

#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "keep/keep.h"
#include "shell/compose.h"
#include "shell/files.h"
#include "shell/home.h"
#include "shell/pieces.h"
#include "shell/run.h"
#include "state/question.h"
#include "state/state.h"
#include "system/target.h"

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

std::string joined(const Words& words) {
  std::string text = words.front();
  for (std::size_t i = 1; i < words.size(); ++i) text += " " + words[i];
  return text;
}

void remove_result(const std::string& home) { SYSTEM(compose("rm %s/ppd.txt", home)); }

// The person's choice; empty: skip the printer.
std::string ask_person(const std::string& home) {
  remove_result(home);
  return driver_question.ask() ? driver_question.answer(0) : "";
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

std::string up_to_blank(std::string_view text) {
  return std::string(text.substr(0, text.find_first_of(" \n")));
}

// The text from `line`'s first `label` to the next blank, its single quotes included.
std::string field(std::string_view line, std::string_view label) {
  const std::size_t found = line.find(label);
  return found == std::string_view::npos ? "" : up_to_blank(line.substr(found + label.size()));
}

// Keeps `text` in its global. One that does not fit or holds a NUL is none: cut, it would be another one.
template <std::size_t Size>
void keep_whole(char (&global)[Size], std::string& text) {
  const bool is_cut = text.find('\0') != std::string::npos;
  if (!assign(global, is_cut ? "" : text.c_str()) || is_cut) text.clear();
}

// The model that a line of the listing names.
Model listed_model(const std::string& line) {
  Model model = {field(line, "Id="), field(line, "Driver=")};
  keep_whole(Id2, model.id);
  keep_whole(Driver2, model.driver);
  std::printf("Id=%s\tDriver=%s", model.id.c_str(), model.driver.c_str());
  return model;
}

// With its newline: the traces show a line as it was read.
std::optional<std::string> first_line(const File& result) {
  if (!result) return std::nullopt;
  PieceReader lines(result.get(), line_limit);
  std::string_view line;
  return lines.next(line) ? std::optional<std::string>(line) : std::nullopt;
}

std::optional<std::string> search_foomatic(const Words& words, const std::string& home) {
  const std::string text = joined(words);
  std::printf("GrepString::%s", text.c_str());
  std::printf("Removing the ppd.txt file.");  // Deliberate: part of the output. Nothing is removed here.
  const shell::Command command = compose("foomatic-ppdfile-bd -P\"%s\" > %s/ppd.txt", text, home);
  SYSTEM(command);
  std::printf("Executed Command::%s", command.c_str());
  const File result = open_result(home);
  if (result) std::printf("Found the ppd.txt file.Continuing");
  std::optional<std::string> line = first_line(result);
  if (!line) report_no_match(result);
  return line;
}

// A line of the result that the model list recommends; its first word is the PPD's name.
std::optional<std::string> recommended_model(const File& result) {
  if (!result) return std::nullopt;
  PieceReader lines(result.get(), line_limit);
  for (std::string_view line; lines.next(line);) {
    std::printf("Value read from ppd.txt::%s", std::string(line).c_str());
    if (line.find("recommended") != std::string_view::npos) return up_to_blank(line);
  }
  return std::nullopt;
}

std::optional<std::string> search_model_list(const Words& words, const std::string& home) {
  const std::string text = joined(words);
  std::printf("GrepString::%s", text.c_str());
  std::printf("Removing the ppd.txt file.");
  remove_result(home);
  std::printf("Running the grep command.");
  shell::run_unlogged(compose("grep -i \"%s\" %s/ppdlist.txt > %s/ppd.txt", text, home, home));
  const File result = open_result(home);
  std::optional<std::string> model = recommended_model(result);
  if (!model) report_no_match(result);
  return model;
}

// The longest prefix of the name that `search` finds something for.
template <typename Search>
std::optional<std::string> search_shorter_and_shorter(Words words, const std::string& home, Search search) {
  std::printf("Trying to find printer name using grep.");
  for (; words.size() >= shortest_search; words.pop_back()) {
    if (std::optional<std::string> found = search(words, home)) return found;
  }
  return std::nullopt;
}

Words prepare_search(const std::string& home, const std::string& driver_name) {
  trace_home(home);
  driver_question.set_title(driver_name);
  return split_up(driver_name);
}

void list_models(const std::string& home) {
  const shell::Command listing = compose("lpinfo -m > %s/ppdlist.txt", home);
  SYSTEM(listing);
  std::printf("Executing command::%s", listing.c_str());
}

Model found_model(const std::string& ppd, const std::string& home) {
  static std::string kept;
  kept = ppd;
  Driver = kept.data();
  std::printf("Driver=%s", ppd.c_str());
  remove_result(home);
  return {"", ppd};
}

Model chosen_model(const std::string& ppd) {
  std::printf("Selected Driver::%s", ppd.c_str());
  Driver = selecteddriver;
  std::printf("Driver=%s", ppd.c_str());
  return {"", ppd};
}

}  // namespace

bool keep_foomatic_search(const std::string& home) { return keep::before_change(home + "/ppd.txt"); }

bool keep_cups_search(const std::string& home) {
  return keep::before_change(home + "/ppd.txt") && keep::before_change(home + "/ppdlist.txt");
}

Model find_foomatic_model(const std::string& home, const std::string& driver_name) {
  const Words words = prepare_search(home, driver_name);
  if (const auto line = search_shorter_and_shorter(words, home, search_foomatic)) {
    std::printf("Value read from ppd.txt::%s", line->c_str());
    const Model model = listed_model(*line);
    remove_result(home);
    return model;
  }
  const std::string chosen = ask_person(home);
  std::printf("Woken up.");
  std::printf("Selected Driver::%s", chosen.c_str());
  if (contains(chosen, "Id=")) std::printf("Found Id=");
  return listed_model(chosen);
}

Model find_cups_model(const std::string& home, const std::string& driver_name) {
  const Words words = prepare_search(home, driver_name);
  list_models(home);
  if (const auto ppd = search_shorter_and_shorter(words, home, search_model_list))
    return found_model(*ppd, home);
  return chosen_model(ask_person(home));
}

char* finddriver(const char* drivername) {
  const std::string home = target_of("").home;
  if (keep_foomatic_search(home)) find_foomatic_model(home, drivername);
  return nothing;
}

char* nldfinddriver(const char* drivername) {
  const std::string home = target_of("").home;
  if (keep_cups_search(home)) find_cups_model(home, drivername);
  return nothing;
}
