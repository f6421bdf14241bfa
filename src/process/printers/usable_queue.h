// A page comes out of each queue that a run makes: what the commands leave undone at the print server is done
// behind them, by the CUPS library.
//
// foomatic-configure takes a queue for unknown that cupsd has not yet written into its printers.conf, and
// then takes the driver away from it; and once that file is there, it cannot read it (docs/printers.md). Its
// option commands make a queue of their own, one that leads nowhere, where there is none.
#ifndef BRINDLE_PROCESS_PRINTERS_USABLE_QUEUE_H
#define BRINDLE_PROCESS_PRINTERS_USABLE_QUEUE_H

#include <functional>
#include <string>

#include "things/queue.h"

/// Looks at one queue behind each command that works on it. Whatever it does, and whatever it cannot do, is
/// said on standard error. Without a print server it does nothing.
class UsableQueue {
 public:
  /// Before the first command.
  explicit UsableQueue(std::string name);

  /// After the command that makes it: when it does not lead to `address` or has no driver, it is made there
  /// with the one that `find_driver` gives. Without one it is not. One that was there gets the password in
  /// `address` once more.
  void after_making(const std::string& address, const std::function<things::Driver()>& find_driver);

  /// After a command of foomatic's that sets `option`, as "PageSize=A4", or nothing: gives the driver back
  /// that the command has taken away, and makes the choice the default where the driver offers it.
  void after_option(const std::string& option);

  /// After the last command: a queue that leads nowhere is removed, when it was not there before.
  void after_all() const;

 private:
  void remember(const std::string& state);
  void give_password(const std::string& address) const;

  std::string name_;
  bool is_looked_at_ = false;
  bool was_there_ = true;
  std::string ppd_;   // what it has, or had before a command took it away
  std::string info_;  // with that
};

#endif
