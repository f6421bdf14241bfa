// The command line of brindle-pack.
#ifndef BRINDLE_PACK_OPTIONS_H
#define BRINDLE_PACK_OPTIONS_H

#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "pack/model/kinds.h"

namespace pack {

/// What the command line says.
struct Options {
  std::string source;
  std::string out;
  bool list = false;
  bool estimate = false;
  bool store = false;
  bool help = false;
  std::vector<std::string> users;             ///< names shown, or logins; empty: all
  std::map<std::string, std::string> logins;  ///< wanted instead of the ones made
  std::map<char, std::string> drives;         ///< other volumes by their letter
  std::set<Kind> without;
  std::string charset;  ///< of old programs' texts, by a name that iconv knows; empty: not given
};

/// The command line cannot be understood; what() says why, in one line.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Throws UsageError.
Options read_options(int count, const char* const* words);

extern const char* const usage;

}  // namespace pack

#endif
