// What became of one kind of data of one person, in numbers and names.
#ifndef BRINDLE_ACCOUNT_MODEL_TALLY_H
#define BRINDLE_ACCOUNT_MODEL_TALLY_H

#include <cstddef>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "account/model/texts.h"

namespace account {

/// Something that has not arrived.
struct Missing {
  std::string name;  ///< by which the person knows it: a file's name, a message's subject and folder, ...
  Cause cause;
  std::string_view detail;  ///< for the cause's text; lives as long as a tally that has the thing
};

/// Counts. What is found is counted where the archive is read, what became of it where the target is looked
/// at, so that the sum of the two sides says whether a reader forgot something.
class Tally {
 public:
  void find(std::size_t count = 1) { found_ += count; }
  void arrive_unchanged(std::size_t count = 1) { unchanged_ += count; }
  void arrive_changed(std::size_t count = 1) {
    changed_ += count;
  }  ///< with the changes that belong to the move
  void have_no_place(std::size_t count = 1) { elsewhere_ += count; }  ///< this system has none for it
  void miss(std::string name, Cause cause, std::string_view detail = {}) {
    missing_.push_back({std::move(name), cause, kept(detail)});
  }

  /// For what is named when it is missing, and counted nowhere: an empty folder is no file and no message.
  void miss_uncounted(std::string name, Cause cause, std::string_view detail = {});

  /// Gives everything that is missing one cause, which lies deeper than the one that was seen.
  void explain_all(Cause cause, std::string_view detail = {});

  /// The same for what is missing with the cause `seen`.
  void explain(Cause seen, Cause cause, std::string_view detail);

  /// For a part of the archive that cannot be read, so that it is not known what it holds.
  void give_up() { complete_ = false; }

  std::size_t found() const { return found_; }
  std::size_t unchanged() const { return unchanged_; }
  std::size_t changed() const { return changed_; }
  std::size_t elsewhere() const { return elsewhere_; }
  const std::vector<Missing>& missing() const { return missing_; }

  /// False after give_up(), and when the sum does not hold.
  bool certain() const;

 private:
  // Hundreds of thousands of things may be missing for the same detail, such as the place of their folder.
  std::string_view kept(std::string_view detail) { return *details_->emplace(detail).first; }

  std::size_t found_ = 0;
  std::size_t uncounted_ = 0;  // of those that are missing
  std::size_t unchanged_ = 0;
  std::size_t changed_ = 0;
  std::size_t elsewhere_ = 0;
  std::vector<Missing> missing_;
  std::shared_ptr<std::set<std::string>> details_ = std::make_shared<std::set<std::string>>();
  bool complete_ = true;
};

}  // namespace account

#endif
