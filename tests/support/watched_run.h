// What a run did to some folders by a test's own eye, held against what `keep` wrote down of it.
#ifndef BRINDLE_TESTS_SUPPORT_WATCHED_RUN_H
#define BRINDLE_TESTS_SUPPORT_WATCHED_RUN_H

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

/// From its making on a run of root's is kept; it looks at all that lies in `folders`, which may be files,
/// before and after.
class WatchedRun {
 public:
  explicit WatchedRun(std::vector<std::string> folders = {"/root"});
  ~WatchedRun();
  WatchedRun(const WatchedRun&) = delete;
  WatchedRun& operator=(const WatchedRun&) = delete;

  /// Ends the run and tells what it did to files and links, and what folders it made or removed, by the
  /// lists: "made PATH", "replaced PATH" or "removed PATH" in the order of the paths.
  std::vector<std::string> told();

  /// Ends the run. True when the lists tell every change in the folders, owners, modes and times too, and of
  /// them no other; and the kept folders hold what was replaced or removed, and nothing else, as it was.
  /// Below `more_kept` more may be kept.
  testing::AssertionResult is_whole(const std::string& more_kept = "none");

  /// True when everything is as it was, to the times.
  testing::AssertionResult changed_nothing() const;

 private:
  using States = std::map<std::string, std::string>;  // by path; what `keep` writes of a state

  States look() const;
  bool is_looked_at(const std::string& path) const;

  std::vector<std::string> folders_;
  States before_;
};

/// Where a file of root's home is kept.
std::string kept_file(const std::string& path);

/// Puts a file of the person's in the place of the folder in which a run in `home` would keep things.
void block_keeping(const std::string& home = "/root");

/// What standard error says of a path that is left because it could not be kept.
std::string left(const std::string& path);

#endif
