// The command line of brindle-account.
#ifndef BRINDLE_ACCOUNT_OPTIONS_H
#define BRINDLE_ACCOUNT_OPTIONS_H

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "account/model/kinds.h"

namespace account {

/// What the command line says. An option that was not given is empty.
struct Options {
  std::string archive;   ///< with `of_note` the note's file, empty for the usual one
  bool of_note = false;  ///< the wizard's note of its last run says all that is not given here
  std::optional<System> system;
  std::string login;                         ///< of the person who ran the wizard
  std::string home;                          ///< of the same
  std::vector<std::string> folders;          ///< homes of whom their last part or nothing names
  std::map<std::string, std::string> homes;  ///< of the archive's profiles, by login name
  std::string html, tsv, missing, replaced;  ///< files to write
  bool before = false;                       ///< look ahead, instead of back
  bool help = false;
};

/// The command line cannot be understood; what() says why, in one line.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// True when one of the folders is called like `login`.
bool names_home_of(const Options& options, std::string_view login);

/// Throws UsageError.
Options read_options(int count, const char* const* words);

extern const char* const usage;

}  // namespace account

#endif
