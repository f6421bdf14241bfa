// Which commands the system log tells of when they fail.
#include <gtest/gtest.h>

#include "mail/logged.h"
#include "process/mail/mozilla/accounts.h"
#include "process/mail/mozilla/personal.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using logged::Row;

constexpr const char* profile = "/root/.mozilla/default/abc.slt";

constexpr const char* without_calendar = "rm -r /tmp/b/ImapMail/Calendar";

void all() { mozilla("/tmp/b"); }
void contacts_of_a_profile() {
  isDefaultUser = 0;
  assign(cur_user, "ann");
  mozillaaddressbook("/tmp/b", "/home/ann/.mozilla/default/x.slt", profile);
}
void all_of_a_profile() {
  isDefaultUser = 0;
  assign(cur_user, "ann");
  mozilla("/tmp/b");
}

class MozillaCommand : public testing::TestWithParam<Row> {};

TEST_P(MozillaCommand, ThatFailsIsLoggedOrNot) {
  const Row& row = GetParam();
  shell_quietly(
      "mkdir -p /root/.mozilla/default/abc.slt /home/ann/.mozilla/default/x.slt /usr/local/brindle && cp " +
      test_data("../data/scripts/") + "* /usr/local/brindle/");
  for (const char* file : {"Calendar/calendar.ics", "Tasks/tasks.ics", "Contacts/addressbook.db"})
    write_file(std::string("/tmp/b/ImapMail/") + file, "a\n");
  write_file("/tmp/b/ImapMail/brindle-email-accounts/a", "Account Name=A\nPOP3 Server=p\n");
  write_file("/tmp/b/Mail/Inbox", "From a\n");
  logged::check(row);
}

INSTANTIATE_TEST_SUITE_P(
    All, MozillaCommand,
    testing::Values(
        Row{"register", all_of_a_profile, "rm /home/ann/.mozilla/appreg"},
        Row{"mail_folder", all, "mkdir /root/.mozilla/default/abc.slt/Mail"},
        Row{"local_folders", all, "mkdir /root/.mozilla/default/abc.slt/Mail/Local\\ Folders"},
        Row{"preferences", all, "rm /root/.mozilla/default/abc.slt/prefs.js"},
        Row{"contacts_script", all, "perl /usr/local/brindle/vcard2xml.pl "},
        Row{"import", all, "mozilla -syncin "}, Row{"mail", all, "cp -rf /tmp/b/Mail/*"},
        Row{"calendar_copy", all, "cp /tmp/b/ImapMail/Calendar/calendar.ics /tmp/b"},
        Row{"calendar_folder", all, "mkdir /root/.mozilla/default/abc.slt/Calendar"},
        Row{"calendar_gone", all, "rm /root/.mozilla/default/abc.slt/Calendar/CalendarDataFile.ics"},
        Row{"calendar", all, "cp /tmp/b/ImapMail/Calendar/calendar.ics /root"},
        Row{"calendar_aside", all, "cp /root/.mozilla/default/abc.slt/Calendar/CalendarDataFile.ics "},
        Row{"tasks", all, "cat /tmp/b/ImapMail/Tasks/tasks.ics "},
        Row{"work_folder_of_tasks", all, "mkdir -p /tmp/b/ImapMail/Calendar", true, without_calendar},
        Row{"calendar_folder_of_tasks", all, "mkdir -p /root/.mozilla/default/abc.slt/Calendar", true,
            without_calendar},
        Row{"calendar_before_tasks", all, "rm -f /root/.mozilla/default/abc.slt/Calendar/", true,
            without_calendar},
        Row{"books_aside", contacts_of_a_profile, "mkdir /root/.mozilla/default/abc.slt/mabtemp"},
        Row{"import_of_a_profile", contacts_of_a_profile, "mozilla -syncin "},
        Row{"book_of_a_profile", contacts_of_a_profile, "cp -f /root/.mozilla/default/abc.slt/abook.mab "}),
    logged::name_of);

}  // namespace
