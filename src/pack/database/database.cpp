#include "pack/database/database.h"

#include <sqlite3.h>

namespace pack {

namespace {

constexpr int longest_value = 16 * 1024 * 1024;

}  // namespace

std::string Row::text(int column) const {
  const auto* const bytes = sqlite3_column_blob(statement_, column);
  const int size = sqlite3_column_bytes(statement_, column);
  return bytes == nullptr ? "" : std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
}

std::int64_t Row::number(int column) const { return sqlite3_column_int64(statement_, column); }

bool Row::is_null(int column) const { return sqlite3_column_type(statement_, column) == SQLITE_NULL; }

void Database::Closing::operator()(sqlite3* database) const { sqlite3_close_v2(database); }

std::optional<Database> Database::open(const Place& file) {
  auto stage = std::make_unique<Stage>();
  const auto copy = stage->copy(file, "database");
  if (!copy) return std::nullopt;
  const Place waiting{.tree = file.tree, .path = file.path + "-wal"};
  if (find(*file.tree, "", waiting.path) && !stage->copy(waiting, "database-wal")) return std::nullopt;
  sqlite3* opened = nullptr;
  const int result = sqlite3_open_v2(copy->c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr);
  Handle handle(opened);
  if (result != SQLITE_OK) return std::nullopt;
  // A file from a stranger may bring functions and triggers of its own.
  sqlite3_db_config(opened, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(opened, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_limit(opened, SQLITE_LIMIT_LENGTH, longest_value);
  Database database(std::move(stage), std::move(handle));
  const bool is_one = database.each("SELECT count(*) FROM sqlite_master", [](const Row&) {});
  return is_one ? std::optional(std::move(database)) : std::nullopt;
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
  while ((result = sqlite3_step(prepared)) == SQLITE_ROW) take(Row(prepared));
  return result == SQLITE_DONE;
}

}  // namespace pack
