#include "support/commands.h"

#include <iconv.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <map>
#include <optional>
#include <utility>

#include "support/harness.h"

namespace fs = std::filesystem;

namespace fuzz {

namespace {

std::vector<Words> ran;
std::map<std::string, std::string> answers;

// ---- Reading a line as the shell does
// ----------------------------------------------------------------------

struct Line {
  Words words;                        // of the first program
  std::optional<std::string> output;  // the file behind ">"
};

class Lexer {
 public:
  explicit Lexer(const std::string& text) : text_(text) {}

  Line read() {
    while (at_ < text_.size()) step();
    end_word();
    return line_;
  }

 private:
  void step() {
    const char c = text_[at_++];
    if (c == ' ' || c == '\t') {
      end_word();
    } else if (c == '\'') {
      take_single_quoted();
    } else if (c == '"') {
      take_double_quoted();
    } else if (c == '\\') {
      require(at_ < text_.size() && text_[at_] != '\n', "a backslash stands before a character");
      add(text_[at_++]);
    } else if (c == '>') {
      end_word();
      takes_output_ = true;
    } else if (c == '|') {
      end_word();
      in_later_program_ = true;
    } else {
      require(!contains("\n;&<()$`", std::string(1, c)), "a value stays within its quotes");
      add(c);
    }
  }

  void take_single_quoted() {
    begun_ = true;
    for (; at_ < text_.size() && text_[at_] != '\''; ++at_) add(text_[at_]);
    require(at_++ < text_.size(), "a single quote has its pair");
  }

  void take_double_quoted() {
    begun_ = true;
    while (at_ < text_.size() && text_[at_] != '"') {
      const char c = text_[at_++];
      require(c != '$' && c != '`', "a value in double quotes stays a text");
      const bool is_escape = c == '\\' && at_ < text_.size() && contains("$`\"\\", text_.substr(at_, 1));
      add(is_escape ? text_[at_++] : c);
    }
    require(at_++ < text_.size(), "a double quote has its pair");
  }

  void add(char c) {
    begun_ = true;
    word_ += c;
  }

  void end_word() {
    if (!std::exchange(begun_, false)) return;
    std::string word = std::exchange(word_, {});
    if (std::exchange(takes_output_, false)) {
      line_.output = std::move(word);
    } else if (!in_later_program_) {
      line_.words.push_back(std::move(word));
    }
  }

  const std::string& text_;
  std::size_t at_ = 0;
  Line line_;
  std::string word_;
  bool begun_ = false, takes_output_ = false, in_later_program_ = false;
};

// ---- The programs
// --------------------------------------------------------------------------------------------

using Program = int (*)(const Words& arguments, std::string& output);

std::string place_for(const std::string& from, const std::string& to) {
  return fs::is_directory(to) ? to + "/" + fs::path(from).filename().string() : to;
}

int copy(const Words& names, std::string&) {
  for (std::size_t at = 0; at + 1 < names.size(); ++at) {
    const auto bytes = read_file(names[at]);
    if (!bytes || fs::is_directory(names[at])) return 1;
    write_file(place_for(names[at], names.back()), *bytes);
  }
  return 0;
}

int print(const Words& names, std::string& output) {
  int status = 0;
  for (const std::string& name : names) {
    const auto bytes = read_file(name);
    if (!bytes) status = 1;
    output += bytes.value_or("");
  }
  return status;
}

int remove(const Words& names, std::string&) {
  int status = 0;
  for (const std::string& name : names)
    if (fs::is_directory(name) || unlink(name.c_str()) != 0) status = 1;
  return status;
}

int make_folders(const Words& names, std::string&) {
  std::error_code error;
  for (const std::string& name : names) fs::create_directories(name, error);
  return error ? 1 : 0;
}

// "FROM TO" of iconv -c -f GB2312 -t utf-8: what does not convert is left out.
int convert(const Words& names, std::string&) {
  require(names.size() == 2, "iconv is given two files");
  auto bytes = read_file(names[0]);
  if (!bytes) return 1;
  const iconv_t converter = iconv_open("UTF-8//IGNORE", "GB2312");
  std::string text;
  char* from = bytes->data();
  std::size_t left = bytes->size();
  while (left > 0) {
    char block[4096];
    char* to = block;
    std::size_t room = sizeof block;
    const std::size_t before = left;
    const bool failed = iconv(converter, &from, &left, &to, &room) == static_cast<std::size_t>(-1);
    const bool is_half = failed && errno == EINVAL;
    text.append(block, sizeof block - room);
    if (is_half || (left == before && room == sizeof block)) break;
  }
  iconv_close(converter);
  write_file(names[1], text);
  return 0;
}

int nothing(const Words&, std::string&) { return 0; }

// dos2unix passes over what it takes for binary; then the caller does its work, and that is to be tried.
const std::map<std::string, Program> programs = {{"cp", copy},       {"cat", print},
                                                 {"rm", remove},     {"mkdir", make_folders},
                                                 {"iconv", convert}, {"dos2unix", nothing}};

bool is_option(const std::string& word) { return word.starts_with('-'); }

Words arguments_of(const Words& words) {
  Words arguments;
  for (std::size_t at = 1; at < words.size(); ++at) {
    const bool takes_value = words[0] == "iconv" && (words[at] == "-f" || words[at] == "-t");
    if (takes_value)
      ++at;
    else if (!is_option(words[at]))
      arguments.push_back(words[at]);
  }
  return arguments;
}

int run(const Line& line) {
  if (line.words.empty()) return 0;
  ran.push_back(line.words);
  const auto planned = answers.find(line.words[0]);
  const auto known = programs.find(line.words[0]);
  std::string output = planned == answers.end() ? "" : planned->second;
  int status = 0;
  if (planned == answers.end() && known != programs.end())
    status = known->second(arguments_of(line.words), output);
  if (line.output) write_file(*line.output, output);
  return status << 8;
}

}  // namespace

std::vector<Words> commands_run() { return std::exchange(ran, {}); }

void answer(const std::string& program, const std::string& output) { answers[program] = output; }

Words words_of(const std::string& text) { return Lexer(text).read().words; }

}  // namespace fuzz

// Takes the place of the C library's function.
extern "C" int system(const char* text) { return fuzz::run(fuzz::Lexer(text).read()); }
