// SQLite files on a disk made for a test.
#ifndef BRINDLE_TESTS_PACK_DATABASES_H
#define BRINDLE_TESTS_PACK_DATABASES_H

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>

#include "pack/windows_disk.h"

/// Makes one with these statements.
inline void make_database(const windows::Disk& disk, const std::string& path, const std::string& statements) {
  const std::string full = disk.add(path, "");
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(full.c_str(), &database), SQLITE_OK);
  char* error = nullptr;
  EXPECT_EQ(sqlite3_exec(database, statements.c_str(), nullptr, nullptr, &error), SQLITE_OK) << error;
  sqlite3_close(database);
}

#endif
