// Which commands the system log tells of when they fail.
#include <gtest/gtest.h>

#include "mail/logged.h"
#include "process/mail/folders/evolution.h"
#include "process/mail/folders/kmail.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using logged::Row;

constexpr const char* mail = "/tmp/b/Mail";

void evolution() { mails_pop(mail); }
void kmail() { kmailemails("/tmp/b"); }

class FolderCommand : public testing::TestWithParam<Row> {};

TEST_P(FolderCommand, ThatFailsIsLoggedOrNot) {
  const Row& row = GetParam();
  write_file(std::string(mail) + "/Inbox", "From a\nSubject: a\n\na\n");
  write_file(std::string(mail) + "/Inbox.sbd/Work", "From b\nSubject: b\n\nb\n");
  logged::check(row);
}

INSTANTIATE_TEST_SUITE_P(
    All, FolderCommand,
    testing::Values(Row{"evolution_end", evolution, "evolution --force-shutdown", false},
                    Row{"evolution_1_list", evolution, "find \"/tmp/b/Mail\"", false},
                    Row{"evolution_1_folder", evolution, "mkdir -p \"/tmp/b/Mail/brindlemail/\"/\"Inbox\"",
                        false},
                    Row{"evolution_1_mailbox", evolution, "cp \"/tmp/b/Mail\"/\"Inbox\"", false},
                    Row{"evolution_1", evolution, "cp -a /tmp/b/Mail/brindlemail/*"},
                    Row{"evolution_2", evolution, "cp -a /tmp/b/Mail/* /root/.evolution/mail/local/", true,
                        "mkdir /root/.evolution"},
                    Row{"index", kmail, "rm -f \"/root/Mail/.inbox.index\""},
                    Row{"index_of_ids", kmail, "rm -f \"/root/Mail/.inbox.index.ids\""},
                    Row{"folder", kmail, "mkdir -p \"/root/Mail/inbox\""},
                    Row{"subfolders", kmail, "mkdir -p \"/root/Mail/.inbox.directory\""},
                    Row{"messages", kmail, "mkdir -p \"/root/Mail/inbox/cur\""},
                    Row{"new_messages", kmail, "mkdir -p \"/root/Mail/inbox/new\""},
                    Row{"half_messages", kmail, "mkdir -p \"/root/Mail/inbox/tmp\""},
                    Row{"directory", kmail, "mkdir -p /root/Mail/.inbox.directory"}),
    logged::name_of);

}  // namespace
