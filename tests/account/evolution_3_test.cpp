// A home that Evolution 3 has taken over.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "account/scene.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using namespace account;
using testing::ElementsAre;

const Scene::Entries entries = {
    {"ImapMail/brindle-email-accounts/1.txt",
     "Account Name=Work\nPOP3 Server=pop.example\nPOP3 User Name=ann\n"},
    {"ImapMail/Contacts/", ""},
    {"ImapMail/Calendar/calendar.ics",
     "BEGIN:VCALENDAR\nBEGIN:VEVENT\nUID:1\nSUMMARY:Tea\nEND:VEVENT\nEND:VCALENDAR\n"},
    {"Mail/Inbox", "From ann Mon Nov 21 10:00:00 2005\nSubject: Hello\n\nHello.\n\n"}};

const std::string taken = ": Evolution 3 has taken over this home and keeps this below /home/ann/",
                  end = ", where it is not looked for.";

void take_over() { write_file("/home/ann/.config/evolution/sources/local.source", "[Data Source]\n"); }

void write_accounts(const std::string& list) {
  write_file("/home/ann/.gconf/%gconf.xml", "");
  write_file("/home/ann/.gconf/apps/%gconf.xml", "");
  write_file("/home/ann/.gconf/apps/evolution/%gconf.xml", "");
  write_file("/home/ann/.gconf/apps/evolution/mail/%gconf.xml",
             "<?xml version=\"1.0\"?><gconf><entry name=\"accounts\" type=\"list\" ltype=\"string\">" + list +
                 "</entry></gconf>");
}

TEST(Evolution3, is_why_its_predecessors_places_are_empty) {
  const Scene scene(System::gnome, entries);
  take_over();
  write_accounts("");
  EXPECT_THAT(missing_names(scene.look(Kind::mail_accounts)),
              ElementsAre("Work" + taken + ".config/evolution/sources" + end));
  EXPECT_THAT(missing_names(scene.look(Kind::calendar)),
              ElementsAre("Tea" + taken + ".local/share/evolution/calendar" + end));
  const auto mail = missing_names(scene.look(Kind::mail));
  ASSERT_EQ(1U, mail.size());
  EXPECT_THAT(mail[0], testing::EndsWith(taken + ".local/share/evolution/mail" + end));
  shell_quietly("rm -r /home/ann/.gconf");
  EXPECT_THAT(missing_names(scene.look(Kind::mail_accounts)),
              ElementsAre("Work" + taken + ".config/evolution/sources" + end));
}

TEST(Evolution3, is_no_reason_where_its_predecessors_places_are_there) {
  const Scene scene(System::gnome, entries);
  take_over();
  write_accounts(
      "<li type=\"string\"><stringvalue>&lt;account "
      "name=&quot;Home&quot;&gt;&lt;/account&gt;</stringvalue></li>");
  write_file("/home/ann/.evolution/mail/local/Inbox", "");
  EXPECT_THAT(missing_names(scene.look(Kind::mail_accounts)), ElementsAre("Work: It is not there."));
  EXPECT_THAT(missing_names(scene.look(Kind::mail))[0],
              testing::EndsWith(": Its folder is there, but has no message with this content."));
}

TEST(Evolution3, is_no_reason_where_it_never_was) {
  const Scene scene(System::gnome, entries);
  write_file("/home/ann/.config/evolution/sources/notes.txt", "");
  write_accounts("");
  EXPECT_THAT(missing_names(scene.look(Kind::mail_accounts)), ElementsAre("Work: It is not there."));
  EXPECT_THAT(missing_names(scene.look(Kind::calendar))[0], testing::HasSubstr("Its place "));
}

}  // namespace
