#include "process/mail/evolution/personal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <string>

#include "mail/evolution/homes.h"
#include "process/mail/evolution/accounts.h"
#include "support/full_disk.h"
#include "support/session.h"
#include "support/system_log.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

const std::string gconf = "/home/ann/.gconf/apps/evolution/";

void make_personal_data() {
  write_file(imap_mail + "/Calendar/calendar.ics",
             "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//A//B//EN\r\n"
             "BEGIN:VEVENT\r\nUID:e1\r\nDTSTAMP:20050101T000000Z\r\nDTSTART:20050101T100000Z\r\n"
             "SUMMARY:Dentist\r\nEND:VEVENT\r\n"
             "BEGIN:VEVENT\r\nUID:e2\r\nDTSTAMP:20050101T000000Z\r\nDTSTART:20050102T100000Z\r\n"
             "SUMMARY:Meeting\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n");
  write_file(imap_mail + "/Tasks/tasks.ics",
             "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//A//B//EN\r\n"
             "BEGIN:VTODO\r\nUID:t1\r\nDTSTAMP:20050101T000000Z\r\nSUMMARY:Buy milk\r\nEND:VTODO\r\n"
             "END:VCALENDAR\r\n");
  std::filesystem::create_directories(imap_mail + "/Contacts");
  // Evolution's address book: a Berkeley DB whose keys and values carry their NUL.
  write_file("/tmp/contacts.pl",
             "use DB_File; tie my %book, 'DB_File', $ARGV[0], O_RDWR|O_CREAT, 0644, $DB_HASH or die;\n"
             "$book{\"PAS-DB-VERSION\\0\"} = \"0.2\\0\";\n"
             "for my $name ('Bob', 'Eve') {\n"
             "  $book{\"pas-id-$name\\0\"} =\n"
             "    \"BEGIN:VCARD\\r\\nVERSION:3.0\\r\\nUID:pas-id-$name\\r\\nFN:$name\\r\\nN:;$name\\r\\n\"\n"
             "    . \"END:VCARD\\0\";\n}\n");
  ASSERT_EQ(0, shell_quietly("perl /tmp/contacts.pl " + imap_mail + "/Contacts/addressbook.db"));
}

class EvolutionPersonal : public testing::Test {
 protected:
  void SetUp() override { install_evolution(); }

  static int migrate() { return calendar_contacts_tasks(imap_mail.c_str()); }
};

// --- The copies

TEST_F(EvolutionPersonal, AProfilesDataIsReadByTheDataServer) {
  make_profile();
  make_personal_data();
  EXPECT_EQ(0, migrate());
  EXPECT_EQ("SUMMARY:Dentist\nSUMMARY:Meeting\n", data_server_finds("events", "/home/ann"));
  EXPECT_EQ("SUMMARY:Buy milk\n", data_server_finds("tasks", "/home/ann"));
  const std::string contacts = data_server_finds("contacts", "/home/ann");
  EXPECT_THAT(contacts, HasSubstr("FN:Bob"));
  EXPECT_THAT(contacts, HasSubstr("FN:Eve"));
}

TEST_F(EvolutionPersonal, Evolution2sCommandsComeInTheirOrder) {
  make_evolution_2();
  make_personal_data();
  EXPECT_EQ(0, migrate());
  const std::string store = "/root/.evolution/";
  EXPECT_THAT(
      commands_run(),
      ElementsAre("evolution --force-shutdown", "mkdir -p " + store + "calendar/local/system",
                  "cp -f " + imap_mail + "/Calendar/calendar.ics " + store + "calendar/local/system",
                  "gconftool-2 --spawn", "gconftool-2 --spawn", "mkdir -p " + store + "addressbook",
                  "mkdir -p " + store + "addressbook/local", "mkdir -p " + store + "addressbook/local/system",
                  "cp -f " + imap_mail + "/Contacts/addressbook.db " + store + "addressbook/local/system",
                  "mkdir -p " + store + "tasks/local/system",
                  "cp -f " + imap_mail + "/Tasks/tasks.ics " + store + "tasks/local/system",
                  "gconftool-2 --spawn", "gconftool-2 --spawn"));
}

TEST_F(EvolutionPersonal, Evolution1GetsCopiesOnly) {
  for (const char* name : {"Calendar", "Contacts", "Tasks"})
    std::filesystem::create_directories(std::string("/root/evolution/local/") + name);
  make_personal_data();
  EXPECT_EQ(0, migrate());
  EXPECT_THAT(commands_run(),
              ElementsAre("evolution --force-shutdown",
                          "cp -f " + imap_mail + "/Calendar/calendar.ics /root/evolution/local/Calendar",
                          "cp -f " + imap_mail + "/Contacts/addressbook.db /root/evolution/local/Contacts",
                          "cp -f " + imap_mail + "/Tasks/tasks.ics /root/evolution/local/Tasks"));
  EXPECT_EQ(0, shell_quietly("cmp " + imap_mail +
                             "/Contacts/addressbook.db /root/evolution/local/Contacts/addressbook.db"));
  EXPECT_TRUE(exists("/root/evolution/local/Calendar/calendar.ics"));
  EXPECT_TRUE(exists("/root/evolution/local/Tasks/tasks.ics"));
}

TEST_F(EvolutionPersonal, Evolution1sFoldersAreMadeForTheirOwner) {
  isDefaultUser = 0;
  ASSERT_TRUE(assign(cur_user, "ann"));
  ASSERT_EQ(0, shell_quietly("mkdir -p /home/ann && chown 1234:2345 /home/ann"));
  make_personal_data();
  SystemLog log;
  EXPECT_EQ(0, migrate());
  const std::string store = "/home/ann/evolution/local/";
  EXPECT_TRUE(same_bytes(read_file(imap_mail + "/Calendar/calendar.ics"),
                         read_file(store + "Calendar/calendar.ics")));
  EXPECT_TRUE(same_bytes(read_file(imap_mail + "/Tasks/tasks.ics"), read_file(store + "Tasks/tasks.ics")));
  EXPECT_TRUE(same_bytes(read_file(imap_mail + "/Contacts/addressbook.db"),
                         read_file(store + "Contacts/addressbook.db")));
  EXPECT_EQ("1234:2345\n1234:2345\n1234:2345\n",
            output_of("stat -c %u:%g /home/ann/evolution " + store + " " + store + "Calendar"));
  EXPECT_TRUE(log.messages().empty());
}

TEST_F(EvolutionPersonal, Evolution2sNewFoldersBelongToTheOwnerOfTheHome) {
  isDefaultUser = 0;
  ASSERT_TRUE(assign(cur_user, "ann"));
  ASSERT_EQ(0, shell_quietly("mkdir -p /home/ann/.evolution && chown -R 1234:2345 /home/ann"));
  make_personal_data();
  EXPECT_EQ(0, migrate());
  const std::string store = "/home/ann/.evolution/";
  EXPECT_EQ("1234:2345\n1234:2345\n1234:2345\n",
            output_of("stat -c %u:%g " + store + "calendar/local/system " + store + "addressbook " + store +
                      "tasks/local"));
}

TEST_F(EvolutionPersonal, NoFolderIsMadeBehindALinkOutOfTheHome) {
  ASSERT_EQ(0, shell_quietly("mkdir /srv/others && ln -s /srv/others /root/evolution"));
  make_personal_data();
  EXPECT_EQ(-1, migrate());
  EXPECT_TRUE(std::filesystem::is_empty("/srv/others"));
}

TEST_F(EvolutionPersonal, OnAFullDiskTheOldFilesStay) {
  make_evolution_2();
  std::filesystem::create_directories(imap_mail + "/Tasks");
  std::filesystem::create_directories(imap_mail + "/Contacts");
  const std::string store = "/root/.evolution/";
  const std::string old_calendar(40'000, 'o');
  const std::string new_calendar(60'000, 'n');
  write_file(imap_mail + "/Calendar/calendar.ics", new_calendar);
  int refused = 0;
  for (const int left : {0, 5, 9, 10, 12, 14, 15, 20, 30}) {
    write_file(store + "calendar/local/system/calendar.ics", old_calendar);
    const SmallDisk disk("/root/.evolution");
    disk.fill_but(left);
    const int result = migrate();
    if (result != 0) ++refused;
    EXPECT_TRUE(same_bytes(result == 0 ? new_calendar : old_calendar,
                           read_file(store + "calendar/local/system/calendar.ics")))
        << left;
    EXPECT_EQ("calendar.ics\n", output_of("ls -A " + store + "calendar/local/system")) << left;
  }
  EXPECT_GE(refused, 5);
  EXPECT_LE(refused, 8);
}

TEST_F(EvolutionPersonal, AFileThatIsNotCopiedWholeLeavesNothingAndDoesNotStopTheOthers) {
  make_evolution_2();
  make_personal_data();
  write_file(imap_mail + "/Calendar/calendar.ics", std::string(400'000, 'n'));
  const SmallDisk disk("/root/.evolution");
  EXPECT_EQ(-1, migrate());
  EXPECT_FALSE(exists("/root/.evolution/calendar/local/system/calendar.ics"));
  EXPECT_TRUE(exists("/root/.evolution/addressbook/local/system/addressbook.db"));
  EXPECT_TRUE(exists("/root/.evolution/tasks/local/system/tasks.ics"));
}

TEST_F(EvolutionPersonal, AFileThatIsNotCopiedWholeFailsTheItem) {
  make_profile();
  make_personal_data();
  std::filesystem::create_directories(imap_mail + "/brindle-email-accounts");
  EXPECT_EQ(0, mail_account(archive_root.c_str()));
  write_file(imap_mail + "/Calendar/calendar.ics", std::string(400'000, 'n'));
  const SmallDisk disk("/home/ann/.evolution");
  EXPECT_EQ(-1, mail_account(archive_root.c_str()));
}

TEST_F(EvolutionPersonal, ListsAreShownWhateverWasCopied) {
  make_profile();
  write_file(imap_mail + "/Calendar/calendar.ics", std::string(400'000, 'n'));
  write_file(imap_mail + "/Tasks/tasks.ics", std::string(400'000, 'n'));
  const SmallDisk disk("/home/ann/.evolution");
  EXPECT_EQ(-1, migrate());
  EXPECT_TRUE(
      matches_expected(gconf + "calendar/display/%gconf.xml", "evolution_personal/selected_calendars.xml"));
  EXPECT_TRUE(matches_expected(gconf + "calendar/tasks/%gconf.xml", "evolution_personal/selected_tasks.xml"));
}

TEST_F(EvolutionPersonal, TheContactsAloneOrTheTasksAloneCanFail) {
  make_evolution_2();
  make_personal_data();
  for (const char* name : {"Contacts/addressbook.db", "Tasks/tasks.ics"}) {
    const std::string file = imap_mail + "/" + name;
    const std::string before = read_file(file);
    write_file(file, std::string(400'000, 'n'));
    const SmallDisk disk("/root/.evolution");
    EXPECT_EQ(-1, migrate()) << name;
    write_file(file, before);
    EXPECT_EQ(0, migrate()) << name;
  }
}

TEST_F(EvolutionPersonal, WhatTheArchiveLacksIsSkipped) {
  make_evolution_2();
  std::filesystem::create_directories(imap_mail);
  EXPECT_EQ(0, migrate());
  EXPECT_THAT(commands_run(), ElementsAre("evolution --force-shutdown"));
  write_file(imap_mail + "/Tasks/tasks.ics", "tasks");
  EXPECT_EQ(0, migrate());
  EXPECT_TRUE(exists("/root/.evolution/tasks/local/system/tasks.ics"));
  EXPECT_FALSE(exists("/root/.evolution/calendar"));
  EXPECT_FALSE(exists("/root/.evolution/addressbook"));
}

TEST_F(EvolutionPersonal, AnEmptyFolderMakesACopyThatFailsAndNothingElse) {
  make_evolution_2();
  std::filesystem::create_directories(imap_mail + "/Contacts");
  SystemLog log;
  EXPECT_EQ(0, migrate());
  EXPECT_THAT(log.messages(), ElementsAre(HasSubstr("normal termination, exit status 1, cp -f ")));
}

TEST_F(EvolutionPersonal, AProfilesListsAreShown) {
  make_profile();
  make_personal_data();
  EXPECT_EQ(0, migrate());
  EXPECT_TRUE(
      matches_expected(gconf + "calendar/display/%gconf.xml", "evolution_personal/selected_calendars.xml"));
  EXPECT_TRUE(matches_expected(gconf + "calendar/tasks/%gconf.xml", "evolution_personal/selected_tasks.xml"));
}

TEST_F(EvolutionPersonal, TracesShowTheCopies) {
  make_profile();
  write_file(imap_mail + "/Calendar/calendar.ics", "");
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, migrate());
  EXPECT_EQ("buffer=/home/ann\nIn Calendar Contacts Tasks::" + imap_mail + "cp -f " + imap_mail +
                "/Calendar/calendar.ics /home/ann/.evolution/calendar/local/system"
                "In display_calendar for other user.buffer=/home/ann\nCalendar Display Over.",
            testing::internal::GetCapturedStdout());
}

TEST_F(EvolutionPersonal, TracesShowTheOldLayoutsCopiesAndTheTasksOwn) {
  make_personal_data();
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, migrate());
  EXPECT_EQ("buffer=/root\nIn Calendar Contacts Tasks::" + imap_mail + "cp -f " + imap_mail +
                "/Calendar/calendar.ics /root/evolution/local/Calendar" + "cp -f " + imap_mail +
                "/Contacts/addressbook.db /root/evolution/local/Contacts" + "cp -f " + imap_mail +
                "/Tasks/tasks.ics /root/evolution/local/Tasks",
            testing::internal::GetCapturedStdout());
  make_profile();
  testing::internal::CaptureStdout();
  display_tasks();
  EXPECT_EQ("In display_task for other user.buffer=/home/ann\n", testing::internal::GetCapturedStdout());
}

TEST_F(EvolutionPersonal, WithoutAHomeNothingIsCopied) {
  lose_account_entry();
  make_personal_data();
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, migrate());
  EXPECT_EQ(1, complaints_of_no_home(testing::internal::GetCapturedStderr()));
  EXPECT_EQ("", testing::internal::GetCapturedStdout());
  EXPECT_THAT(commands_run(), ElementsAre("evolution --force-shutdown"));
}

// --- What is shown, running user

constexpr const char* sources_key = "/apps/evolution/calendar/sources";
constexpr const char* selected_key = "/apps/evolution/calendar/display/selected_calendars";

void set_list(const std::string& key, const std::string& list) {
  ASSERT_EQ(0, shell_quietly("gconftool-2 --set --type=list --list-type=string " + key + " '" + list + "'"));
}

class ShownInGconf : public testing::Test {
  Session session_;
};

TEST_F(ShownInGconf, TheFirstSourceOfTheFirstGroupIsShown) {
  set_list(sources_key,
           "[<group uid=\"g\"><source uid=\"first\" name=\"a\"/><source uid=\"second\"/></group>,"
           "<group uid=\"h\"><source uid=\"third\"/></group>]");
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, display_calendar());
  // The home is not asked for.
  EXPECT_EQ("spawning the gconf tool.before gconf listafter gconf list",
            testing::internal::GetCapturedStdout());
  EXPECT_EQ("[first]\n", Session::get(selected_key));
}

TEST_F(ShownInGconf, TaskListsAreShownBelowTheCalendar) {
  set_list("/apps/evolution/tasks/sources", "[<group uid=\"g\"><source uid=\"first\"/></group>]");
  EXPECT_EQ(0, display_tasks());
  EXPECT_EQ("[first]\n", Session::get("/apps/evolution/calendar/tasks/selected_tasks"));
}

TEST_F(ShownInGconf, ASettingThatTheAdministratorHoldsCountsAsDone) {
  ASSERT_EQ(0, shell_quietly("gconftool-2 --shutdown; gconftool-2 --direct --config-source "
                             "xml:readwrite:/etc/gconf/gconf.xml.mandatory --set --type=list "
                             "--list-type=string " +
                             std::string(selected_key) + " '[held]'"));
  set_list(sources_key, "[<group uid=\"g\"><source uid=\"first\"/></group>]");
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, display_calendar());
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("in set_gconf_list "));
  EXPECT_EQ("[held]\n", Session::get(selected_key));
}

TEST_F(ShownInGconf, NoSourcesChangeNothing) {
  set_list(selected_key, "[old]");
  EXPECT_EQ(0, display_calendar());
  set_list(sources_key, "[]");
  EXPECT_EQ(0, display_calendar());
  EXPECT_EQ("[old]\n", Session::get(selected_key));
}

TEST_F(ShownInGconf, AGroupWithoutASourceShowsAnEmptyOne) {
  set_list(sources_key, "[<group uid=\"g\"/>]");
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, display_calendar());
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("get_source_uid : "));
  EXPECT_EQ("[]\n", Session::get(selected_key));
  EXPECT_EQ("1\n", output_of("gconftool-2 --get-list-size " + std::string(selected_key)));
}

TEST_F(ShownInGconf, ALongUidIsWhole) {
  const std::string uid(300, 'u');
  set_list(sources_key, "[<group uid=\"g\"><source uid=\"" + uid + "\"/></group>]");
  EXPECT_EQ(0, display_calendar());
  EXPECT_EQ("[" + uid + "]\n", Session::get(selected_key));
}

// --- What is shown, profile

TEST(ShownForAProfile, TheRealSettingsDaemonReadsTheLists) {
  make_profile();
  EXPECT_EQ(0, display_calendar());
  EXPECT_EQ(0, display_tasks());
  EXPECT_EQ("[1115761140.10532.5@linux]\n", gconf_value_in("/home/ann", selected_key));
  EXPECT_EQ("[1115761140.10532.10@linux]\n",
            gconf_value_in("/home/ann", "/apps/evolution/calendar/tasks/selected_tasks"));
}

TEST(ShownForAProfile, TheFoldersAreMadeBySimpleCommands) {
  make_profile();
  display_calendar();
  display_tasks();
  EXPECT_THAT(commands_run(), ElementsAre("mkdir /home/ann/.gconf/apps/evolution/calendar/display",
                                          "mkdir /home/ann/.gconf/apps/evolution/calendar/tasks"));
}

TEST(ShownForAProfile, MissingSourcesAreAFailureForTheCalendarOnly) {
  isDefaultUser = 0;
  ASSERT_TRUE(assign(cur_user, "ann"));
  std::filesystem::create_directories(gconf + "calendar");
  EXPECT_EQ(-1, display_calendar());
  EXPECT_EQ(0, display_tasks());
  EXPECT_TRUE(commands_run().empty());
}

TEST(ShownForAProfile, TasksNeedNoFolderOfTheCalendars) {
  make_profile();
  ASSERT_EQ(0, shell_quietly("rm -r " + gconf + "calendar && chown 1234:2345 /home/ann"));
  EXPECT_EQ(0, display_tasks());
  EXPECT_EQ("[1115761140.10532.10@linux]\n",
            gconf_value_in("/home/ann", "/apps/evolution/calendar/tasks/selected_tasks"));
  EXPECT_EQ("1234:2345\n", output_of("stat -c %u:%g " + gconf + "calendar"));
}

TEST(ShownForAProfile, AListThatCannotBeWrittenIsAFailure) {
  make_profile();
  write_file(gconf + "calendar/display", "a file");
  write_file(gconf + "calendar/tasks", "a file");
  EXPECT_EQ(-1, display_calendar());
  EXPECT_EQ(-1, display_tasks());
}

TEST(ShownForAProfile, SourcesWithoutAUidShowAnEmptyOne) {
  make_profile();
  write_file(gconf + "calendar/%gconf.xml", "<gconf>\n</gconf>\n");
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, display_calendar());
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("get_source_uid : "));
  EXPECT_TRUE(
      matches_expected(gconf + "calendar/display/%gconf.xml", "evolution_personal/selected_without_uid.xml"));
}

TEST(ShownForAProfile, APercentSignIsWrittenAsItIs) {
  make_profile();
  write_file(gconf + "calendar/%gconf.xml", "source uid=&quot;a%sb%n&quot;");
  EXPECT_EQ(0, display_calendar());
  EXPECT_THAT(read_file(gconf + "calendar/display/%gconf.xml"),
              HasSubstr("<stringvalue>a%sb%n</stringvalue>\n"));
}

TEST(ShownForAProfile, ALargeFileIsReadWhole) {
  make_profile();
  write_file(gconf + "calendar/%gconf.xml", std::string(100'000, ' ') + "source uid=&quot;far&quot;");
  EXPECT_EQ(0, display_calendar());
  EXPECT_THAT(read_file(gconf + "calendar/display/%gconf.xml"),
              HasSubstr("<stringvalue>far</stringvalue>\n"));
}

// --- Uids

struct Uid {
  int result;
  std::string text;
};

Uid plain(const std::string& text) {
  std::array<char, 128> buffer{"before"};
  const int result = get_source_uid(text.c_str(), buffer.data());
  return {result, buffer.data()};
}

Uid escaped(const std::string& text) {
  std::array<char, 3072> buffer{"before"};
  const int result = get_source_uid2(text.c_str(), buffer.data());
  return {result, buffer.data()};
}

TEST(SourceUid, OfAPlainText) {
  const Uid uid = plain(R"(<group uid="g"><source uid="1.2@h" name="n"/><source uid="later"/>)");
  EXPECT_EQ(0, uid.result);
  EXPECT_EQ("1.2@h", uid.text);
}

TEST(SourceUid, OfAnEscapedText) {
  const Uid uid =
      escaped("&lt;group uid=&quot;g&quot;&gt;&lt;source uid=&quot;1.2@h&quot; name=&quot;n&quot;/&gt;");
  EXPECT_EQ(0, uid.result);
  EXPECT_EQ("1.2@h", uid.text);
}

TEST(SourceUid, IsTheFirstOfSeveral) {
  EXPECT_EQ("one", plain("<source uid=\"one\"/><source uid=\"two\"/>").text);
  EXPECT_EQ("one", escaped("&lt;source uid=&quot;one&quot;/&gt;&lt;source uid=&quot;two&quot;/&gt;").text);
}

TEST(SourceUid, MayBeEmpty) {
  EXPECT_EQ("", plain("source uid=\"\"").text);
  EXPECT_EQ("", escaped("source uid=&quot;&quot;").text);
}

TEST(SourceUid, AMissingOneIsReportedAndLeavesTheBuffer) {
  for (const char* text : {"", "<group uid=\"g\"/>", "source uid=", "source uid=\"unclosed"}) {
    testing::internal::CaptureStderr();
    const Uid uid = plain(text);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::StartsWith("get_source_uid : ")) << text;
    EXPECT_EQ(-1, uid.result);
    EXPECT_EQ("before", uid.text);
  }
  for (const char* text : {"", "source uid=\"plain\"", "source uid=&quot;unclosed"}) {
    testing::internal::CaptureStderr();
    const Uid uid = escaped(text);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::StartsWith("get_source_uid : ")) << text;
    EXPECT_EQ(-1, uid.result);
    EXPECT_EQ("before", uid.text);
  }
}

TEST(SourceUid, OneThatDoesNotFitLeavesTheBuffer) {
  EXPECT_EQ(std::string(127, 'u'), plain("source uid=\"" + std::string(127, 'u') + "\"").text);
  EXPECT_EQ("before", plain("source uid=\"" + std::string(128, 'u') + "\"").text);
  EXPECT_EQ(std::string(3071, 'u'), escaped("source uid=&quot;" + std::string(3071, 'u') + "&quot;").text);
  EXPECT_EQ(-1, escaped("source uid=&quot;" + std::string(3072, 'u') + "&quot;").result);
}

}  // namespace
