// A run that keeps what it replaces, held against what it changed by a test's own eye.
#ifndef BRINDLE_TESTS_SUPPORT_KEEPING_RUN_H
#define BRINDLE_TESTS_SUPPORT_KEEPING_RUN_H

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "place/entry.h"

/// A run of root's that begins now, with a look at all in the homes, in /Share and in `others`, which may be
/// files.
class KeepingRun {
 public:
  explicit KeepingRun(std::vector<std::string> others = {});
  ~KeepingRun();
  KeepingRun(const KeepingRun&) = delete;
  KeepingRun& operator=(const KeepingRun&) = delete;

  /// Ends the run. What it lists as changed, in the order of the paths: "made PATH", "replaced PATH",
  /// "removed PATH", and "attributes PATH" for what got another owner or mode alone.
  std::vector<std::string> listed();

  /// What a run may do of its own accord, each below a path.
  struct Liberties {
    std::string more_kept = "none";   ///< more is kept than has changed
    std::string given_away = "none";  ///< what was listed as made got its owner later, with all of the home
  };

  /// Ends the run. Whether everything that is not as it was at the beginning is listed with its old and its
  /// new state, owners, modes and times too; whether nothing else is listed; and whether the kept folders
  /// hold what was replaced or removed as it was, and nothing else.
  testing::AssertionResult has_kept_all(const Liberties& liberties = {"none", "none"});

  /// Whether all that was looked at, or what of it lies in `folders`, is as it was at the beginning, to the
  /// times.
  testing::AssertionResult has_changed_nothing(const std::vector<std::string>& folders = {""}) const;

  /// The kept folder of `home`, and where it keeps `path`.
  static std::string folder(const std::string& home = "/root");
  static std::string kept(const std::string& path, const std::string& home = "/root");

  /// Puts a file of the person's where the kept folder of `home` would be made.
  static void prevent(const std::string& home = "/root");

  /// What standard error says of a path that is left because it could not be kept.
  static std::string left(const std::string& path);

 private:
  using Entries = std::map<std::string, place::Entry>;  // by path

  Entries look() const;

  std::vector<std::string> tops_;
  Entries before_;
};

#endif
