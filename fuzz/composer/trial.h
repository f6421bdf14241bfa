// Runs a command text with a real shell whose only programs write down what they were started with.
#ifndef BRINDLE_FUZZ_COMPOSER_TRIAL_H
#define BRINDLE_FUZZ_COMPOSER_TRIAL_H

#include <optional>
#include <string>
#include <vector>

/// A shell and the encoding it works in.
struct Shell {
  std::string file;
  std::string language;  ///< LC_ALL
  /// In its encoding the second byte of a character may be an ASCII one, or half a character take one with
  /// it.
  bool ascii_halves = false;
};

/// One start of a program.
struct Call {
  std::vector<std::string> words;  ///< its name first
  std::string input;               ///< the file it reads from; empty when the command did not say
  std::string output;

  bool operator==(const Call&) const = default;
};

/// For a message: everything but plain ASCII is spelt out.
std::string visible(const std::string& bytes);
std::string visible(const std::vector<Call>& calls);

/// A folder of its own with the programs, and an empty one in which the commands run. Languages that it makes
/// are found by this process as long as it lives.
class Trial {
 public:
  Trial();
  ~Trial();
  Trial(const Trial&) = delete;
  Trial& operator=(const Trial&) = delete;

  /// Where the commands run, without a symbolic link on the way.
  const std::string& folder() const { return work_; }

  /// Makes a language of that encoding for the shells and for this process. Returns its name, or no value
  /// when this machine cannot.
  std::optional<std::string> make_language(const std::string& encoding) const;

  /// Gives `text` to the shell and returns what ran, by the order of its words. Throws std::runtime_error
  /// when the command does not end.
  std::vector<Call> run(const Shell& shell, const std::string& text) const;

  /// Removes what lies in folder().
  void clear() const;

 private:
  std::string top_;
  std::string work_;
};

#endif
