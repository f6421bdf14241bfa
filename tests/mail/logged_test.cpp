// Which commands the system log tells of when they fail.
#include <gtest/gtest.h>

#include "process/mail/client_files.h"
#include "process/mail/groupwise.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/system_log.h"

namespace {

struct Row {
  const char* name;
  void (*migrate)();
  const char* command;
  bool logged = true;
  const char* prepare = "true";
  int before = 0;  // commands that begin alike
};

void settings() { groupwise("/tmp/b"); }
void contacts() { convert_contacts("/tmp/b", "/tmp/script", "/tmp/to"); }
void command() { run_and_trace(compose("cp /tmp/from /tmp/to")); }

class MailCommand : public testing::TestWithParam<Row> {};

TEST_P(MailCommand, ThatFailsIsLoggedOrNot) {
  const Row& row = GetParam();
  write_file("/tmp/b/Groupwise/.gwuser.xml", "<a>\n");
  write_file("/tmp/b/Groupwise/gwremote/a", "a");
  shell_quietly(row.prepare);
  EXPECT_EQ(row.logged, is_failure_logged(row.command, row.migrate, row.before));
}

INSTANTIATE_TEST_SUITE_P(
    All, MailCommand,
    testing::Values(Row{"copy_in_the_archive", settings,
                        "cp /tmp/b/Groupwise/.gwuser.xml /tmp/b/Groupwise/.gwusertemp.xml"},
                    Row{"groupwise_settings", settings, "cp -a /tmp/b/Groupwise/.gwuser.xml /root/"},
                    Row{"groupwise_mailbox", settings, "cp -a /tmp/b/Groupwise/gwremote /root"},
                    Row{"contacts_script", contacts, "perl /tmp/script "},
                    Row{"any", command, "cp /tmp/from"}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
