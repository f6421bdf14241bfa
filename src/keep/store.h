// The kept folder of one run in one home: HOME/.brindle_before/DATE-TIME, its copies and its list.
#ifndef BRINDLE_KEEP_STORE_H
#define BRINDLE_KEEP_STORE_H

#include <ctime>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "keep/list.h"
#include "place/beneath.h"
#include "place/entry.h"

namespace keep {

inline constexpr const char* folder_of_all = ".brindle_before";  ///< in a home
inline constexpr const char* list_name = "list.tsv";             ///< in a run's folder
inline constexpr const char* folder_of_files = "files";          ///< copies, each under its whole path
inline constexpr const char* folder_of_homes = "homes";          ///< LOGIN.tsv: the lists of other homes

/// "2026-11-22-014530": the local time, DATE-TIME of a run that begins then.
std::string name_of_run(std::time_t time);

/// Writes one run's folder in one home. It is made at the first use, for its owner alone, over no link.
class Store {
 public:
  /// `home`: without links. `own_copy` is the file to which each row is written as well; none in the home of
  /// whoever runs the program.
  Store(std::string home, std::string date_time);

  const std::string& home() const { return home_; }
  std::string folder() const { return home_ + "/" + folder_of_all + "/" + date_time_; }

  /// Makes the folder and begins its list, or opens an unfinished one when it `may_go_on`. False, with errno
  /// set, when it cannot be made or is not ours alone. `copy_of_list` gets each row as well.
  [[nodiscard]] bool open(bool may_go_on, Descriptor copy_of_list = Descriptor());
  bool is_open() const { return static_cast<bool>(list_); }

  /// In the store of whoever runs the program: the list of another home.
  Descriptor open_list_of(const std::string& login) const;

  /// Appends rows, on any thread. False, with errno set, when the disk did not take all.
  [[nodiscard]] bool add(const std::vector<Row>& rows);

  /// Copies, or moves, what lies at `from`, whose whole path is `path`, into the folder. True when it is
  /// there already.
  [[nodiscard]] bool keep(const place::Spot& from, const std::string& path);
  [[nodiscard]] bool take(const place::Spot& from, const std::string& path);

  /// Removes the copy of `path` again, with the folders that this leaves empty.
  void drop(const std::string& path);

  /// One row a name from now on. The lists stay as they are when that cannot be done.
  void complete();

 private:
  bool has_own_folder();
  std::optional<place::Spot> place_for(const std::string& path);

  std::string home_;
  std::string date_time_;
  std::unique_ptr<std::mutex> adding_ = std::make_unique<std::mutex>();
  Descriptor top_;     // the home
  Descriptor folder_;  // the run's
  Descriptor list_;
  Descriptor copy_;
  uid_t uid_ = 0;
  gid_t gid_ = 0;
};

// ---- Runs that were
// ----------------------------------------------------------------------------------------

struct Run {
  std::string date_time;
  bool is_undo = false;
  std::string of;            ///< an undo: the run that it takes back
  bool over = false;         ///< it came to its end
  bool is_going_on = false;  ///< by a program that runs now
  std::string undone;        ///< DATE-TIME of the undo that took it back wholly; else empty
};

/// The runs kept in `home`, the oldest first.
std::vector<Run> runs_in(const std::string& home);

/// What a run kept in `home` has done, one row a name. Empty when there is no such run.
std::vector<Row> rows_of(const std::string& home, const std::string& date_time);

/// What a run of the person whose home is `home` has done in homes of others, by that person's own lists.
struct OtherHome {
  std::string login;
  std::string home;
  std::vector<Row> rows;
};
std::vector<OtherHome> other_homes(const std::string& home, const std::string& date_time);

/// Where a run keeps `path`, which may not be there: kept_path("/home/ann", TIME, "/home/ann/a") is
/// "/home/ann/.brindle_before/TIME/files/home/ann/a".
std::string kept_path(const std::string& home, const std::string& date_time, const std::string& path);

/// Writes into the lists of the run that the undo `by` took all of it back. False, with errno set.
[[nodiscard]] bool mark_undone(const std::string& home, const std::string& date_time, const std::string& by);

}  // namespace keep

#endif
