// Tries the composer with hostile values under real shells: what arrives must be the value, word for word.
#ifndef BRINDLE_FUZZ_COMPOSER_FUZZ_H
#define BRINDLE_FUZZ_COMPOSER_FUZZ_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "composer/hostile.h"
#include "composer/trial.h"
#include "shell/compose.h"

/// What was done, and what went wrong.
struct Tally {
  std::size_t composed = 0;         ///< commands with hostile values
  std::size_t ran = 0;              ///< of these, a shell was given
  std::size_t refused = 0;          ///< had to be refused, and were
  std::size_t refused_halves = 0;   ///< were refused in an encoding where their value hides a quote
  std::size_t templates = 0;        ///< made-up templates that the reader took
  std::size_t refused_made_up = 0;  ///< whose command was refused
  std::size_t no_templates = 0;     ///< made-up templates that the reader did not take
  std::vector<std::string> breaches{};
};

/// One command, and where it comes from.
struct Attempt {
  const Shell& shell;
  std::string text;
  std::vector<std::string> values;
  shell::Command command;
};

class Fuzz {
 public:
  Fuzz(const Trial& trial, std::vector<Shell> shells, std::uint64_t seed)
      : trial_(trial), shells_(std::move(shells)), hostile_(seed) {}

  /// One command from a template of the program with hostile values, under one of the shells.
  void try_shape();
  /// One command inside a command, for su.
  void try_inner_command();
  /// One with a QuotedWord and one with a number.
  void try_quoted_word();
  void try_number();
  /// One template that is a program's one with random changes. When the reader takes it, hostile values must
  /// arrive where a harmless one does.
  void try_made_up_template();

  const Tally& tally() const { return tally_; }

 private:
  void check(const Attempt& attempt, const std::optional<std::vector<Call>>& expected);
  const Shell& any_shell();

  const Trial& trial_;
  std::vector<Shell> shells_;
  Hostile hostile_;
  Tally tally_;
};

#endif
