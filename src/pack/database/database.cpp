#include "pack/database/database.h"

#include <sqlite3.h>

#include <filesystem>

#include "pack/disk/refusal.h"
#include "pack/disk/stop.h"

namespace pack {

namespace {

// What a file from a stranger may take of the memory, with all that is asked of it.
constexpr int largest_value = 1 << 23;
constexpr std::int64_t largest_memory = 3 * std::int64_t{largest_value};

// Steps of the library's machine: some for each byte, since a damaged file may lead in circles.
constexpr int steps_at_once = 10'000;
constexpr std::uint64_t steps_for_all = 20'000'000;
constexpr std::uint64_t steps_for_a_byte = 200;

// A table may be a view in truth, which has no end.
int refuse_views(void* views, int, const char*, const char*, const char*, const char* within) {
  return within != nullptr && static_cast<const std::set<std::string>*>(views)->contains(within) ? SQLITE_DENY
                                                                                                 : SQLITE_OK;
}

}  // namespace

std::string Row::text(int column) const {
  // A text comes in UTF-8, whatever the file has; other bytes as they are.
  const void* const bytes = sqlite3_column_type(statement_, column) == SQLITE_BLOB
                                ? sqlite3_column_blob(statement_, column)
                                : sqlite3_column_text(statement_, column);
  const int size = sqlite3_column_bytes(statement_, column);
  return bytes == nullptr ? "" : std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
}

std::int64_t Row::number(int column) const { return sqlite3_column_int64(statement_, column); }

bool Row::is_null(int column) const { return sqlite3_column_type(statement_, column) == SQLITE_NULL; }

void Database::Closing::operator()(sqlite3* database) const { sqlite3_close_v2(database); }

Cause cause_of_unopened(const Place& file) {
  return cause_at(file, cause_at({.tree = file.tree, .path = file.path + "-wal"}, Cause::damaged));
}

std::optional<Database> Database::open(const Place& file) {
  auto stage = std::make_unique<Stage>();
  const auto copy = stage->copy(file, "database");
  if (!copy) return std::nullopt;
  const Place waiting{.tree = file.tree, .path = file.path + "-wal"};
  if (find(*file.tree, "", waiting.path) && !stage->copy(waiting, "database-wal")) return std::nullopt;
  sqlite3_hard_heap_limit64(largest_memory);
  sqlite3* opened = nullptr;
  const int result = sqlite3_open_v2(copy->c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr);
  Handle handle(opened);
  if (result != SQLITE_OK) return std::nullopt;
  // A file from a stranger may bring functions and triggers of its own.
  sqlite3_db_config(opened, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(opened, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_limit(opened, SQLITE_LIMIT_LENGTH, largest_value);
  Database database(std::move(stage), std::move(handle));
  database.limit_steps(std::filesystem::file_size(*copy));
  return database.learn_views() ? std::optional(std::move(database)) : std::nullopt;
}

bool Database::learn_views() {
  constexpr std::size_t most = 1000;
  const bool is_one = each("SELECT name FROM sqlite_master WHERE type = 'view'", [&](const Row& row) {
    if (views_->size() <= most) views_->insert(row.text(0));
  });
  sqlite3_set_authorizer(handle_.get(), refuse_views, views_.get());
  return is_one && views_->size() <= most;
}

void Database::limit_steps(std::uint64_t bytes) {
  *left_ = (steps_for_all + steps_for_a_byte * bytes) / steps_at_once;
  const auto take_some = [](void* left) {
    auto& rounds = *static_cast<std::uint64_t*>(left);
    if (is_asked_to_stop() || rounds == 0) return 1;
    --rounds;
    return 0;
  };
  sqlite3_progress_handler(handle_.get(), steps_at_once, take_some, left_.get());
}

bool Database::each(const char* statement, const std::function<void(const Row&)>& take) const {
  return each(statement, 0, take);
}

bool Database::each(const char* statement, std::int64_t value,
                    const std::function<void(const Row&)>& take) const {
  sqlite3_stmt* prepared = nullptr;
  if (sqlite3_prepare_v2(handle_.get(), statement, -1, &prepared, nullptr) != SQLITE_OK) return false;
  const std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)> closing(prepared, sqlite3_finalize);
  if (sqlite3_bind_parameter_count(prepared) > 0) sqlite3_bind_int64(prepared, 1, value);
  int result = SQLITE_ROW;
  while ((result = sqlite3_step(prepared)) == SQLITE_ROW) {
    stop_when_asked();
    take(Row(prepared));
  }
  stop_when_asked();
  return result == SQLITE_DONE;
}

}  // namespace pack
