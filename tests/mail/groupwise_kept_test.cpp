// What GroupWise's migrator keeps of a home before it replaces it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "mail/mail_files.h"
#include "process/mail/groupwise.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/keeping_run.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

struct GroupwiseKept : testing::Test {
  GroupwiseKept() {
    write_file("/tmp/b/Groupwise/.gwuser.xml", "<_default reg='sz'>gwremote</_default>\n");
    write_file("/tmp/b/Groupwise/gwremote/user.db", "mail");
    write_file("/tmp/b/Groupwise/gwremote/same.db", "same");
    write_file("/tmp/b/Groupwise/gwremote/new.db", "new");
    write_file("/tmp/b/Groupwise/other", "other");
    write_file("/root/.gwuser.xml", "own");
    write_file("/root/gwremote/user.db", "own mail");
    write_file("/root/gwremote/same.db", "same");
    write_file("/root/gwremote/own.db", "own");
    write_file("/root/other", "own");
    shell_quietly("chmod 640 /root/gwremote/user.db; chown 1234:1234 /root/.gwuser.xml");
  }
};

TEST_F(GroupwiseKept, TheSettingsAndTheMailbox) {
  KeepingRun run;
  EXPECT_EQ(0, groupwise("/tmp/b"));
  EXPECT_THAT(run.listed(), ElementsAre("replaced /root/.gwuser.xml", "made /root/gwremote/new.db",
                                        "replaced /root/gwremote/user.db"));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_F(GroupwiseKept, OrNothingIsCopied) {
  KeepingRun::prevent();
  KeepingRun run;
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, groupwise("/tmp/b"));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(KeepingRun::left("/root/.gwuser.xml")));
  EXPECT_TRUE(run.has_changed_nothing());
  EXPECT_THAT(commands_run(),
              ElementsAre("cp /tmp/b/Groupwise/.gwuser.xml /tmp/b/Groupwise/.gwusertemp.xml"));
}

// One is a link out of the home, the other could be kept.
TEST_F(GroupwiseKept, OrNeitherOfTheTwo) {
  isDefaultUser = 0;
  ASSERT_TRUE(assign(cur_user, "ann"));
  for (const std::string link : {".gwuser.xml", "gwremote"}) {
    shell_quietly(
        "rm -rf /home/ann /root/out; mkdir -p /home/ann; mkdir /root/out; cp -a /root/.gwuser.xml "
        "/root/gwremote /root/out; ln -s /root/out/" +
        link + " /home/ann");
    forget_commands();
    const KeepingRun run;
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, groupwise("/tmp/b"));
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("a link leads out of its home"));
    EXPECT_TRUE(run.has_changed_nothing({"/root/out"})) << link;
    EXPECT_EQ(link + "\n", output_of("ls -A /home/ann | grep gw"));
    EXPECT_THAT(commands_run(),
                ElementsAre("cp /tmp/b/Groupwise/.gwuser.xml /tmp/b/Groupwise/.gwusertemp.xml"));
  }
}

}  // namespace
