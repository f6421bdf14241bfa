#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "pack/accounts.h"
#include "pack/dbx_files.h"
#include "pack/recorded.h"
#include "pack/windows_disk.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using recorded::pack_disk;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

const std::string home = "Documents and Settings/Ann/";
const std::string identities = home + "Local Settings/Application Data/Identities/";
const std::string store = identities + "{A-1}/Microsoft/Outlook Express/";
const std::string from = "From - Thu Jan  1 00:00:00 1970\n";

std::string message(const std::string& subject, const std::string& text = "Text\r\n") {
  return "From: a@b.example\r\nTo: c@d.example\r\nSubject: " + subject +
         "\r\nDate: Tue, 1 Mar 2005 08:41:12 +0000\r\n\r\n" + text;
}
std::string packed(const std::string& subject, std::string text = "Text\n") {
  std::string whole = message(subject, "");
  std::erase(whole, '\r');
  return from + whole + text + "\n";
}

TEST(OutlookExpress, HasItsFoldersPacked) {
  const windows::Disk disk;
  const std::string lines = "line\r\nFrom me\r\n" + std::string(1500, 'x') + "\r\n\xE4\xF6\r\n";
  disk.add(store + "Inbox.dbx", dbx::file({message("one"), message("two", lines), message("three")}));
  disk.add(store + "Sent Items.dbx", dbx::file({message("sent")}));
  disk.add(store +
               "Gr\xC3\xBC\xC3\x9F"
               "e.DBX",
           dbx::file({message("four")}));
  disk.add(store + "Empty.dbx", dbx::file({}));
  for (const char* other : {"Folders.dbx", "Offline.dbx", "Pop3uidl.dbx", "cleanup.log"})
    disk.add(store + other, "no mail");
  disk.add(identities + "{B-2}/Microsoft/Outlook Express/Inbox.dbx",
           dbx::file({message("one"), message("five")}));
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Mail/"), UnorderedElementsAre("Inbox", "Sent",
                                                                        "Gr\xC3\xBC\xC3\x9F"
                                                                        "e",
                                                                        "Empty"));
  EXPECT_EQ(result.content.at("Brindle/Mail/Inbox"),
            packed("one") + packed("two", "line\n>From me\n" + std::string(1500, 'x') + "\n\xE4\xF6\n") +
                packed("three") + packed("five"));
  EXPECT_EQ(result.content.at("Brindle/Mail/Sent"), packed("sent"));
  EXPECT_EQ(result.content.at("Brindle/Mail/Empty"), "");
  EXPECT_THAT(result.remarks(),
              ElementsAre("there-already " + identities + "{B-2}/Microsoft/Outlook Express/Inbox.dbx"));
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::mail).packed, 6U);
}

TEST(OutlookExpress, AMessageThatThunderbirdHasIsThereOnce) {
  const windows::Disk disk;
  disk.add(store + "Inbox.dbx", dbx::file({message("one"), message("two")}));
  disk.add(home + "Application Data/Thunderbird/Profiles/x/Mail/Local Folders/Inbox",
           "From - 1\n" + message("two") + "\n");
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::mail, pack::Cause::there_already), 1U);
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::mail).packed, 2U);
}

TEST(OutlookExpress, IsFoundWhereTheRegistrySaysItIs) {
  const windows::Disk disk;
  const windows::Disk other;
  const std::string key = R"(Identities\{A-1}\Software\Microsoft\Outlook Express\5.0)";
  const std::string second = R"(Identities\{B-2}\Software\Microsoft\Outlook Express\5.0)";
  const std::string third = R"(Identities\{C-3}\Software\Microsoft\Outlook Express\5.0)";
  disk.add(
      home + "NTUSER.DAT",
      windows::hive(
          {{key, {{"Store Root", R"(E:\Mail\)", windows::Value::expand}}},
           {second, {{"Store Root", R"(F:\Gone)", windows::Value::expand}}},
           {third,
            {{"Store Root",
              R"(%UserProfile%\Local Settings\Application Data\Identities\{A-1}\Microsoft\Outlook Express\)",
              windows::Value::expand}}}}));
  disk.add(store + "Inbox.dbx", dbx::file({message("here")}));
  other.add("Mail/Work.dbx", dbx::file({message("there")}));
  pack::Options options;
  options.drives['E'] = other.path();
  const auto result = pack_disk(disk.path(), options);
  EXPECT_EQ(result.content.at("Brindle/Mail/Inbox"), packed("here")) << "once";
  EXPECT_EQ(result.content.at("Brindle/Mail/Work"), packed("there"));
  EXPECT_THAT(result.remarks(), ElementsAre(R"(elsewhere F:\Gone)"));
}

TEST(OutlookExpress, DeletedMailStays) {
  const windows::Disk disk;
  disk.add(store + "Deleted Items.dbx", dbx::file({message("gone")}));
  disk.add(store + "Gel\xC3\xB6schte Objekte.dbx", dbx::file({message("gone")}));
  disk.add(store + "Trash.dbx", dbx::file({message("kept")}));
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Mail/"), ElementsAre("Trash"));
  EXPECT_THAT(result.remarks(), ElementsAre("deleted " + store + "Deleted Items.dbx",
                                            "deleted " + store + "Gel\xC3\xB6schte Objekte.dbx"));
  EXPECT_FALSE(result.people.front().tally.has_losses());
}

TEST(OutlookExpress, OfADamagedFolderIsPackedWhatCanBeHad) {
  const windows::Disk disk;
  const std::vector<std::string> three = {message("one"), message("two"), message("three")};
  std::string cut = dbx::file(three);
  cut.resize(cut.size() - 70);
  disk.add(store + "Cut.dbx", cut);
  std::string broken = dbx::file({message("one", std::string(600, 'x') + "\r\n"), message("two")});
  dbx::put(broken, dbx::first_block + dbx::next_block, 0x7FFFFFFF);
  disk.add(store + "Broken.dbx", broken);
  std::string many = dbx::file(three);
  dbx::put(many, dbx::count, 9);
  disk.add(store + "Many.dbx", many);
  disk.add(store + "None.dbx", std::string(20000, 'x'));
  disk.add(store + "Zero.dbx", "");
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(result.content.at("Brindle/Mail/Cut"), packed("one") + packed("two") + packed("three"));
  EXPECT_THAT(result.content.at("Brindle/Mail/Broken"), HasSubstr("Subject: one\n"));
  EXPECT_THAT(result.content.at("Brindle/Mail/Broken"), HasSubstr(packed("two")));
  EXPECT_EQ(result.content.at("Brindle/Mail/Many"), packed("one") + packed("two") + packed("three"));
  EXPECT_THAT(result.remarks(),
              ElementsAre("salvaged " + store + "Broken.dbx", "salvaged " + store + "Cut.dbx",
                          "salvaged " + store + "Many.dbx", "damaged " + store + "None.dbx",
                          "damaged " + store + "Zero.dbx"));
  EXPECT_TRUE(result.people.front().tally.has_losses());
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::mail).packed, 9U) << "a fragment is one";
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::mail).left_out, 2U)
      << "folders of which there is nothing";
}

TEST(OutlookExpress, AChainWithoutAnEndEnds) {
  const windows::Disk disk;
  std::string endless = dbx::file({message("one", std::string(600, 'x')), message("two")});
  dbx::put(endless, dbx::first_block + dbx::next_block, dbx::first_block);
  disk.add(store + "Endless.dbx", endless);
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.content.at("Brindle/Mail/Endless"), HasSubstr(packed("two")));
  EXPECT_THAT(result.remarks(), ElementsAre("salvaged " + store + "Endless.dbx"));
}

TEST(OutlookExpress, NamesAreNoOrders) {
  const windows::Disk disk;
  for (const char* name : {"-r", "--help", "$(touch hostile)", "`touch hostile`", "a'b\"c",
                           "x; touch hostile", "new\nline", "*", "~", "%s%n"})
    disk.add(store + name + ".dbx", dbx::file({message("one")}));
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Mail/"),
              UnorderedElementsAre("-r", "--help", "$(touch hostile)", "`touch hostile`", "a'b\"c",
                                   "x; touch hostile", "new_line~0775befe", "*", "~", "%s%n"))
      << "unzip drops line ends, so it gets another name";
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(OutlookExpress, WithoutItsUnpackerIsTold) {
  const windows::Disk disk;
  disk.add(store + "Inbox.dbx", dbx::file({message("one")}));
  setenv("PATH", "/nowhere:/proc", 1);
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Mail/"), IsEmpty());
  EXPECT_THAT(result.remarks(), ElementsAre("unpacker-missing " + store + "Inbox.dbx"));
  EXPECT_THAT(std::string(pack::advice_on(pack::Cause::unpacker_missing)), HasSubstr("undbx"));
}

TEST(OutlookExpress, WithoutRoomIsTold) {
  const windows::Disk disk;
  disk.add(store + "Inbox.dbx", dbx::file({message("one")}));
  ASSERT_EQ(output_of("mkdir -p /mnt/small && mount -t tmpfs -o size=20m none /mnt/small && echo done"),
            "done\n");
  setenv("TMPDIR", "/mnt/small", 1);
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.remarks(), ElementsAre("no-room " + store + "Inbox.dbx"));
  EXPECT_EQ(result.content.at("Brindle/Mail/Inbox"), "");
  EXPECT_EQ(output_of("ls -A /mnt/small"), "");
}

TEST(OutlookExpress, LeavesNothingBehind) {
  const windows::Disk disk;
  disk.add(store + "Inbox.dbx", dbx::file({message("one")}));
  const std::string before = output_of("ls -A /tmp");
  pack_disk(disk.path());
  EXPECT_EQ(output_of("ls -A /tmp"), before);
}

TEST(OutlookExpress, HasItsAccountsPacked) {
  const windows::Disk disk;
  const std::string keys = R"(Software\Microsoft\Internet Account Manager\Accounts\)";
  const auto number = windows::Value::dword;
  disk.add(home + "NTUSER.DAT",
           windows::hive({{keys + "00000001",
                           {{"Account Name", "At Home"},
                            {"POP3 Server", "pop.home.example"},
                            {"POP3 User Name", "ann"},
                            {"POP3 Port", "995", number},
                            {"POP3 Secure Connection", "1", number},
                            {"SMTP Server", "smtp.home.example"},
                            {"SMTP Port", "465", number},
                            {"SMTP Use Sicily", "2", number},
                            {"SMTP Secure Connection", "1", number},
                            {"SMTP Display Name",
                             "Ann L\xC3\xA9"
                             "e"},
                            {"SMTP Email Address", "ann@home.example"},
                            {"SMTP Reply To Email Address", "reply@home.example"},
                            {"SMTP Organization Name", "Lee & Sons"},
                            {"Leave Mail On Server", "1", number}}},
                          {keys + "00000002", {{"Account Name", "Bigfoot"}, {"LDAP Server", "ldap.example"}}},
                          {keys + "00000003", {{"HTTPMail Server", "http://mail.example"}}},
                          {keys + "00000004", {{"NNTP Server", "news.example"}}},
                          {R"(Identities\{B-2}\)" + keys + "00000001",
                           {{"Account Name", "At Work"},
                            {"IMAP Server", "imap.work.example"},
                            {"IMAP User Name", "a.lee"},
                            {"SMTP Server", "smtp.work.example"},
                            {"SMTP Email Address", "a.lee@work.example"},
                            {"SMTP Use Sicily", "0", number}}}}));
  const auto result = pack_disk(disk.path());
  ASSERT_THAT(result.files_below(accounts::folder), ElementsAre("00000001.txt", "00000002.txt"));
  EXPECT_EQ(result.content.at(accounts::folder + "00000001.txt"), accounts::at_home);
  EXPECT_EQ(
      result.content.at(accounts::folder + "00000002.txt"),
      accounts::but_for(accounts::at_work, {"IMAP Port", "SMTP Display Name=", "Account Name=At Work"}));
  EXPECT_THAT(result.remarks(), ElementsAre("no-place " + home + "NTUSER.DAT: " + keys + "00000003",
                                            "no-place " + home + "NTUSER.DAT: " + keys + "00000004"));
}

TEST(OutlookExpress, IsLeftOutWhenItIsNotWanted) {
  const windows::Disk disk;
  disk.add(store + "Inbox.dbx", dbx::file({message("one")}));
  disk.add(store + "Deleted Items.dbx", dbx::file({message("one")}));
  disk.add(home + "NTUSER.DAT", windows::hive({{R"(Software\Microsoft\Internet Account Manager\Accounts\1)",
                                                {{"POP3 Server", "pop.example"}}}}));
  pack::Options options;
  options.without = {pack::Kind::mail, pack::Kind::accounts};
  const auto result = pack_disk(disk.path(), options);
  EXPECT_FALSE(result.content.contains("Brindle/ImapMail/"));
  EXPECT_THAT(result.remarks(), IsEmpty());
}

}  // namespace
