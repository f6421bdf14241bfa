// Reads a command's template and says where its values stand. Used by the composer, when it is compiled.
//
// A template is a list of simple commands, and nothing else of the shell's language:
//
//   list      commands with |, ;, &, && or || between them; a last ; or & may end it
//   command   a name in plain letters, words, and redirections <, > or >>, which may have one digit in front
//   word      plain characters, "double quotes", 'single quotes', a backslash before one character, * and ?
//
// What is not named here is refused, so that a value can stand nowhere that nobody has thought of.
#ifndef BRINDLE_SHELL_TEMPLATE_H
#define BRINDLE_SHELL_TEMPLATE_H

#include <array>
#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "shell/programs.h"

namespace shell {

enum class Place { bare, double_quotes, single_quotes };

/// What a value is to the shell: a word of a command or a part of one, the file name of a redirection, or a
/// command for a program that reads one.
enum class Role { argument, file_name, command };

/// One %s or %d of a template.
struct Slot {
  std::size_t offset = 0;
  char kind = 's';
  Place place = Place::bare;
  Role role = Role::argument;
  bool first_value = false;  ///< no other value stands before it in its word
  bool at_start = false;     ///< nothing of the template stands before it in its word
  bool alone = false;        ///< nothing else at all stands in its word
  bool requoted = false;     ///< the program puts it between quotes for a shell
  bool names_file = false;   ///< it becomes a part of a file's name
};

/// What a value can be to the composer.
enum class ValueKind { text, number, quoted_word, command };

/// Reads one template. A `throw` here is a compile error that shows its text.
class TemplateReader {
 public:
  constexpr explicit TemplateReader(std::string_view text) : text_(text) {}

  /// The template's slots, in their order.
  constexpr std::vector<Slot> read() {
    while (at_ < text_.size()) step();
    if (place_ != Place::bare) throw "unbalanced quotes";
    end_word();
    if (!command_.begun && command_due_) throw "a command is missing";
    end_command();
    if (tilde_ && !slots_.empty()) throw "a value in a template with a ~";
    return slots_;
  }

 private:
  struct Word {
    bool begun = false;
    bool quoted = false;  // in part at least
    bool glob = false;
    std::string shape{};  // the text without its quotes, "%s" for a value and "%%" for a percent sign
    std::size_t first_slot = 0;
  };

  struct Simple {  // a simple command
    bool begun = false;
    bool named = false;
    std::optional<Program> program{};
    std::size_t words = 0;
    std::string word_before{};
    bool has_value = false;
    bool unknown_option = false;
  };

  constexpr void step() {
    if (text_[at_] == '%') return percent();
    const char c = text_[at_++];
    if (c == '\0') throw "a NUL byte in a template";
    if (place_ == Place::single_quotes) return in_quotes(c, '\'');
    if (c == '$' || c == '`') throw "expansions belong into single quotes";
    if (c == '\\') return backslash();
    if (place_ == Place::double_quotes) return in_quotes(c, '"');
    bare(c);
  }

  // ---- Characters -------------------------------------------------------------------------------------

  constexpr void percent() {
    if (at_ + 1 == text_.size()) throw "a lone percent sign";
    const char kind = text_[at_ + 1];
    if (kind == '%') {
      add("%%");
    } else if (kind == 's' || kind == 'd') {
      const bool first = slots_.size() == word_.first_slot;
      const bool at_start = word_.shape.size() == 2 * (slots_.size() - word_.first_slot);
      slots_.push_back(
          {.offset = at_, .kind = kind, .place = place_, .first_value = first, .at_start = at_start});
      add("%s");
    } else {
      throw "only %s, %d and %% are known";
    }
    at_ += 2;
  }

  constexpr void in_quotes(char c, char end) {
    if (c == end) {
      place_ = Place::bare;
    } else {
      add(c);
    }
  }

  constexpr void backslash() {
    if (at_ == text_.size()) throw "a backslash before nothing";
    if (behind_half_a_character()) throw "a backslash behind what may be half a character";
    const char next = text_[at_++];
    if (next == '%' || next == '\n' || next == '\0') throw "a backslash before a value or a line end";
    if (place_ == Place::double_quotes && !one_of(next, "\\\"$`"))
      throw "a backslash that stays in double quotes";
    add(next);
    word_.quoted = true;
  }

  // In some encodings a backslash can be the second byte of a character.
  constexpr bool behind_half_a_character() const {
    const std::size_t before = at_ - 1;
    if (before == 0) return false;
    if (static_cast<unsigned char>(text_[before - 1]) >= 0x80) return true;
    return place_ != Place::bare && !slots_.empty() && slots_.back().offset + 2 == before;
  }

  constexpr void bare(char c) {
    if (c == ' ' || c == '\t') return end_word();
    if (one_of(c, "|;&")) return separator(c);
    if (one_of(c, "<>")) return redirection(c);
    if (one_of(c, "\"'")) return open_quotes(c);
    if (c == '~') return tilde();
    if (one_of(c, "*?")) {
      word_.glob = true;
    } else {
      check_plain(c);
    }
    add(c);
  }

  constexpr void open_quotes(char c) {
    place_ = c == '"' ? Place::double_quotes : Place::single_quotes;
    begin_word();
    word_.quoted = true;
  }

  // Tilde expansion belongs to whole words, and bash also finds a ~ behind a = or :.
  constexpr void tilde() {
    if (word_.begun) throw "a ~ inside a word";
    tilde_ = true;
    add('~');
  }

  static constexpr void check_plain(char c) {
    if (is_plain(c)) return;
    if (c == '#') throw "a comment";
    if (c == '(' || c == ')') throw "parentheses outside quotes";
    if (c == '{' || c == '}') throw "braces outside quotes";
    if (c == '[' || c == ']') throw "brackets outside quotes";
    if (c == '\n') throw "a line end outside quotes";
    if (c == '!') throw "an exclamation mark outside quotes";
    throw "a character that templates do not know";
  }

  static constexpr bool one_of(char c, std::string_view characters) {
    return characters.find(c) != std::string_view::npos;
  }

  static constexpr bool is_name(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || one_of(c, "_+./-");
  }

  static constexpr bool is_plain(char c) {
    return is_name(c) || one_of(c, "@=:,") || static_cast<unsigned char>(c) >= 0x80;
  }

  // ---- Words ------------------------------------------------------------------------------------------

  constexpr void begin_word() {
    word_.begun = true;
    command_.begun = true;
  }

  constexpr void add(char c) {
    begin_word();
    word_.shape += c;
  }

  constexpr void add(std::string_view text) {
    begin_word();
    word_.shape += text;
  }

  constexpr void end_word() {
    if (!word_.begun) return;
    if (file_name_due_) {
      end_file_name();
    } else if (!command_.named) {
      end_name();
    } else {
      end_argument();
    }
    word_ = Word{.first_slot = slots_.size()};
  }

  constexpr bool has_value() const { return slots_.size() > word_.first_slot; }

  constexpr void end_file_name() {
    file_name_due_ = false;
    if (word_.glob) throw "a glob in the file name of a redirection";
    if (!has_value()) return;
    Slot& slot = slots_.back();
    if (!slot.first_value || !slot.at_start) throw "a file name has one value, at its beginning";
    slot.role = Role::file_name;
    slot.alone = word_.shape == "%s";
  }

  constexpr void end_name() {
    if (has_value()) throw "a value may not name the command";
    if (one_of('=', word_.shape)) throw "an assignment before a command";
    if (word_.quoted) throw "a command's name stands without quotes";
    for (const char c : word_.shape)
      if (!is_name(c)) throw "a command's name is plain text";
    if (is_reserved(word_.shape)) throw "a reserved word";
    command_.named = true;
    command_.program = program(word_.shape);
  }

  static constexpr bool is_reserved(std::string_view name) {
    for (const std::string_view word :
         {"if", "then", "else", "elif", "fi", "do", "done", "case", "esac", "in", "while", "until", "for",
          "select", "function", "time", "coproc"})
      if (name == word) return true;
    return false;
  }

  constexpr void end_argument() {
    command_.has_value |= has_value();
    if (is_given_to_a_shell()) return end_inner_command();
    if (has_value()) slots_.back().alone = word_.shape == "%s";
    if (command_.program) mark_slots(*command_.program);
    command_.word_before = word_.shape;
    if (!begins_as_option()) {
      ++command_.words;
    } else if (command_.program && !command_.program->has_option(word_.shape)) {
      command_.unknown_option = true;
    }
  }

  constexpr void mark_slots(const Program& program) {
    for (std::size_t at = word_.first_slot; at < slots_.size(); ++at) {
      slots_[at].requoted = Program::has(program.quotes, command_.word_before);
      slots_[at].names_file = Program::has(program.names_file, command_.word_before);
    }
  }

  constexpr bool is_given_to_a_shell() const {
    return has_value() && command_.program && command_.program->reads_command == word_.shape;
  }

  constexpr void end_inner_command() {
    if (slots_.back().place != Place::double_quotes) throw "a command for a shell stands in double quotes";
    slots_.back().role = Role::command;
  }

  constexpr bool begins_as_option() const {
    std::string_view rest = word_.shape;
    while (rest.starts_with("%s")) rest.remove_prefix(2);
    const bool dash = rest.starts_with('-');
    if (dash && rest.size() < word_.shape.size())
      throw "a value before a dash: an empty one would leave an option";
    return dash;
  }

  // ---- Commands ---------------------------------------------------------------------------------------

  constexpr void redirection(char sign) {
    take_number();
    if (file_name_due_) throw "a redirection without a file name";
    if (at_ > 1 && text_[at_ - 2] == '&') throw "only <, > and >> are known";
    if (sign == '>' && at_ < text_.size() && text_[at_] == '>') ++at_;
    if (at_ < text_.size() && one_of(text_[at_], "<>&|")) throw "only <, > and >> are known";
    file_name_due_ = true;
    command_.begun = true;
  }

  // The number of a file descriptor is the only word that may touch the sign; more than one digit is a word
  // to some shells.
  constexpr void take_number() {
    if (!word_.begun) return;
    const bool number = word_.shape.size() == 1 && word_.shape[0] >= '0' && word_.shape[0] <= '9';
    if (!number || word_.quoted) throw "a word directly before a redirection";
    word_ = Word{.first_slot = slots_.size()};
  }

  constexpr void separator(char sign) {
    end_word();
    if (!command_.begun) throw "a command is missing";
    const bool twice = sign != ';' && at_ < text_.size() && text_[at_] == sign;
    if (twice) ++at_;
    command_due_ = twice || sign == '|';
    end_command();
  }

  constexpr void end_command() {
    if (file_name_due_) throw "a redirection without a file name";
    if (command_.has_value) check_words();
    command_ = Simple{};
  }

  constexpr void check_words() const {
    if (!command_.program) throw "a value beside a program that has no row";
    if (command_.unknown_option) throw "a value beside an option that its program's row does not have";
    if (command_.words > command_.program->words)
      throw "a value beside more words than its program's row has";
  }

  std::string_view text_;
  std::size_t at_ = 0;
  Place place_ = Place::bare;
  std::vector<Slot> slots_{};
  Word word_{};
  Simple command_{};
  bool command_due_ = true;     // none of the text so far, or a sign that needs another one
  bool file_name_due_ = false;  // a redirection's sign has been read
  bool tilde_ = false;
};

/// Throws when a value of this kind may not stand in `slot`.
constexpr void check_kind(const Slot& slot, ValueKind kind) {
  if ((slot.kind == 'd') != (kind == ValueKind::number)) throw "%d takes an integer, %s a text";
  if (slot.role == Role::file_name && kind != ValueKind::text) throw "a file name is a text";
  if (slot.role == Role::command && kind != ValueKind::command)
    throw "only a whole command may be given to a shell";
  if (slot.role != Role::command && kind == ValueKind::command) throw "a command where no shell reads it";
  if (kind == ValueKind::quoted_word && !(slot.alone && slot.place == Place::bare))
    throw "a word with its own quotes stands bare and alone";
}

/// The slots of `text` for values of these kinds. Throws a text that says what is wrong.
constexpr std::vector<Slot> slots_for(std::string_view text, std::initializer_list<ValueKind> kinds) {
  std::vector<Slot> slots = TemplateReader(text).read();
  if (slots.size() > kinds.size()) throw "more blanks in the template than values";
  if (slots.size() < kinds.size()) throw "more values than blanks in the template";
  auto slot = slots.begin();
  for (const ValueKind kind : kinds) check_kind(*slot++, kind);
  return slots;
}

}  // namespace shell

#endif
