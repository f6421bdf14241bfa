// Looking ahead: what would go wrong, be replaced or be asked if the wizard ran now.
#ifndef BRINDLE_ACCOUNT_BEFORE_BEFORE_H
#define BRINDLE_ACCOUNT_BEFORE_BEFORE_H

#include <optional>
#include <string>
#include <vector>

#include "account/archive/archive.h"
#include "account/kinds/case.h"
#include "account/model/kinds.h"
#include "account/model/texts.h"

namespace account {

enum class Level { note, warning };

enum class Foresight {
#define WARNING(name, level, key, english) name,
#include "account/before/warnings.def"
#undef WARNING
};

Level level_of(Foresight what);
std::string text_of(const Texts& texts, Foresight what, std::string_view detail);

/// One thing to know before a run.
struct Warning {
  std::string person;        ///< login name; empty when it is about all
  std::optional<Kind> kind;  ///< none when it is about the archive or the machine
  std::string name;          ///< of an entry, an account, a file, ...
  Foresight what;
  std::string detail;            ///< for the text
  std::optional<Cause> cause{};  ///< in whose words `what` goes on; `detail` is for these
};

std::string text_of(const Texts& texts, const Warning& warning);

/// What is looked at.
struct Outlook {
  const Archive& archive;
  const std::vector<Person>& people;
  System system;
  bool several;
  bool as_root;
  std::string charset;  ///< iconv's name of the archive's Windows character set
  std::string machine;  ///< what stands before absolute places, "" for this machine
};

/// Each adds what it finds, in the order of the archive. None writes anything outside of /tmp.
void foresee_entries(const Outlook& outlook,
                     std::vector<Warning>& found);  ///< each entry, checksums included
void foresee_left_over(const Outlook& outlook, std::vector<Warning>& found);  ///< what no kind looks at
void foresee_losses(const Outlook& outlook, std::vector<Warning>& found);     ///< what no run moves
void foresee_settings(const Outlook& outlook, std::vector<Warning>& found);  ///< lines that are cut or hidden
void foresee_conditions(const Outlook& outlook, std::vector<Warning>& found);  ///< what waits for a folder
void foresee_accounts(const Outlook& outlook, std::vector<Warning>& found);  ///< what Evolution would refuse
void foresee_letters(const Outlook& outlook,
                     std::vector<Warning>& found);  ///< texts in another character set
void foresee_drives(const Outlook& outlook,
                    std::vector<Warning>& found);  ///< what breaks the file manager's list, or has no link
void foresee_wallpaper(const Outlook& outlook,
                       std::vector<Warning>& found);  ///< what breaks the desktop's settings
void foresee_printers(const Outlook& outlook, std::vector<Warning>& found);  ///< queues, windows
void foresee_logins(const Outlook& outlook, std::vector<Warning>& found);    ///< new user accounts
void foresee_space(const Outlook& outlook, std::vector<Warning>& found);     ///< in /tmp and in the homes
void foresee_replaced(const Outlook& outlook, std::vector<Warning>& found);  ///< files that are there already

/// All of them.
std::vector<Warning> foresee(const Outlook& outlook);

/// "level person kind name text", a line a warning; "-" for all people and for no kind.
std::string table_of_warnings(const std::vector<Warning>& warnings, const Texts& texts);

}  // namespace account

#endif
