// Carries out a plan for files and folders.
//
// Everything goes through keep first, as a run of its own. A file is copied beside its place and renamed into
// it, and what is taken away is moved, so that whenever this is interrupted each thing is in its old or its
// new state, and the next time goes on.
#ifndef BRINDLE_UNDO_GIVE_BACK_H
#define BRINDLE_UNDO_GIVE_BACK_H

#include <sys/types.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "undo/plan.h"

namespace undo {

class Giver {
 public:
  /// `written_since`: a folder whose files a daemon may have written again since the plan was made; empty for
  /// none. They get their bytes back all the same.
  Giver(const Plan& plan, std::string written_since)
      : plan_(plan), written_since_(std::move(written_since)) {}

  /// Before the daemon writes there: keeps what the plan touches. False when something could not be kept.
  [[nodiscard]] bool keep_first();

  /// What the run made goes, then what was there comes back, and at last folders get their rights and times.
  void carry_out();

  /// What could not be done.
  const std::vector<Failure>& failures() const { return failures_; }
  std::size_t given_back() const { return given_back_; }
  std::size_t taken_away() const { return taken_away_; }

 private:
  void take_away(const Item& item);
  void give_back(const Item& item);
  void give_rights(const Item& item);
  bool is_as_planned(const Item& item);
  bool make_way(const Item& item, const place::Spot& spot);
  bool make_again(const Item& item, const place::Spot& spot);
  bool make_folder(const Item& item, const place::Spot& spot);
  bool make_link(const Item& item, const place::Spot& spot);
  bool copy_kept(const Item& item, const place::Spot& spot);
  bool write_in_place(const Item& item, const place::Spot& spot);
  bool link_to_twin(const Item& item, const place::Spot& spot);
  bool link_to(const std::string& path, const Item& item, const place::Spot& spot, bool is_new);
  std::vector<std::string> unlisted_names_of(const Item& item);
  bool failed(const Item& item, const std::string& why);

  bool is_written_since(const Item& item) const;
  bool is_removed_since(const Item& item, const place::Spot& spot) const;
  place::Spot kept_spot(const Item& item) const;

  const Plan& plan_;
  std::string written_since_;
  std::map<std::string, std::multimap<ino_t, std::string>> linked_names_;  ///< below a folder, by number
  std::vector<Failure> failures_;
  std::size_t given_back_ = 0;
  std::size_t taken_away_ = 0;
};

}  // namespace undo

#endif
