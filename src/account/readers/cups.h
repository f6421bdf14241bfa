// Print queues, as the print system itself describes them.
#ifndef BRINDLE_ACCOUNT_READERS_CUPS_H
#define BRINDLE_ACCOUNT_READERS_CUPS_H

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace account {

/// One setting that a printer's driver offers.
struct DriverOption {
  std::string standard;  ///< the choice when nothing else is said
  std::set<std::string> choices;
};

struct PrintQueue {
  std::string name;
  std::string uri;          ///< of the device, without the password it may hold
  bool is_default = false;  ///< for this user
  bool has_driver = false;  ///< its driver description, a PPD file, can be read
  std::map<std::string, DriverOption> driver;
  std::map<std::string, std::string> options;  ///< what this user or the machine has set for jobs

  /// What a job is printed with: the user's own choice, else the driver's; empty when neither knows `option`.
  std::string choice(const std::string& option) const;
};

/// All queues of the print system that answers this process. No value when none does.
std::optional<std::vector<PrintQueue>> read_queues();

/// The default printer in `home`/.cups/lpoptions; empty without one.
std::string default_printer_in(const std::string& home);

}  // namespace account

#endif
