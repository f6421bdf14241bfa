// A run that keeps what it replaces, held against what it changed.
#ifndef BRINDLE_TESTS_SUPPORT_KEEPING_RUN_H
#define BRINDLE_TESTS_SUPPORT_KEEPING_RUN_H

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "keep/list.h"
#include "place/entry.h"

/// A run of root's that begins now, with a look at all in the homes, in /Share and in `others`.
class KeepingRun {
 public:
  explicit KeepingRun(std::vector<std::string> others = {});
  ~KeepingRun();
  KeepingRun(const KeepingRun&) = delete;
  KeepingRun& operator=(const KeepingRun&) = delete;

  /// Ends the run. What it lists as changed, sorted: "made PATH", "replaced PATH", "removed PATH", and
  /// "attributes PATH" for what got another owner or mode alone.
  std::vector<std::string> listed();

  /// Ends the run. Whether everything that is not as it was at the beginning is listed with its old and its
  /// new state, whether what was replaced or removed lies in the kept folder as it was, and whether nothing
  /// else is listed as changed.
  testing::AssertionResult has_kept_all();

  /// Whether everything looked at is as it was at the beginning.
  testing::AssertionResult has_changed_nothing() const;

  /// The kept folder of `home`, and where it keeps `path`.
  static std::string folder(const std::string& home = "/root");
  static std::string kept(const std::string& path, const std::string& home = "/root");

  /// Puts a file where the kept folder of `home` would be made.
  static void prevent(const std::string& home = "/root");

 private:
  using Entries = std::map<std::string, place::Entry>;

  Entries look() const;
  bool is_below_tops(const std::string& path) const;
  std::map<std::string, keep::Row> rows() const;
  std::string fault_of(const std::string& path, const Entries& now,
                       const std::map<std::string, keep::Row>& rows) const;

  std::vector<std::string> tops_;
  Entries before_;
};

#endif
