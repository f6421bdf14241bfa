// What undoing a run would do to files and folders, found by looking at everything its lists name.
//
//   it is now what it was before      nothing, at most its rights and time are given back
//   it is now what the run made of it its old state is given back; what had none is taken away
//   it is something else              it is left, and named
//   nothing is there any more         what had been there is given back
//
// Files are the same by content, links by target, folders always. Of a run that was killed nobody knows what
// it made of its last things: what is there counts as made by it.
#ifndef BRINDLE_UNDO_PLAN_H
#define BRINDLE_UNDO_PLAN_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "keep/list.h"
#include "place/entry.h"
#include "undo/ground.h"

namespace undo {

enum class Deed : std::uint8_t {
  none,         ///< it is as it was
  give_rights,  ///< mode, owner or time are not
  give_back,    ///< the kept copy takes its place
  take_away,    ///< the run made it
  leave,        ///< `why` tells why; empty for a folder that stays for what is named in it
};

struct Item {
  const Ground* ground = nullptr;
  std::string path;
  place::Entry before;
  std::optional<place::Entry> became;  ///< none: nobody knows
  place::Entry start;                  ///< now; its time when an unfinished undo that goes on had begun
  Deed deed = Deed::none;
  std::string why;
  bool rights_only = false;   ///< only mode and owner were changed
  bool by_copy = false;       ///< the list does not name it: `before` is what the kept copy is
  bool is_time_ours = false;  ///< an earlier undo gave it its present time
  bool whole_tree = false;    ///< the kept copy is a folder with all in it
};

/// What could not be done.
struct Failure {
  std::string name;
  std::string why;
};

/// The lists of one run in one home.
struct Lists {
  const Ground* ground = nullptr;
  const std::vector<keep::Row>* rows = nullptr;
};

/// States by path, from the lists of earlier undos of the same run.
struct Earlier {
  std::unordered_map<std::string, place::Entry> begun;  ///< before an unfinished one, which goes on
  std::unordered_map<std::string, place::Entry> ended;  ///< after those of some paths
};

class Plan {
 public:
  /// Looks at what the lists name.
  /// Only what lies at or below a path of `only` counts, if that holds any; nothing at or below one of
  /// `apart`.
  Plan(const std::vector<Lists>& lists, const Earlier& earlier, const std::vector<std::string>& only,
       const std::vector<std::string>& apart);

  const std::vector<Item>& items() const { return items_; }

  /// Indexes of the items, those nearest to the root first; of the same depth, the last in the list first.
  const std::vector<std::size_t>& downwards() const { return downwards_; }

  /// Null when the plan does not have it.
  const Item* find(const std::string& path) const;

  /// True when the folder that it lies in is taken away, with all in it.
  bool is_covered(const Item& item) const;

  bool does_anything() const;

 private:
  void collect(const Lists& lists);
  void add_path(const Ground& ground, const keep::Row& row);
  void add_rights(const Ground& ground, const keep::Row& row);
  void add_new_names(const Ground& ground, const keep::Row& row);
  void add_set_aside(const Ground& ground, const std::string& folder);
  void add_below(std::size_t index);
  void add(Item item);
  bool is_wanted(const std::string& path) const;
  bool is_missing_above(const Item& item) const;
  const place::Entry* begun_with(const std::string& path) const;
  void decide(Item& item);
  void keep_folders_of_others();
  void keep_folder_of_others(std::size_t index);

  const Earlier& earlier_;
  const std::vector<std::string>& only_;
  const std::vector<std::string>& apart_;
  std::vector<Item> items_;
  std::unordered_map<std::string, std::size_t> places_;
  std::vector<std::size_t> downwards_;
};

/// Mode, owner and time that `item` is to get, when it is now as `now`: the old ones, where the run or this
/// undo has changed them. `is_foreign` when somebody else has changed mode or owner.
struct Rights {
  place::Entry wanted;
  bool is_foreign = false;
};
Rights rights_of(const Item& item, const place::Entry& now);

/// True when an interrupted undo has begun to write the file at `spot`, which has further names.
bool is_under_way(const Item& item, const place::Spot& spot);

/// True when what is there now goes out of the way or away.
bool goes(const Item& item);

}  // namespace undo

#endif
