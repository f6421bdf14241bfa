// A SQLite database of another program.
#ifndef BRINDLE_PACK_DATABASE_DATABASE_H
#define BRINDLE_PACK_DATABASE_DATABASE_H

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "pack/disk/stage.h"

struct sqlite3;
struct sqlite3_stmt;

namespace pack {

/// A row of an answer; its columns are counted from 0.
class Row {
 public:
  explicit Row(sqlite3_stmt* statement) : statement_(statement) {}

  /// Empty for NULL.
  std::string text(int column) const;
  /// 0 for NULL and what is no number.
  std::int64_t number(int column) const;
  bool is_null(int column) const;

 private:
  sqlite3_stmt* statement_;
};

/// Why a database could not be opened: Cause::damaged, unless we may not read it.
Cause cause_of_unopened(const Place& file);

class Database {
 public:
  /// Opens a copy of the file, with what its program had not yet put into it (`-wal`). No value when it
  /// cannot be read or is none. What is asked of it has an end and a bound to its memory, whatever the file
  /// holds: values are at most 8 MiB, and no view is looked through. Throws std::runtime_error when there is
  /// no room for the copy.
  static std::optional<Database> open(const Place& file);

  /// Hands out all rows of an answer. False when the statement cannot be carried out to its end: a table or
  /// column is not there, a value has too many bytes, or the file is damaged.
  bool each(const char* statement, const std::function<void(const Row&)>& take) const;

  /// The same with `value` for its "?1".
  bool each(const char* statement, std::int64_t value, const std::function<void(const Row&)>& take) const;

 private:
  struct Closing {
    void operator()(sqlite3* database) const;
  };
  using Handle = std::unique_ptr<sqlite3, Closing>;

  Database(std::unique_ptr<Stage> stage, Handle handle)
      : stage_(std::move(stage)), handle_(std::move(handle)) {}
  bool learn_views();
  void limit_steps(std::uint64_t bytes);

  std::unique_ptr<Stage> stage_;
  std::unique_ptr<std::uint64_t> left_ = std::make_unique<std::uint64_t>();  // rounds of steps
  std::unique_ptr<std::set<std::string>> views_ = std::make_unique<std::set<std::string>>();
  Handle handle_;
};

}  // namespace pack

#endif
