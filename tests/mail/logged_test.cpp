// Which commands the system log tells of when they fail.
#include <gtest/gtest.h>

#include "mail/logged.h"
#include "process/mail/client_files.h"
#include "process/mail/groupwise.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using logged::Row;

void settings() { groupwise("/tmp/b"); }
void contacts() { convert_contacts("/tmp/b", "/tmp/script", "/tmp/to"); }
void command() { run_and_trace(compose("cp /tmp/from /tmp/to")); }

class MailCommand : public testing::TestWithParam<Row> {};

TEST_P(MailCommand, ThatFailsIsLoggedOrNot) {
  const Row& row = GetParam();
  write_file("/tmp/b/Groupwise/.gwuser.xml", "<a>\n");
  write_file("/tmp/b/Groupwise/gwremote/a", "a");
  logged::check(row);
}

INSTANTIATE_TEST_SUITE_P(
    All, MailCommand,
    testing::Values(Row{"copy_in_the_archive", settings,
                        "cp /tmp/b/Groupwise/.gwuser.xml /tmp/b/Groupwise/.gwusertemp.xml"},
                    Row{"groupwise_settings", settings, "cp -a /tmp/b/Groupwise/.gwuser.xml /root/"},
                    Row{"groupwise_mailbox", settings, "cp -a /tmp/b/Groupwise/gwremote /root"},
                    Row{"contacts_script", contacts, "perl /tmp/script "},
                    Row{"any", command, "cp /tmp/from"}),
    logged::name_of);

}  // namespace
