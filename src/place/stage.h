// A hidden folder beside a spot, in which something is made whole before it is seen there.
#ifndef BRINDLE_PLACE_STAGE_H
#define BRINDLE_PLACE_STAGE_H

#include <string>

#include "place/beneath.h"

namespace place {

/// rename to a name that must be free, EEXIST, also of folders into which we may not write. 0, or -1 with
/// errno set.
int rename_to_free(int from_folder, const char* from, int to_folder, const char* to);

/// The folder ".brindle_copy" (with a number behind it when that is taken) in the same folder as the spot. As
/// nobody else may look into it, names in it are what we made. What is left of it when a run is killed goes
/// with the next stage in that folder. Gone, with all in it, at the end of its life. False, with errno set,
/// when it could not be made.
class Stage {
 public:
  explicit Stage(const Spot& spot);
  ~Stage();
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;

  explicit operator bool() const { return static_cast<bool>(folder_); }
  int folder() const { return folder_.number(); }

  /// Under which the one thing is made.
  static constexpr const char* made = "made";

  /// A further name that may be used while it is made.
  static std::string further_name(std::size_t number) { return "name-" + std::to_string(number); }

  /// Moves it to the spot. False, with errno set; EEXIST when that is taken.
  bool put();

 private:
  bool take(const std::string& name);
  bool become_owner() const;
  bool is_left_of_ours() const;
  bool clear() const;

  const Spot& spot_;
  std::string name_;
  Descriptor folder_;
};

}  // namespace place

#endif
