#include "account/before/driver_search.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <optional>
#include <sstream>
#include <vector>

namespace account {
namespace {

constexpr std::size_t fewest_words = 3, most_words = 10;

// What a program prints, read to its end; empty when it cannot be started. No shell stands between.
std::string output_of(std::vector<std::string> words) {
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  int ends[2];
  if (pipe(ends) != 0) return "";
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", 0, 0);
  posix_spawn_file_actions_addclose(&actions, ends[0]);
  posix_spawn_file_actions_addclose(&actions, ends[1]);
  pid_t child = 0;
  const bool started = posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ) == 0;
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  std::string text;
  std::array<char, 65536> buffer;
  for (ssize_t got; started && (got = read(ends[0], buffer.data(), buffer.size())) > 0;)
    text.append(buffer.data(), static_cast<std::size_t>(got));
  close(ends[0]);
  if (started) waitpid(child, nullptr, 0);
  return text;
}

// The driver's name, then what is left of it without its last words: three words at least, ten at most. As
// for the wizard, words stand between single blanks, also those of no letter.
std::vector<std::string> searches_for(const std::string& driver) {
  std::vector<std::size_t> ends;
  for (std::size_t at = driver.find(' '); at != std::string::npos; at = driver.find(' ', at + 1))
    ends.push_back(at);
  ends.push_back(driver.size());
  if (ends.size() > most_words) ends.resize(most_words);
  std::vector<std::string> searches;
  for (; ends.size() >= fewest_words; ends.pop_back()) searches.push_back(driver.substr(0, ends.back()));
  return searches;
}

// ---- CUPS ----------------------------------------------------------------------------------------------

std::string small_letters(std::string text) {
  std::ranges::transform(text, text.begin(), [](unsigned char c) { return std::tolower(c); });
  return text;
}

// Of the models that CUPS recommends, in small letters, one a line.
const std::string& recommended_models() {
  static const std::string models = [] {
    std::string result;
    const std::string all = output_of({"lpinfo", "-m"});
    for (std::size_t at = 0; at < all.size();) {
      const std::size_t end = std::min(all.find('\n', at), all.size());
      const std::string line = all.substr(at, end - at);
      if (line.find("recommended") != std::string::npos) result += small_letters(line) + "\n";
      at = end + 1;
    }
    return result;
  }();
  return models;
}

// Without a print server nothing can be told about its models.
bool is_recommended(const std::string& text) {
  const std::string& models = recommended_models();
  return models.empty() || models.find(small_letters(text)) != std::string::npos;
}

// ---- Foomatic ------------------------------------------------------------------------------------------

// Of a call's words. The kernel takes twice as much at least, but that holds the environment too.
constexpr std::size_t longest_call = 64 * 1024;

bool is_listed(const std::string& text) { return !output_of({"foomatic-ppdfile-bd", "-P" + text}).empty(); }

// For each text whether its answer names a printer, asked in one call; an empty line ends each answer where
// there are several.
std::vector<bool> are_listed(const std::vector<std::string>& texts) {
  if (texts.size() == 1) return {is_listed(texts.front())};
  std::vector<std::string> words = {"foomatic-ppdfile-bd"};
  for (const std::string& text : texts) words.push_back("-P" + text);
  std::istringstream answers(output_of(words));
  std::vector<bool> result;
  bool names_one = false;
  for (std::string line; std::getline(answers, line); names_one = !line.empty())
    if (line.empty()) result.push_back(names_one);
  return result;
}

// Those of the texts that a printer is listed for, in as few calls as may be: each reads the whole database.
// Nothing when a call does not answer each of its texts: some programs of that name know a single -P only.
std::optional<std::set<std::string>> listed_of(const std::set<std::string>& texts) {
  std::set<std::string> listed;
  for (auto text = texts.begin(); text != texts.end();) {
    std::vector<std::string> call;
    for (std::size_t size = 0; text != texts.end() && size < longest_call; ++text) {
      call.push_back(*text);
      size += sizeof("-P") + text->size() + sizeof(char*);
    }
    const std::vector<bool> answers = are_listed(call);
    if (answers.size() != call.size()) return std::nullopt;
    for (std::size_t i = 0; i < call.size(); ++i)
      if (answers[i]) listed.insert(call[i]);
  }
  return listed;
}

}  // namespace

std::set<std::string> drivers_found(const std::set<std::string>& drivers, System system) {
  const auto found_where = [&drivers](const auto& is_known) {
    std::set<std::string> found;
    for (const std::string& driver : drivers)
      if (std::ranges::any_of(searches_for(driver), is_known)) found.insert(driver);
    return found;
  };
  if (has_evolution(system)) return found_where(is_recommended);
  std::set<std::string> texts;
  for (const std::string& driver : drivers)
    for (const std::string& text : searches_for(driver)) texts.insert(text);
  const auto listed = listed_of(texts);
  return found_where(
      [&listed](const std::string& text) { return listed ? listed->contains(text) : is_listed(text); });
}

}  // namespace account
