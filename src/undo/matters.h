// What a run has changed that is no file: queues, the default queue, GConf keys, accounts.
#ifndef BRINDLE_UNDO_MATTERS_H
#define BRINDLE_UNDO_MATTERS_H

#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "keep/list.h"
#include "undo/plan.h"

typedef struct _GConfClient GConfClient;

namespace undo {

struct Matter {
  keep::Kind kind = keep::Kind::gconf;
  std::string name;
  std::string before;
  std::string became;
  std::string start;  ///< when it was looked at first: giving back another thing may change it
  Deed deed = Deed::none;
  std::string why;

  bool is_made() const { return before == keep::nothing; }
};

/// "the print queue office", as people call it.
std::string name_of(const Matter& matter);

/// The home that the account had when the run was over; empty for a group, and where the list does not tell.
std::string home_of(const Matter& matter);

class Matters {
 public:
  /// Of the run whose kept folder is `store`. Looks at each as it is now. Accounts that the run made are
  /// left without `with_accounts`, and when they have been used `since`.
  Matters(const std::vector<keep::Row>& rows, std::string store, bool with_accounts, std::time_t since);
  ~Matters();
  Matters(const Matters&) = delete;
  Matters& operator=(const Matters&) = delete;

  /// In the order in which they are given back, the last change first.
  const std::vector<Matter>& all() const { return all_; }

  /// The account is not to go, or not now.
  void leave(const std::string& account, const std::string& why);

  /// Queues, then the default queue, then GConf keys, which are in ~/.gconf afterwards and in no daemon's
  /// memory any more.
  void give_back_before_files(std::vector<Failure>& failures);

  /// Accounts, the last one first, and their groups after them.
  void give_back_accounts(std::vector<Failure>& failures);

  std::size_t done() const { return done_; }

  /// True when give_back_before_files changes GConf keys.
  bool has_settings() const;

 private:
  std::string state_of(const Matter& matter, bool& is_told, std::string& error);
  bool give(const Matter& matter, std::string& error);
  bool change(const Matter& matter, std::string& error);
  void decide(Matter& matter);
  void decide_account(Matter& matter);
  void write_settings(std::vector<Failure>& failures);
  void give_back(keep::Kind kind, std::vector<Failure>& failures);

  std::vector<Matter> all_;
  std::string store_;
  bool with_accounts_;
  std::time_t since_;
  GConfClient* client_ = nullptr;
  std::size_t done_ = 0;
};

/// Ends the GConf daemon, which would write its memory over the files that are given back.
void end_settings_daemon();

}  // namespace undo

#endif
