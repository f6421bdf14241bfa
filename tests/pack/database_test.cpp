#include "pack/database/database.h"

#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>

#include "pack/databases.h"
#include "pack/disk/folder_tree.h"
#include "pack/disk/stop.h"
#include "support/commands.h"

namespace {

class Opened {
 public:
  explicit Opened(const windows::Disk& disk)
      : tree_(pack::folder_tree(disk.path())),
        database_(pack::Database::open({.tree = tree_.get(), .path = "a.sqlite"})) {}

  explicit operator bool() const { return database_.has_value(); }

  // The first column of all rows, and whether the answer was whole.
  std::pair<std::vector<std::string>, bool> texts(const char* statement) const {
    std::vector<std::string> all;
    const bool is_whole =
        database_->each(statement, [&](const pack::Row& row) { all.push_back(row.text(0)); });
    return {all, is_whole};
  }
  bool each(const char* statement) const {
    return database_->each(statement, [](const pack::Row&) {});
  }

 private:
  std::unique_ptr<pack::Tree> tree_;
  std::optional<pack::Database> database_;
};

using Texts = std::vector<std::string>;

TEST(Database, GivesTextsInUtf8WhateverItsOwnAre) {
  for (const char* encoding : {"UTF-8", "UTF-16le", "UTF-16be"}) {
    const windows::Disk disk;
    make_database(
        disk, "a.sqlite",
        std::string("PRAGMA encoding = '") + encoding +
            "'; CREATE TABLE t (x); INSERT INTO t VALUES ('Grüße ☺'), (X'00FF'), (17), (1.5), (NULL), ('')");
    const Opened opened(disk);
    EXPECT_EQ(opened.texts("SELECT x FROM t").first,
              (Texts{"Grüße ☺", std::string("\0\xFF", 2), "17", "1.5", "", ""}))
        << encoding;
  }
}

// What no program has written: a view in a table's place that never ends.
TEST(Database, LooksThroughNoViews) {
  const windows::Disk disk;
  make_database(
      disk, "a.sqlite",
      "CREATE VIEW t AS WITH RECURSIVE n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n) SELECT x FROM n;"
      "CREATE VIEW small AS SELECT 1 AS x; CREATE TABLE good (x); INSERT INTO good VALUES (1)");
  const Opened opened(disk);
  EXPECT_FALSE(opened.each("SELECT x FROM t"));
  EXPECT_FALSE(opened.each("SELECT x FROM small"));
  EXPECT_TRUE(opened.each("SELECT x FROM good"));
}

TEST(Database, TakesNoEndlessTime) {
  const windows::Disk disk;
  make_database(disk, "a.sqlite", "CREATE TABLE t (x)");
  const Opened opened(disk);
  const auto begun = std::chrono::steady_clock::now();
  EXPECT_FALSE(opened.each(
      "WITH RECURSIVE n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n) SELECT x FROM n WHERE x < 0"));
  EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(30));
  EXPECT_FALSE(opened.each(
      "WITH RECURSIVE n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n) SELECT x FROM n WHERE x < 0"))
      << "what is used up stays so";
}

TEST(Database, GivesValuesOfManyBytesAndNoneOfEndlessOnes) {
  const windows::Disk disk;
  make_database(disk, "a.sqlite",
                "CREATE TABLE t (x); INSERT INTO t VALUES (zeroblob(8000000));"
                "CREATE TABLE u (x); INSERT INTO u VALUES (zeroblob(9000000));"
                "CREATE TABLE v (x); INSERT INTO v VALUES (zeroblob(50000000))");
  const Opened opened(disk);
  EXPECT_EQ(opened.texts("SELECT x FROM t").first.front().size(), 8000000U);
  EXPECT_EQ(opened.texts("SELECT x FROM u"), std::make_pair(Texts{}, false));
  EXPECT_EQ(opened.texts("SELECT x FROM v"), std::make_pair(Texts{}, false));
}

// Each value is small enough, and all together are not.
TEST(Database, TakesLittleMemoryForOneAnswer) {
  const windows::Disk disk;
  make_database(disk, "a.sqlite", "CREATE TABLE t (x); INSERT INTO t VALUES (zeroblob(4000000))");
  const Opened opened(disk);
  EXPECT_TRUE(opened.each("SELECT hex(x) FROM t"));
  EXPECT_FALSE(opened.each("SELECT hex(x), hex(x), hex(x), hex(x), hex(x), hex(x) FROM t"));
  EXPECT_TRUE(opened.each("SELECT length(x) FROM t"));
}

// A large file may take many minutes.
TEST(Database, StopsWhenItIsAskedTo) {
  const windows::Disk disk;
  make_database(disk, "a.sqlite",
                "CREATE TABLE large (x); INSERT INTO large VALUES (zeroblob(50000000));"
                "CREATE TABLE t (x); INSERT INTO t VALUES (1)");
  const Opened opened(disk);
  const auto begun = std::chrono::steady_clock::now();
  pack::ask_to_stop();
  EXPECT_THROW(opened.each("SELECT x FROM t"), pack::Interrupted);
  EXPECT_THROW(
      opened.each(
          "WITH RECURSIVE n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n) SELECT x FROM n WHERE x < 0"),
      pack::Interrupted);
  EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(10));
}

TEST(Database, IsNotCalledDamagedForLackOfRoom) {
  const windows::Disk disk;
  make_database(disk, "a.sqlite", "CREATE TABLE t (x); INSERT INTO t VALUES (zeroblob(500000))");
  ASSERT_EQ(output_of("mkdir -p /mnt/small && mount -t tmpfs -o size=64k none /mnt/small && echo done"),
            "done\n");
  setenv("TMPDIR", "/mnt/small", 1);
  EXPECT_THROW(Opened{disk}, std::runtime_error);
}

}  // namespace
