// What the comparisons of calendar, tasks, contacts and notes have in common.
#ifndef BRINDLE_ACCOUNT_KINDS_PERSONAL_H
#define BRINDLE_ACCOUNT_KINDS_PERSONAL_H

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "account/kinds/case.h"
#include "account/readers/text.h"

namespace account {

/// The kind's file in the person's home. A "*" in the place stands for the first profile of the Mozilla
/// suite; `before_evolution_2` is the place for a home without `.evolution`.
std::string personal_file(const Case& of, const char* before_evolution_2);

/// Why nothing can be read at `path`: it is not there, or no file that may be read.
std::optional<Cause> fault_of_place(const std::string& path);

/// The name in the archive that the wizard misses and therefore leaves the kind where it is; empty when it
/// looks at the kind.
std::string condition_not_met(const Case& of, Kind kind);

/// Hands the bytes of the file `name` of the archive to `read`, when it is there. What cannot be read of it
/// is counted as one thing, missing under the file's name, and the tally gives up.
void read_personal(const Case& of, const std::string& name, Tally& tally,
                   const std::function<void(Source)>& read);

/// The letters of one file of the archive. On KMail's systems they are moved as GB2312, whatever they are.
class Letters {
 public:
  Letters(const Case& of, const std::string& name);
  Letters(const Case& of, bool are_utf8);

  /// In UTF-8, as people wrote it.
  std::string operator()(std::string_view text) const;

  /// Whether something was read since the last call that is moved as what it is not.
  bool were_mistaken() const { return std::exchange(*mistaken_, false); }

  static constexpr const char* taken_for = "GB2312";

 private:
  std::string charset_;
  bool moved_as_chinese_, are_utf8_;
  std::shared_ptr<bool> mistaken_;  // one for all copies
};

/// `lines` without what is no ASCII, sorted. Two that say the same then differ in letters alone.
std::vector<std::string> without_letters(const std::vector<std::string>& lines);

}  // namespace account

#endif
