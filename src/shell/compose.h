// The one composer of command lines. Every value that goes into a command passes through here.
//
//   compose("cp -a \"%s\"/* %s/Documents ", folder, home)
//
// knows for each %s whether it stands in a bare word, in double or in single quotes, and escapes the value
// for that place. A value can never end its word or run anything, neither under dash nor under bash.
//
//   value                    bare            in double quotes    in single quotes
//   letters, digits and      as it is        as it is            as it is
//   _ @ % + = : , . / -
//   a b                      'a b'           a b                 a b
//   it's                     'it'\''s'       it's                it'\''s
//   a "b" $c                 'a "b" $c'      a \"b\" \$c         a "b" $c
//   line ends, bytes that    '...', as it    as it is            as it is
//   are no UTF-8             is inside
//   nothing                  nothing: a      an empty word       an empty word
//                            word vanishes
//   -rf where a word begins  refused         refused             refused
//   NUL byte, null pointer   refused         refused             refused
//
// A word also begins behind values of it that are empty. Apart from the places of the table:
//
// - The file name of a redirection may begin with "-": no shell takes it for an option. It is refused when
//   the name would be empty, since the shell would take the next word or fail, and when it is /dev/..., since
//   bash connects to /dev/tcp/HOST/PORT and has a /dev/fd/N of its own.
// - An integer for %d becomes its digits. A negative one may begin a word: the program itself made it.
// - A QuotedWord is put in as it is.
// - A Command stands in su's -c"%s", where nothing else may. It is escaped once more, for the shell of su.
// - What a program puts between quotes for another shell (programs.h) is refused with a quote, $, ` or \ in
//   it, and with a / where it becomes a part of a file's name.
//
// A refused command is never run; SYSTEM logs it.
//
// Two rules are for encodings in which a character can end with an ASCII byte (Big5, GBK, GB18030), and hence
// a backslash or a quote be taken for half of one. A backslash is never put behind a byte above 127: a \ " $
// or ` that follows one closely leaves the double quotes, a"'\'"b. And where, in the encoding of this
// process, bash would take a quote for part of a broken character, the command is refused.
//
// Where a value is empty, only this is relied on: `rm -rf %s`, with the folder of the skeleton home, removes
// nothing on a system that has none, and `useradd ... -k %s/root` and `cp -a %s/root/... ...` then mean
// /root.
//
// Templates are checked when they are compiled: a value may only stand where template.h says what it is, and
// beside a program that programs.h knows. "%%" is a percent sign. Globs work only where the template has
// them, and what an empty value leaves of a word is the template's: "%s/*" becomes "/*".
#ifndef BRINDLE_SHELL_COMPOSE_H
#define BRINDLE_SHELL_COMPOSE_H

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "shell/template.h"

namespace shell {

class Command;
class Composition;
template <typename... Values>
class Template;

/// Composes a command from a literal template and its values: texts (a null pointer is refused),
/// integers, QuotedWord, or another Command, which is escaped for its second reading.
template <typename... Values>
Command compose(Template<std::decay_t<Values>...> text, const Values&... values);

/// "COMMAND > PATH": a command with its output (the last stage's, in a pipeline) sent to a file.
Command redirected(const Command& command, std::string_view path);

/// A whole command line. Only the composer makes one.
class Command {
 public:
  /// The text for the shell. Of a refused command: what it would have been, for traces only.
  const std::string& text() const { return text_; }
  const char* c_str() const { return text_.c_str(); }
  /// True when a value could not be put in safely; such a command is never run.
  bool refused() const { return refused_; }

 private:
  friend class Composition;
  Command() = default;

  std::string text_;
  bool refused_ = false;
};

/// A value that brings its own single quotes, as foomatic prints its ids: exactly one quoted word that does
/// not begin with "-", or else the command is refused. Only for a bare word that is nothing but this value.
struct QuotedWord {
  std::string_view text;
};

/// Integers; bool and the character types are none here.
template <typename Value>
concept Number = std::integral<Value> && !std::same_as<Value, bool> && !std::same_as<Value, char> &&
                 !std::same_as<Value, wchar_t> && !std::same_as<Value, char8_t> &&
                 !std::same_as<Value, char16_t> && !std::same_as<Value, char32_t>;

template <typename Value>
constexpr ValueKind kind_of() {
  if constexpr (std::is_same_v<Value, Command>) return ValueKind::command;
  if constexpr (std::is_same_v<Value, QuotedWord>) return ValueKind::quoted_word;
  if constexpr (Number<Value>) return ValueKind::number;
  return ValueKind::text;
}

/// A template with its blanks, read at compile time for values of these types.
template <typename... Values>
class Template {
 public:
  template <std::size_t Size>
  consteval Template(const char (&literal)[Size])  // NOLINT: a template is written as a plain literal
      : Template(std::string_view(literal, Size - 1)) {}

  constexpr std::string_view text() const { return text_; }
  constexpr const std::array<Slot, sizeof...(Values)>& slots() const { return slots_; }

 private:
  friend struct TemplateOfTests;  // fuzz/composer makes templates up while it runs

  constexpr explicit Template(std::string_view text) : text_(text) {
    const std::vector<Slot> slots = slots_for(text, {kind_of<Values>()...});
    for (std::size_t at = 0; at < slots_.size(); ++at) slots_[at] = slots[at];
  }

  std::string_view text_;
  std::array<Slot, sizeof...(Values)> slots_{};
};

/// Collects a command piece by piece, for the two functions above.
class Composition {
 private:
  template <typename... Values>
  friend Command compose(Template<std::decay_t<Values>...> text, const Values&... values);
  friend Command redirected(const Command& command, std::string_view path);

  explicit Composition(std::string_view text) : rest_(text) {}

  void put(const Slot& slot, std::string_view value);
  void put(const Slot& slot, const char* value);
  void put(const Slot& slot, const Command& inner);
  void put(const Slot& slot, QuotedWord word);
  template <Number Integer>
  void put(const Slot& slot, Integer value) {
    put_number(slot, std::to_string(value));
  }
  Command finish();
  static Command join(const Command& head, const Command& tail);

  void put_number(const Slot& slot, const std::string& digits);
  void begin(const Slot& slot);
  bool may_stand(const Slot& slot, std::string_view value) const;
  void escape(Place place, std::string_view value);
  void copy_up_to(std::size_t offset);

  std::string_view rest_;
  std::size_t done_ = 0;
  bool word_has_value_ = false;  // one that is not empty, in the word that is being put together
  Command command_;
};

template <typename... Values>
Command compose(Template<std::decay_t<Values>...> text, const Values&... values) {
  Composition composition(text.text());
  std::size_t at = 0;
  (composition.put(text.slots()[at++], values), ...);
  return composition.finish();
}

}  // namespace shell

using shell::compose;

#endif
