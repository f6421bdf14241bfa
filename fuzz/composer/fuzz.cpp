#include "composer/fuzz.h"

#include <algorithm>
#include <array>
#include <clocale>
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string_view>

#include "composer/expected.h"
#include "composer/shapes.h"
#include "shell/compose.h"

namespace shell {

// A template out of a text that is only known now.
struct TemplateOfTests {
  template <typename... Values>
  static Command compose(std::string_view text, const Values&... values) {
    return shell::compose<Values...>(Template<Values...>(text), values...);
  }
};

}  // namespace shell

namespace {

using shell::Command;
using Values = std::vector<std::string>;

Command composed(std::string_view text, const Values& v) {
  using Made = shell::TemplateOfTests;
  switch (v.size()) {
    case 0:
      return Made::compose(text);
    case 1:
      return Made::compose(text, v[0]);
    case 2:
      return Made::compose(text, v[0], v[1]);
    case 3:
      return Made::compose(text, v[0], v[1], v[2]);
    case 4:
      return Made::compose(text, v[0], v[1], v[2], v[3]);
    default:
      throw "more values than a shape has";
  }
}

bool has_glob(std::string_view text) { return text.find('*') != std::string_view::npos; }

// The order of what a glob stands for is the language's, which does not matter here.
std::vector<Call> sorted_if(bool wanted, std::vector<Call> calls) {
  if (wanted)
    for (Call& call : calls) std::ranges::sort(call.words);
  std::ranges::sort(calls, {}, &Call::words);
  return calls;
}

std::string account(const Attempt& attempt) {
  std::string words =
      attempt.shell.file + " in " + attempt.shell.language + "\n  template " + visible(attempt.text);
  for (const std::string& value : attempt.values) words += "\n  value    " + visible(value);
  return words + "\n  command  " + visible(attempt.command.text()) + "\n";
}

// A glob does not find a folder with such a character: bash puts backslashes of its own between the bytes.
bool glob_fails(const Shell& shell, const Shape& shape, const Values& values) {
  const auto is_ascii = [](const std::string& value) {
    return std::ranges::all_of(value, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
  };
  return shell.ascii_halves && has_glob(shape.gets) && !std::ranges::all_of(values, is_ascii);
}

const Shape& any_shape(Hostile& hostile) {
  const auto shapes = shapes_of_texts();
  return shapes[hostile.below(shapes.size())];
}

}  // namespace

// The composer works for the encoding that is set, as it does in the program.
const Shell& Fuzz::any_shell() {
  const Shell& shell = shells_[hostile_.below(shells_.size())];
  if (std::setlocale(LC_ALL, shell.language.c_str()) == nullptr) throw std::runtime_error("no such language");
  return shell;
}

void Fuzz::check(const Attempt& attempt, const std::optional<std::vector<Call>>& expected) {
  const bool refused = attempt.command.refused();
  ++tally_.composed;
  if (refused && expected && attempt.shell.ascii_halves) {
    ++tally_.refused_halves;
  } else if (refused != !expected) {
    tally_.breaches.push_back(account(attempt) + (refused ? "is refused" : "is not refused"));
  } else if (refused) {
    ++tally_.refused;
  } else {
    ++tally_.ran;
    const bool glob = has_glob(attempt.text);
    const auto received = sorted_if(glob, trial_.run(attempt.shell, attempt.command.text()));
    if (received != sorted_if(glob, *expected))
      tally_.breaches.push_back(account(attempt) + "must be\n" + visible(*expected) + "is\n" +
                                visible(received));
  }
  trial_.clear();
}

void Fuzz::try_shape() {
  const Shape& shape = any_shape(hostile_);
  const Shell& shell = any_shell();
  const Values values = values_for(shape, hostile_, trial_.folder());
  if (glob_fails(shell, shape, values)) return trial_.clear();
  check({shell, shape.text, values, composed(shape.text, values)},
        expected_calls(shape, values, trial_.folder()));
}

void Fuzz::try_inner_command() {
  const Shape& shape = any_shape(hostile_);
  const Shell& shell = any_shell();
  const Values values = values_for(shape, hostile_, trial_.folder());
  if (glob_fails(shell, shape, values)) return trial_.clear();
  const Command inner = composed(shape.text, values);
  const std::string login = hostile_.value();
  const Command command = compose("su - %s -c\"%s\"", login, inner);
  auto expected = expected_calls(shape, values, trial_.folder());
  if (login.starts_with('-')) expected.reset();
  if (expected) {
    Call su{{"su", "-"}, "", ""};
    if (!login.empty()) su.words.push_back(login);
    su.words.push_back("-c" + inner.text());
    expected->push_back(su);
  }
  check({shell, shape.text, values, command}, expected);
}

void Fuzz::try_quoted_word() {
  const Shell& shell = any_shell();
  const std::string value = hostile_.value();
  const std::string id = "'" + value + "'";
  const Command command =
      compose("foomatic-configure -p %s -d %s", shell::QuotedWord{id}, shell::QuotedWord{id});
  std::optional<std::vector<Call>> expected;
  if (!value.starts_with('-') && value.find('\'') == std::string::npos)
    expected = {{{"foomatic-configure", "-p", value, "-d", value}, "", ""}};
  check({shell, "foomatic-configure -p %s -d %s", {id, id}, command}, expected);
}

void Fuzz::try_number() {
  const Shell& shell = any_shell();
  const std::string value = hostile_.value();
  const int number = static_cast<int>(hostile_.below(2000)) - 1000;
  const Command command = compose("dcop kdesktop setWallpaper \"%s\" %d", value, number);
  std::optional<std::vector<Call>> expected;
  if (!value.starts_with('-'))
    expected = {{{"dcop", "kdesktop", "setWallpaper", value, std::to_string(number)}, "", ""}};
  check({shell, "dcop kdesktop setWallpaper \"%s\" %d", {value}, command}, expected);
}

// ---- Made-up templates ------------------------------------------------------------------------------

namespace {

// Signs, words of the shell's language, and places where a value must not stand. No globs: what they stand
// for depends on the value.
constexpr std::array<std::string_view, 78> tokens = {
    "%s",         "%s",      "'%s'",       "\"%s\"",    " ",       "  ",       "\t",         "'",
    "\"",         "\\",      "~",          "#",         "$",       "`",        "(",          ")",
    "{",          "}",       "[",          "]",         "!",       ";",        "|",          "&",
    "&&",         "||",      "<",          ">",         ">>",      "<<",       ">&",         "&>",
    "2>",         "=",       "-",          "-f",        "/",       ",",        ":",          "\n",
    "if ",        "then ",   "do ",        "in ",       "A=",      "rm ",      "cat ",       "a",
    "2",          "%%",      "^",          "..",        "\xC5",    " {%s,a} ", " {a,%s} ",   " {1..%s} ",
    " #%s ",      " ~%s ",   " a=~%s ",    " %s>f ",    " 1%s>f ", " >&%s ",   " 2>&%s ",    " <<%s\n",
    " <<<%s ",    " $(%s) ", " `%s` ",     "if %s ",    "; %s ",   "| %s ",    "; time %s ", "; A=%s ",
    "; eval %s ", " [%s] ",  "; sh -c %s", "; exec %s", " >f%s ",  " -%s "};

// Most often right before or behind a value.
std::size_t place_in(const std::string& text, Hostile& hostile) {
  const std::size_t any = hostile.below(text.size() + 1);
  const std::size_t value = text.find("%s", any);
  if (hostile.one_in(4) || value == std::string::npos) return any;
  return hostile.one_in(2) ? value : value + 2;
}

std::string made_up(Hostile& hostile) {
  std::string text = any_shape(hostile).text;
  for (std::size_t changes = 1 + hostile.below(4); changes > 0; --changes) {
    const std::size_t at = place_in(text, hostile);
    const std::size_t replaced = hostile.one_in(3) ? hostile.below(4) : 0;
    text.replace(at, std::min(replaced, text.size() - at), tokens[hostile.below(tokens.size())]);
  }
  return text;
}

// The roles of its values, or no value when the reader does not take it.
std::optional<std::vector<shell::Role>> roles_in(const std::string& text) {
  try {
    std::vector<shell::Role> roles;
    for (const shell::Slot& slot : shell::TemplateReader(text).read()) {
      if (slot.kind != 's' || slot.role == shell::Role::command) return std::nullopt;
      roles.push_back(slot.role);
    }
    if (roles.empty() || roles.size() > 4 || text.find_first_of("*?") != std::string::npos)
      return std::nullopt;
    return roles;
  } catch (const char*) {
    return std::nullopt;
  }
}

Values harmless_values(const std::vector<shell::Role>& roles) {
  Values values;
  for (std::size_t i = 0; i < roles.size(); ++i) values.push_back("qv" + std::to_string(i) + "vq");
  return values;
}

std::string never_empty(const std::string& value) { return value.empty() ? "x" : value; }

// None is empty: its word could vanish.
Values hostile_values(const std::vector<shell::Role>& roles, Hostile& hostile) {
  Values values;
  for (const shell::Role role : roles)
    values.push_back(role == shell::Role::file_name ? hostile.file_name() : never_empty(hostile.value()));
  return values;
}

std::string with(const Values& values, std::string text) {
  const Values harmless = harmless_values(std::vector<shell::Role>(values.size()));
  for (std::size_t i = 0; i < values.size(); ++i)
    for (std::size_t at = text.find(harmless[i]); at != std::string::npos;
         at = text.find(harmless[i], at + values[i].size()))
      text.replace(at, harmless[i].size(), values[i]);
  return text;
}

std::vector<Call> with(const Values& values, std::vector<Call> calls) {
  for (Call& call : calls) {
    for (std::string& word : call.words) word = with(values, word);
    call.input = with(values, call.input);
    call.output = with(values, call.output);
  }
  return calls;
}

// A value may only stay away where another command's end or a file decides whether its command starts.
bool arrive(const Values& values, const std::vector<Call>& calls, const std::string& text) {
  if (text.find_first_of("<>&|") != std::string::npos) return true;
  const std::string seen = visible(calls);
  return std::ranges::all_of(values,
                             [&](const std::string& value) { return seen.find(value) != std::string::npos; });
}

void make_files(const Values& values, const std::vector<shell::Role>& roles, const std::string& folder) {
  for (std::size_t i = 0; i < values.size(); ++i)
    if (roles[i] == shell::Role::file_name) std::ofstream(folder + "/" + values[i]).close();
}

}  // namespace

void Fuzz::try_made_up_template() {
  const std::string text = made_up(hostile_);
  const auto roles = roles_in(text);
  if (!roles) {
    ++tally_.no_templates;
    return;
  }
  ++tally_.templates;
  const Shell& shell = any_shell();
  const Values harmless = harmless_values(*roles);
  const Values values = hostile_values(*roles, hostile_);
  const Command command = composed(text, values);
  if (command.refused()) {
    ++tally_.refused_made_up;
    return;
  }
  make_files(harmless, *roles, trial_.folder());
  const std::vector<Call> calls = trial_.run(shell, composed(text, harmless).text());
  trial_.clear();
  if (!arrive(harmless, calls, text)) tally_.breaches.push_back("a value does not arrive: " + visible(text));
  make_files(values, *roles, trial_.folder());
  check({shell, text, values, command}, with(values, calls));
}
