#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pack/accounts.h"
#include "pack/mail/windows_folders.h"
#include "pack/recorded.h"
#include "pack/windows_disk.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using recorded::pack_disk;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

const std::string local = "Users/Ann/AppData/Local/Microsoft/";
const std::string vista = local + "Windows Mail/";
const std::string live = local + "Windows Live Mail/";
const std::string from = "From - Thu Jan  1 00:00:00 1970\n";

std::string message(const std::string& subject) {
  return "Subject: " + subject + "\r\n\r\nText of " + subject + "\r\n";
}
std::string packed(const std::string& subject) {
  return from + "Subject: " + subject + "\n\nText of " + subject + "\n\n";
}

// Little-endian, with the mark of its order, as the programs write it.
std::string utf16(std::u16string_view text) {
  std::string bytes = "\xFF\xFE";
  for (const char16_t c : text) {
    bytes += static_cast<char>(c & 0xFF);
    bytes += static_cast<char>(c >> 8);
  }
  return bytes;
}

TEST(WindowsMail, HasItsUsualFoldersInEachLanguage) {
  const std::vector<std::pair<std::string, std::vector<std::string>>> usual{
      {"Inbox",
       {"Inbox", "Posteingang", "Boîte de réception", "Bandeja de entrada", "Posta in arrivo", "Postvak IN"}},
      {"Sent",
       {"Sent Items", "Gesendete Objekte", "Gesendete Elemente", "Éléments envoyés", "Elementos enviados",
        "Posta inviata", "Verzonden items"}},
      {"Outbox",
       {"Outbox", "Postausgang", "Boîte d'envoi", "Bandeja de salida", "Posta in uscita", "Postvak UIT"}},
      {"Drafts", {"Drafts", "Entwürfe", "Brouillons", "Borrador", "Borradores", "Bozze", "Concepten"}},
      {"Trash",
       {"Deleted Items", "Gelöschte Objekte", "Gelöschte Elemente", "Éléments supprimés",
        "Elementos eliminados", "Posta eliminata", "Verwijderde items"}}};
  for (const auto& [in_archive, names] : usual)
    for (const std::string& name : names) {
      EXPECT_EQ(pack::usual_mail_folder(name), in_archive) << name;
      EXPECT_EQ(pack::is_of_deleted_mail(name), in_archive == "Trash") << name;
    }
  EXPECT_EQ(pack::usual_mail_folder("POSTEINGANG"), "Inbox");
  for (const char* own : {"Work", "", "Trash"}) {
    EXPECT_EQ(pack::usual_mail_folder(own), own);
    EXPECT_FALSE(pack::is_of_deleted_mail(own)) << own;
  }
}

TEST(WindowsMail, HasItsFoldersPacked) {
  const windows::Disk disk;
  disk.add(vista + "Local Folders/Inbox/1A2B.eml", message("one"));
  disk.add(vista + "Local Folders/Inbox/2B3C.EML", message("two"));
  disk.add(vista + "Local Folders/Inbox/winmail.fol", "own");
  disk.add(vista + "Local Folders/Inbox/Work/Deep/1.eml", message("deep"));
  disk.add(vista + "Local Folders/Sent Items/1.eml", message("sent"));
  disk.add(vista + "Local Folders/Drafts/1.eml", message("draft"));
  disk.add(vista + "Local Folders/Outbox/1.eml", message("out"));
  disk.add(vista + "Home (ann)/INBOX/1.eml", message("one"));
  disk.add(vista + "Home (ann)/INBOX/2.eml", message("three"));
  disk.add(vista + "Home (ann)/stray.eml", message("stray"));
  disk.add(vista + "Backup/new/1.eml", message("copy"));
  disk.add(vista + "WindowsMail.MSMessageStore", "own");
  disk.add(live + "Storage Folders/Imported/Old/1.eml", message("old"));
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Mail/"),
              UnorderedElementsAre("Inbox", "Inbox.sbd/Work", "Inbox.sbd/Work.sbd/Deep", "Sent", "Drafts",
                                   "Outbox", "Home (ann)", "Imported", "Imported.sbd/Old"));
  EXPECT_EQ(result.content.at("Brindle/Mail/Imported"), "") << "no program shows a folder below none";
  EXPECT_EQ(result.content.at("Brindle/Mail/Inbox"), packed("one") + packed("three") + packed("two"))
      << "one of them is in two accounts";
  EXPECT_EQ(result.content.at("Brindle/Mail/Sent"), packed("sent"));
  EXPECT_EQ(result.content.at("Brindle/Mail/Home (ann)"), packed("stray"));
  EXPECT_EQ(result.content.at("Brindle/Mail/Imported.sbd/Old"), packed("old"));
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::mail).packed, 9U);
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::mail, pack::Cause::there_already), 1U);
}

TEST(WindowsMail, MessagesStayWhole) {
  const windows::Disk disk;
  const std::string line(200000, 'A');
  disk.add(vista + "Local Folders/Inbox/1.eml",
           "Subject: one\r\n\r\nFrom me\r\n From me\r\nFr\r\n\xC3\xA4 \xE4\r\n" + line + "From \r\nFrom ");
  disk.add(vista + "Local Folders/Inbox/2.eml", "Subject: two\n\nFr");
  EXPECT_EQ(pack_disk(disk.path()).content.at("Brindle/Mail/Inbox"),
            from + "Subject: one\n\n>From me\n From me\nFr\n\xC3\xA4 \xE4\n" + line + "From \n>From \n\n" +
                from + "Subject: two\n\nFr\n\n");
}

TEST(WindowsMail, DeletedMailAndArticlesStay) {
  const windows::Disk disk;
  disk.add(vista + "Local Folders/Deleted Items/1.eml", message("gone"));
  disk.add(vista + "Local Folders/Deleted Items/2.eml", message("gone"));
  disk.add(vista + "Local Folders/Deleted Items/Below/3.eml", message("gone"));
  disk.add(vista + "News/some.group/1.nws", message("article"));
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Mail/"), IsEmpty());
  EXPECT_THAT(result.remarks(), ElementsAre("deleted " + vista + "Local Folders/Deleted Items/Below",
                                            "deleted " + vista + "Local Folders/Deleted Items",
                                            "deleted " + vista + "Local Folders/Deleted Items",
                                            "no-place " + vista + "News/some.group/1.nws"));
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::mail).found, 4U);
}

TEST(WindowsMail, MessagesThatAreNoneAreTold) {
  const windows::Disk disk;
  disk.add(vista + "Local Folders/Inbox/1.eml", "");
  disk.add(vista + "Local Folders/Inbox/2.eml", message("two"));
  std::filesystem::create_symlink("/etc/passwd", disk.path() + "/" + vista + "Local Folders/Inbox/3.eml");
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(result.content.at("Brindle/Mail/Inbox"), packed("two"));
  EXPECT_THAT(result.remarks(), ElementsAre("damaged " + vista + "Local Folders/Inbox/1.eml",
                                            "link " + vista + "Local Folders/Inbox/3.eml"));
}

TEST(WindowsMail, IsFoundWhereTheRegistrySaysItIs) {
  const windows::Disk disk;
  const windows::Disk other;
  disk.add("Users/Ann/NTUSER.DAT",
           windows::hive({{R"(Software\Microsoft\Windows Mail)",
                           {{"Store Root", R"(E:\Mail)", windows::Value::expand}}},
                          {R"(Software\Microsoft\Windows Live Mail)",
                           {{"Store Root", R"(%UserProfile%\AppData\Local\Microsoft\Windows Live Mail\)",
                             windows::Value::expand}}}}));
  disk.add(live + "Local/Inbox/1.eml", message("one"));
  other.add("Mail/Local Folders/Work/1.eml", message("two"));
  pack::Options options;
  EXPECT_THAT(pack_disk(disk.path(), options).remarks(), ElementsAre(R"(elsewhere E:\Mail)"));
  options.drives['E'] = other.path();
  const auto result = pack_disk(disk.path(), options);
  EXPECT_EQ(result.content.at("Brindle/Mail/Inbox"), packed("one"));
  EXPECT_EQ(result.content.at("Brindle/Mail/Work"), packed("two"));
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(WindowsMail, HasItsAccountsPacked) {
  const windows::Disk disk;
  disk.add(vista + "account{1}.oeaccount",
           utf16(u"<?xml version=\"1.0\" encoding=\"utf-16\" ?>\r\n<MessageAccount>\r\n"
                 u"<Account_Name type=\"SZ\">At Home</Account_Name>"
                 u"<POP3_Server type=\"SZ\">pop.home.example</POP3_Server>"
                 u"<POP3_User_Name type=\"SZ\">ann</POP3_User_Name>"
                 u"<POP3_Password2 type=\"BINARY\">01000000d08c9ddf</POP3_Password2>"
                 u"<POP3_Port type=\"DWORD\">000003e3</POP3_Port>"
                 u"<POP3_Secure_Connection type=\"DWORD\">00000001</POP3_Secure_Connection>"
                 u"<SMTP_Server type=\"SZ\">smtp.home.example</SMTP_Server>"
                 u"<SMTP_Port type=\"DWORD\">00000019</SMTP_Port>"
                 u"<SMTP_Use_Sicily type=\"DWORD\">00000003</SMTP_Use_Sicily>"
                 u"<SMTP_Secure_Connection type=\"DWORD\">00000000</SMTP_Secure_Connection>"
                 u"<SMTP_Display_Name type=\"SZ\">Ann L\u00E9e &amp; Co</SMTP_Display_Name>"
                 u"<SMTP_Email_Address type=\"SZ\">ann@home.example</SMTP_Email_Address>"
                 u"</MessageAccount>\r\n"));
  disk.add(live + "Work/account{2}.oeaccount",
           "<?xml version=\"1.0\"?><MessageAccount><IMAP_Server type=\"SZ\">imap.work.example</IMAP_Server>"
           "<IMAP_Port type=\"DWORD\">nonsense</IMAP_Port></MessageAccount>");
  disk.add(vista + "Local Folders/account{3}.oeaccount",
           "<MessageAccount><Connection_ID type=\"SZ\">x</Connection_ID></MessageAccount>");
  disk.add(vista + "account{4}.oeaccount",
           "<MessageAccount><NNTP_Server type=\"SZ\">news.example</NNTP_Server></MessageAccount>");
  disk.add(vista + "account{5}.oeaccount", "<MessageAccount>");
  disk.add(vista + "account{6}.oeaccount", "<other/>");
  const auto result = pack_disk(disk.path());
  ASSERT_THAT(result.files_below(accounts::folder), ElementsAre("00000001.txt", "00000002.txt"));
  EXPECT_EQ(result.content.at(accounts::folder + "00000001.txt"),
            accounts::but_for(accounts::at_home, {"Leave Mail On Server=0", "SMTP Secure Connection=0",
                                                  "SMTP Reply To Email Address=", "SMTP Organization Name=",
                                                  "SMTP Display Name=Ann Lée & Co"}));
  EXPECT_THAT(result.content.at(accounts::folder + "00000002.txt"),
              HasSubstr("IMAP Server=imap.work.example\r\n"));
  EXPECT_THAT(result.content.at(accounts::folder + "00000002.txt"), HasSubstr("\r\nIMAP Port=143\r\n"));
  EXPECT_THAT(result.remarks(), ElementsAre("no-place " + vista + "account{4}.oeaccount",
                                            "damaged " + vista + "account{5}.oeaccount",
                                            "damaged " + vista + "account{6}.oeaccount"));
}

TEST(WindowsMail, AccountsTellWhatAnArchiveHasNoWordFor) {
  const auto number = [](const std::string& name, const std::string& digits) {
    return "<" + name + " type=\"DWORD\">" + digits + "</" + name + ">";
  };
  const auto text = [](const std::string& name, const std::string& value) {
    return "<" + name + " type=\"SZ\">" + value + "</" + name + ">";
  };
  const auto lost = [&](const std::string& more) {
    const windows::Disk disk;
    const std::string path = vista + "account{1}.oeaccount";
    disk.add(path, "<MessageAccount>" + text("Account_Name", "Mine") + text("POP3_Server", "in.example") +
                       text("POP3_User_Name", "ann") + text("SMTP_Server", "out.example") + more +
                       "</MessageAccount>");
    std::vector<std::string> remarks = pack_disk(disk.path()).remarks();
    const std::string begin = "partly-kept " + path + ": Mine: ";
    for (std::string& remark : remarks)
      if (remark.starts_with(begin)) remark.erase(0, begin.size());
    return remarks;
  };
  EXPECT_THAT(lost(""), IsEmpty());
  EXPECT_THAT(lost(number("POP3_Secure_Connection", "1") + number("SMTP_Secure_Connection", "1") +
                   number("SMTP_Port", "1d1")),
              IsEmpty());
  EXPECT_THAT(lost(number("POP3_Secure_Connection", "2")), ElementsAre("STARTTLS for in.example"));
  EXPECT_THAT(lost(number("POP3_Use_Sicily", "1")), ElementsAre("SPA for in.example"));
  EXPECT_THAT(lost(number("SMTP_Port", "24b")), ElementsAre("port 587 for out.example"));
  EXPECT_THAT(lost(number("SMTP_Port", "19") + number("SMTP_Secure_Connection", "1")),
              ElementsAre("port 25 for out.example"));
  EXPECT_THAT(lost(number("SMTP_Port", "24b") + number("SMTP_Secure_Connection", "2")),
              ElementsAre("STARTTLS and port 587 for out.example"));
  const std::string user = text("SMTP_User_Name", "bob");
  EXPECT_THAT(lost(user + number("SMTP_Use_Sicily", "3")), ElementsAre("the login bob for out.example"));
  EXPECT_THAT(lost(user + number("SMTP_Use_Sicily", "2")), IsEmpty());
  EXPECT_THAT(lost(user + number("SMTP_Use_Sicily", "0")), IsEmpty());
  EXPECT_THAT(lost(number("SMTP_Use_Sicily", "1")), ElementsAre("SPA for out.example"));
}

TEST(WindowsCalendars, AreTold) {
  const windows::Disk disk;
  const std::string calendars = local + "Windows Calendar/Calendars/";
  const std::string of_live = local + "Windows Live Mail/Calendars/";
  disk.add(calendars + "Ann's.ics", "BEGIN:VCALENDAR\nEND:VCALENDAR\n");
  disk.add(calendars + "Work.ics", "BEGIN:VCALENDAR\nEND:VCALENDAR\n");
  disk.add(of_live + "ann@home.example/DBStore/calendar.edb");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.remarks(), UnorderedElementsAre("no-place " + calendars + "Ann's.ics",
                                                     "no-place " + calendars + "Work.ics",
                                                     "no-place " + of_live + "ann@home.example"));
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::events).left_out, 3U);
  pack::Options options;
  options.without = {pack::Kind::events};
  EXPECT_THAT(pack_disk(disk.path(), options).remarks(), IsEmpty());
  EXPECT_THAT(pack_disk(pack::Disk(recorded::tree_with(disk.path(), local + "Windows Calendar"))).remarks(),
              testing::Contains("unreadable " + local + "Windows Calendar"));
}

TEST(WindowsMail, DescriptionsThatDeclareSomethingAreNone) {
  const windows::Disk disk;
  disk.add(
      vista + "account{1}.oeaccount",
      "<!DOCTYPE x [<!ENTITY a SYSTEM \"file:///etc/passwd\">]><MessageAccount>"
      "<POP3_Server type=\"SZ\">pop.example</POP3_Server><Account_Name>&a;</Account_Name></MessageAccount>");
  disk.add(vista + "account{2}.oeaccount",
           "<MessageAccount>" + std::string(5 << 20, ' ') + "</MessageAccount>");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/ImapMail/"), IsEmpty());
  EXPECT_THAT(result.remarks(), ElementsAre("damaged " + vista + "account{1}.oeaccount",
                                            "too-long " + vista + "account{2}.oeaccount"));
}

TEST(WindowsMail, WhatTheMailAppKeepsIsTold) {
  const windows::Disk disk;
  disk.add("Users/Ann/AppData/Local/Comms/UnistoreDB/store.vol", "own");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.remarks(), ElementsAre("mail-app Users/Ann/AppData/Local/Comms/UnistoreDB/store.vol"));
  EXPECT_TRUE(result.people.front().tally.has_losses());
}

TEST(WindowsMail, IsLeftOutWhenItIsNotWanted) {
  const windows::Disk disk;
  disk.add(vista + "Local Folders/Inbox/1.eml", message("one"));
  disk.add(vista + "account{1}.oeaccount",
           "<MessageAccount><POP3_Server type=\"SZ\">pop.example</POP3_Server></MessageAccount>");
  pack::Options options;
  options.without = {pack::Kind::mail, pack::Kind::accounts};
  const auto result = pack_disk(disk.path(), options);
  EXPECT_FALSE(result.content.contains("Brindle/ImapMail/"));
}

}  // namespace
