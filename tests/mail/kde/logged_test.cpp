// Which commands the system log tells of when they fail.
#include <gtest/gtest.h>

#include "mail/logged.h"
#include "process/mail/kde/accounts.h"
#include "process/mail/kde/personal.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using logged::Row;

void accounts() { kmailaccountsettings("/tmp/b"); }
void contacts() { kaddressbook("/tmp/b"); }
void calendar() { kmailcallendar("/tmp/b"); }
void notes() { kmailnotes("/tmp/b"); }

class KdeCommand : public testing::TestWithParam<Row> {};

TEST_P(KdeCommand, ThatFailsIsLoggedOrNot) {
  const Row& row = GetParam();
  shell_quietly("mkdir -p /usr/local/brindle /root/.kde/share/config /root/.kde/share/apps/kabc && cp " +
                test_data("../data/scripts/") + "* /usr/local/brindle/");
  for (const char* file : {"Calendar/calendar.ics", "Tasks/tasks.ics"})
    write_file(std::string("/tmp/b/ImapMail/") + file, "a\n");
  write_file("/tmp/b/ImapMail/Contacts/addressbook.db", "BEGIN:VCARD\nFN:A\nEND:VCARD\n");
  write_file("/tmp/b/ImapMail/brindle-email-accounts/a", "Account Name=A\nPOP3 Server=p\n");
  write_file("/tmp/b/Notes/a", "T:a\nb\n");
  assign(OSName, "Xandros");
  assign(OSVersion, "Any");
  logged::check(row);
}

INSTANTIATE_TEST_SUITE_P(
    All, KdeCommand,
    testing::Values(Row{"settings_gone", accounts, "rm /root/.kde/share/config/kmailrc"},
                    Row{"account_converted", accounts, "iconv -c -f GB2312 -t utf-8 "},
                    Row{"account_copy_gone", accounts, "rm /tmp/b/ImapMail/brindle-email-accounts/atemp"},
                    Row{"contacts_script", contacts, "perl /usr/local/brindle/vcard2vcf.pl "},
                    Row{"contacts_converted", contacts, "iconv -c -f GB2312 -t utf-8 "},
                    Row{"contacts_copy", contacts, "cp /root/.kde/share/apps/kabc/std.vcf "},
                    Row{"contacts_joined", contacts, "cat /root/.kde/share/apps/kabc/orig.vcf "},
                    Row{"contacts_copy_gone", contacts, "rm /root/.kde/share/apps/kabc/orig.vcf"},
                    Row{"calendar_folder", calendar, "mkdir -p /root/.kde/share/apps/korganizer"},
                    Row{"calendar_joined", calendar, "cat /tmp/b/ImapMail/Calendar/calendar2.ics "},
                    Row{"calendar_converted", calendar, "iconv -c -f GB2312 -t utf-8 "},
                    Row{"calendar_copy_gone", calendar, "rm /root/.kde/share/apps/korganizer/std2.ics"},
                    Row{"notes_folder", notes, "mkdir -p /root/.kde/share/apps/knotes"},
                    Row{"note_line_ends", notes, "dos2unix /tmp/b/Notes/a"},
                    Row{"notes_converted", notes, "iconv -c -f GB2312 -t utf-8 "},
                    Row{"notes_copy_gone", notes, "rm /root/.kde/share/apps/knotes/notes2.ics"}),
    logged::name_of);

}  // namespace
