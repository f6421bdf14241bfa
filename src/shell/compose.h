// The one composer of command lines. Every value that goes into a command passes through here.
//
//   compose("cp -a \"%s\"/* %s/Documents ", folder, home)
//
// knows for each %s whether it stands in a bare word, in double or in single quotes, and escapes the
// value for that place. A value can never end its word or run anything; a harmless one is put in as it is.
//
//   place          value       becomes
//   bare           /home/ann   /home/ann
//   bare           a b         'a b'
//   bare           it's        'it'\''s'
//   bare           -rf         the command is refused: it would be taken for an option
//   double quotes  a "b" $c    a \"b\" \$c
//   single quotes  it's        it'\''s
//
// Templates are checked when they are compiled. Refused are: a wrong number or kind of values, unbalanced
// quotes, a value as the name of a command, `$`-expansions and backquotes outside single quotes. "%%" is a
// percent sign. Globs work only where the template has them.
#ifndef BRINDLE_SHELL_COMPOSE_H
#define BRINDLE_SHELL_COMPOSE_H

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace shell {

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
  std::string text_;
  bool refused_ = false;
};

/// A value that brings its own single quotes, as foomatic prints its ids: exactly one quoted word, or
/// else the command is refused. Only for a bare place.
struct QuotedWord {
  std::string_view text;
};

enum class Place { bare, double_quotes, single_quotes };

/// One %s or %d of a template.
struct Slot {
  std::size_t offset = 0;
  Place place = Place::bare;
  bool starts_word = false;
  char kind = 's';
};

/// Reads a template once, at compile time. A `throw` here is a compile error that shows its text.
class TemplateReader {
 public:
  constexpr explicit TemplateReader(std::string_view text) : text_(text) {}

  template <std::size_t Count>
  constexpr std::array<Slot, Count> slots() {
    std::array<Slot, Count> found{};
    std::size_t used = 0;
    while (at_ < text_.size()) {
      if (text_[at_] == '%') {
        const char kind = kind_after_percent();
        if (kind == '%') {
          at_ += 2;
          in_word_ = true;
          continue;
        }
        if (used == Count) throw "more blanks in the template than values";
        if (naming_command_) throw "a value may not name the command";
        found[used++] = Slot{at_, place_, !in_word_, kind};
        in_word_ = true;
        at_ += 2;
      } else {
        step();
      }
    }
    if (place_ != Place::bare) throw "unbalanced quotes";
    if (used != Count) throw "more values than blanks in the template";
    return found;
  }

 private:
  constexpr char kind_after_percent() const {
    if (at_ + 1 == text_.size()) throw "a lone percent sign";
    const char kind = text_[at_ + 1];
    if (kind != 's' && kind != 'd' && kind != '%') throw "only %s, %d and %% are known";
    return kind;
  }

  constexpr void step() {
    const char c = text_[at_++];
    if (place_ == Place::single_quotes) {
      if (c == '\'') place_ = Place::bare;
      return;
    }
    if (c == '$' || c == '`') throw "expansions belong into single quotes";
    if (c == '\\') {
      if (at_ == text_.size() || text_[at_] == '%') throw "a backslash before nothing or a value";
      ++at_;
      in_word_ = true;
    } else if (place_ == Place::double_quotes) {
      if (c == '"') place_ = Place::bare;
    } else if (c == '"') {
      place_ = Place::double_quotes;
    } else if (c == '\'') {
      place_ = Place::single_quotes;
    } else {
      step_bare(c);
    }
  }

  constexpr void step_bare(char c) {
    if (c == ' ' || c == '\t') {
      if (in_word_) naming_command_ = false;
      in_word_ = false;
    } else if (c == '|' || c == ';' || c == '&' || c == '(' || c == '\n') {
      in_word_ = false;
      naming_command_ = true;
    } else if (c == '<' || c == '>') {
      in_word_ = false;
      naming_command_ = false;  // a file name follows
    } else {
      in_word_ = true;
    }
  }

  std::string_view text_;
  std::size_t at_ = 0;
  Place place_ = Place::bare;
  bool in_word_ = false;
  bool naming_command_ = true;
};

/// A template with its blanks, read at compile time for values of these types.
template <typename... Values>
struct Template {
  std::string_view text;
  std::array<Slot, sizeof...(Values)> slots;

  template <std::size_t Size>
  consteval Template(const char (&literal)[Size])  // NOLINT: a template is written as a plain literal
      : text(literal, Size - 1), slots(TemplateReader(text).slots<sizeof...(Values)>()) {
    std::size_t at = 0;
    (check_kind<Values>(slots[at++]), ...);
  }

 private:
  template <typename Value>
  static constexpr void check_kind(const Slot& slot) {
    if ((slot.kind == 'd') != std::is_integral_v<Value>) throw "%d takes an integer, %s a text";
    if (std::is_same_v<Value, QuotedWord> && slot.place != Place::bare)
      throw "a word with its own quotes stands bare";
  }
};

/// Collects a command piece by piece; used by compose only.
class Composition {
 public:
  explicit Composition(std::string_view text) : rest_(text) {}

  void put(const Slot& slot, std::string_view value);
  void put(const Slot& slot, const char* value);
  void put(const Slot& slot, const Command& inner);
  void put(const Slot& slot, QuotedWord word);
  template <typename Integer>
  requires std::is_integral_v<Integer>
  void put(const Slot& slot, Integer value) { put(slot, std::string_view(std::to_string(value))); }
  Command finish();
  static Command join(const Command& head, const Command& tail);

 private:
  void copy_up_to(std::size_t offset);

  std::string_view rest_;
  std::size_t done_ = 0;
  Command command_;
};

/// Composes a command from a literal template and its values: texts (a null pointer is refused),
/// integers, QuotedWord, or another Command, which is escaped for its second reading.
template <typename... Values>
Command compose(Template<std::decay_t<Values>...> text, const Values&... values) {
  Composition composition(text.text);
  std::size_t at = 0;
  (composition.put(text.slots[at++], values), ...);
  return composition.finish();
}

/// "COMMAND > PATH": a command with its output (the last stage's, in a pipeline) sent to a file.
Command redirected(const Command& command, std::string_view path);

}  // namespace shell

using shell::compose;

#endif
