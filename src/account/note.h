// What the wizard left about its last run.
#ifndef BRINDLE_ACCOUNT_NOTE_H
#define BRINDLE_ACCOUNT_NOTE_H

#include <ctime>
#include <stdexcept>
#include <string>
#include <vector>

#include "account/model/kinds.h"

namespace account {

/// How a run ended. `unknown`: nobody left a note. `begun`: it never said that it had ended.
enum class Ending { unknown, begun, ended, cancelled, refused };

struct RunNote {
  struct Somebody {
    std::string login;
    std::string home;
    bool had_account = false;  ///< a profile whose account was there before the run
  };
  std::string archive;
  System system = System::gnome;
  std::vector<Somebody> people;  ///< never empty; the one who ran the wizard comes first
  std::time_t begun = 0;         ///< 0 when it cannot be told, like `over`
  std::time_t over = 0;
  std::string kept;  ///< the name of its folder in ~/.brindle_before; empty when it does not say
  Ending ending = Ending::begun;
};

/// There is no note, or it is not one; what() says so in one sentence without an end.
class NoNote : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Reads the note at `path`. Throws NoNote.
RunNote read_note(const std::string& path);

/// Where the wizard leaves its note for whoever runs this program.
std::string usual_note();

}  // namespace account

#endif
