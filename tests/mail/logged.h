// Tables of the commands of a mail migrator, each with whether the system log tells of its failure.
#ifndef BRINDLE_TESTS_MAIL_LOGGED_H
#define BRINDLE_TESTS_MAIL_LOGGED_H

#include <gtest/gtest.h>

#include <string>

#include "support/commands.h"
#include "support/system_log.h"

namespace logged {

struct Row {
  const char* name;
  void (*migrate)();
  const char* command;  ///< how it begins
  bool logged = true;
  const char* prepare = "true";
  int before = 0;  ///< commands that begin alike
};

/// Runs the migrator with that command failing.
inline void check(const Row& row) {
  shell_quietly(row.prepare);
  EXPECT_EQ(row.logged, is_failure_logged(row.command, row.migrate, row.before));
}

/// Of a row, for INSTANTIATE_TEST_SUITE_P.
inline std::string name_of(const testing::TestParamInfo<Row>& test) { return test.param.name; }

}  // namespace logged

#endif
