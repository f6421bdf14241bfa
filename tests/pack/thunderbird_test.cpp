#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pack/accounts.h"
#include "pack/mail/mailbox.h"
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

const std::string profile = "Users/Ann/AppData/Roaming/Thunderbird/Profiles/x.default/";
const std::string local = profile + "Mail/Local Folders/";

std::string message(const std::string& subject, const std::string& text = "Text") {
  return "From - Tue Mar  1 08:41:12 2005\nSubject: " + subject + "\n\n" + text + "\n\n";
}

// A line of prefs.js; texts with their quotes.
std::string pref_line(const std::string& name, const std::string& value) {
  return "user_pref(\"" + name + "\", " + value + ");\n";
}
std::string quoted(const std::string& text) { return "\"" + text + "\""; }

// One account of that type with a server for sending.
std::string prefs_with(const std::string& type, const std::string& more) {
  return pref_line("mail.accountmanager.accounts", "\"a\"") + pref_line("mail.account.a.server", "\"s\"") +
         pref_line("mail.account.a.identities", "\"i\"") + pref_line("mail.server.s.type", quoted(type)) +
         pref_line("mail.server.s.hostname", "\"in.example\"") +
         pref_line("mail.server.s.userName", "\"ann\"") + pref_line("mail.server.s.name", "\"Mine\"") +
         pref_line("mail.identity.i.useremail", "\"ann@a.example\"") +
         pref_line("mail.identity.i.smtpServer", "\"t\"") + pref_line("mail.smtpservers", "\"t\"") +
         pref_line("mail.smtpserver.t.hostname", "\"out.example\"") + more;
}

struct Account {
  std::string text;
  std::vector<std::string> lost;
  std::string line(const std::string& key) const {
    const std::size_t begin = text.find(key + "=");
    return begin == std::string::npos
               ? "none"
               : text.substr(begin + key.size() + 1, text.find('\r', begin) - begin - key.size() - 1);
  }
};

Account account_of(const std::string& prefs) {
  const windows::Disk disk;
  disk.add(profile + "prefs.js", prefs);
  const auto result = pack_disk(disk.path());
  Account account{result.content.at(accounts::folder + "00000001.txt"), {}};
  const std::string from = "partly-kept " + profile.substr(0, profile.size() - 1) + ": ";
  for (const std::string& remark : result.remarks())
    account.lost.push_back(remark.starts_with(from) ? remark.substr(from.size()) : remark);
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::accounts).packed, 1U);
  EXPECT_EQ(result.people.front().tally.has_losses(), !account.lost.empty());
  return account;
}

TEST(MailAccounts, HaveThunderbirdsUsualPorts) {
  const struct {
    const char* type;
    const char* socket_type;
    const char* port;
    const char* secure;
  } cases[] = {{"imap", "0", "143", "0"}, {"imap", "1", "143", "0"}, {"imap", "2", "143", "0"},
               {"imap", "3", "993", "1"}, {"pop3", "0", "110", "0"}, {"pop3", "2", "110", "0"},
               {"pop3", "3", "995", "1"}};
  for (const auto& [type, socket_type, port, secure] : cases) {
    const Account account = account_of(prefs_with(type, pref_line("mail.server.s.socketType", socket_type)));
    const std::string protocol = std::string(type) == "imap" ? "IMAP" : "POP3";
    EXPECT_EQ(account.line(protocol + " Port"), port) << type << socket_type;
    EXPECT_EQ(account.line(protocol + " Secure Connection"), secure) << type << socket_type;
  }
  EXPECT_EQ(account_of(prefs_with("imap", "")).line("IMAP Port"), "143");
}

TEST(MailAccounts, HaveTheirOwnPorts) {
  for (const auto& [port, written] :
       {std::pair("1143", "1143"), std::pair("0", "143"), std::pair("-1", "143"), std::pair("70000", "143"),
        std::pair("\"x\"", "143")})
    EXPECT_EQ(account_of(prefs_with("imap", pref_line("mail.server.s.port", port))).line("IMAP Port"),
              written)
        << port;
}

TEST(MailAccounts, TellOfEncryptionThatBeginsLater) {
  for (const char* type : {"1", "2"})
    EXPECT_THAT(account_of(prefs_with("imap", pref_line("mail.server.s.socketType", type))).lost,
                ElementsAre("Mine: STARTTLS for in.example"));
  for (const char* type : {"0", "3"})
    EXPECT_THAT(account_of(prefs_with("imap", pref_line("mail.server.s.socketType", type))).lost, IsEmpty());
}

TEST(MailAccounts, OfOldVersionsAreSecure) {
  EXPECT_EQ(account_of(prefs_with("imap", pref_line("mail.server.s.isSecure", "true"))).line("IMAP Port"),
            "993");
  EXPECT_EQ(account_of(prefs_with("imap", pref_line("mail.server.s.isSecure", "false"))).line("IMAP Port"),
            "143");
  EXPECT_EQ(account_of(prefs_with("imap", pref_line("mail.server.s.isSecure", "true") +
                                              pref_line("mail.server.s.socketType", "0")))
                .line("IMAP Port"),
            "143");
}

TEST(MailAccounts, TellOfWhatSendingLoses) {
  const std::string ssl = "mail.smtpserver.t.try_ssl";
  const std::string port = "mail.smtpserver.t.port";
  const struct {
    std::string more;
    std::string secure;
    std::vector<std::string> lost;
  } cases[] = {
      {"", "0", {}},
      {pref_line(ssl, "0"), "0", {}},
      {pref_line(ssl, "1"), "0", {"Mine: STARTTLS and port 587 for out.example"}},
      {pref_line(ssl, "2"), "0", {"Mine: STARTTLS and port 587 for out.example"}},
      {pref_line(ssl, "2") + pref_line(port, "25"), "0", {"Mine: STARTTLS and port 25 for out.example"}},
      {pref_line(ssl, "3"), "1", {}},
      {pref_line(ssl, "3") + pref_line(port, "465"), "1", {}},
      {pref_line(ssl, "3") + pref_line(port, "2465"), "1", {"Mine: port 2465 for out.example"}},
      {pref_line(port, "25"), "0", {}},
      {pref_line(port, "2525"), "0", {"Mine: port 2525 for out.example"}}};
  for (const auto& [more, secure, lost] : cases) {
    const Account account = account_of(prefs_with("imap", more));
    EXPECT_EQ(account.line("SMTP Secure Connection"), secure) << more;
    EXPECT_EQ(account.lost, lost) << more;
  }
}

TEST(MailAccounts, LogInForSendingWhenTheyDo) {
  const std::string user = pref_line("mail.smtpserver.t.username", "\"ann\"");
  const auto login_with = [](const std::string& more) {
    return account_of(prefs_with("imap", more)).line("SMTP Use Sicily");
  };
  EXPECT_EQ(login_with(""), "0");
  EXPECT_EQ(login_with(user), "2");
  EXPECT_EQ(login_with(user + pref_line("mail.smtpserver.t.authMethod", "3")), "2");
  EXPECT_EQ(login_with(user + pref_line("mail.smtpserver.t.authMethod", "1")), "0");
  EXPECT_EQ(login_with(user + pref_line("mail.smtpserver.t.auth_method", "0")), "0");
  EXPECT_EQ(login_with(user + pref_line("mail.smtpserver.t.auth_method", "1")), "2");
  EXPECT_THAT(account_of(prefs_with("imap", user)).lost, IsEmpty());
  EXPECT_THAT(account_of(prefs_with("imap", pref_line("mail.smtpserver.t.username", "\"bob\""))).lost,
              ElementsAre("Mine: the login bob for out.example"));
}

TEST(MailAccounts, HaveEachFlagByItself) {
  const auto line_with = [](const std::string& name, const std::string& key) {
    return account_of(prefs_with("pop3", pref_line(name, "true"))).line(key);
  };
  EXPECT_EQ(account_of(prefs_with("pop3", "")).line("Leave Mail On Server"), "0");
  EXPECT_EQ(line_with("mail.server.s.leave_on_server", "Leave Mail On Server"), "1");
  EXPECT_EQ(line_with("mail.server.s.leave_on_server", "POP3 Secure Connection"), "0");
  EXPECT_EQ(line_with("mail.server.s.leave_on_server", "SMTP Secure Connection"), "0");
  EXPECT_EQ(line_with("mail.server.s.isSecure", "POP3 Secure Connection"), "1");
  EXPECT_EQ(line_with("mail.server.s.isSecure", "Leave Mail On Server"), "0");
}

TEST(MailAccounts, TellOfSignInByABrowser) {
  EXPECT_THAT(account_of(prefs_with("imap", pref_line("mail.server.s.authMethod", "10"))).lost,
              ElementsAre("Mine: OAuth2 for in.example"));
  EXPECT_THAT(account_of(prefs_with("imap", pref_line("mail.smtpserver.t.authMethod", "10"))).lost,
              ElementsAre("Mine: OAuth2 for out.example"));
}

TEST(MailAccounts, GoToServersThatWereRenamed) {
  const Account account =
      account_of(prefs_with("imap", pref_line("mail.server.s.realhostname", "\"new.example\"") +
                                        pref_line("mail.server.s.realuserName", "\"lee\"")));
  EXPECT_EQ(account.line("IMAP Server"), "new.example");
  EXPECT_EQ(account.line("IMAP User Name"), "lee");
}

TEST(MailAccounts, TellOfFurtherAddressesAndServers) {
  const Account account =
      account_of(prefs_with("imap", pref_line("mail.account.a.identities", "\"i,j,k\"") +
                                        pref_line("mail.identity.j.useremail", "\"j@a.example\"") +
                                        pref_line("mail.identity.k.useremail", "\"k@a.example\"") +
                                        pref_line("mail.identity.k.smtpServer", "\"u\"") +
                                        pref_line("mail.smtpservers", "\"t,u\"") +
                                        pref_line("mail.smtpserver.u.hostname", "\"second.example\"")));
  EXPECT_EQ(account.line("SMTP Email Address"), "ann@a.example");
  EXPECT_EQ(account.line("SMTP Server"), "out.example");
  EXPECT_THAT(account.lost, ElementsAre("Mine: the address j@a.example", "Mine: the address k@a.example",
                                        "the server second.example for sending"));
}

TEST(MailAccounts, SendByTheirServerOrTheDefaultOneOrTheFirst) {
  const std::string two = pref_line("mail.smtpservers", "\"t,u\"") +
                          pref_line("mail.smtpserver.u.hostname", "\"second.example\"");
  const auto server_with = [&](const std::string& more) {
    return account_of(prefs_with("imap", two + more)).line("SMTP Server");
  };
  const std::string none = pref_line("mail.identity.i.smtpServer", "\"\"");
  EXPECT_EQ(server_with(""), "out.example");
  EXPECT_EQ(server_with(pref_line("mail.smtp.defaultserver", "\"u\"")), "out.example");
  EXPECT_EQ(server_with(none + pref_line("mail.smtp.defaultserver", "\"u\"")), "second.example");
  EXPECT_EQ(server_with(none), "out.example");
  EXPECT_EQ(server_with(pref_line("mail.identity.i.smtpServer", "\"gone\"") +
                        pref_line("mail.smtp.defaultserver", "\"u\"")),
            "second.example");
  const Account account = account_of(prefs_with("imap", none + pref_line("mail.smtpservers", "\"\"")));
  EXPECT_EQ(account.line("SMTP Server"), "");
  EXPECT_THAT(account.lost, IsEmpty());
}

TEST(MailAccounts, TellOfSignatures) {
  const auto lost_with = [](const std::string& more) { return account_of(prefs_with("imap", more)).lost; };
  const std::string of = "mail.identity.i.";
  EXPECT_THAT(lost_with(pref_line(of + "htmlSigText", "\"Ann Lee\"")), ElementsAre("Mine: the signature"));
  EXPECT_THAT(lost_with(pref_line(of + "attach_signature", "true") + pref_line(of + "sig_file", "\"s.txt\"")),
              ElementsAre("Mine: the signature"));
  EXPECT_THAT(lost_with(pref_line(of + "attach_signature", "false") + pref_line(of + "sig_file", "\"s\"")),
              IsEmpty());
  EXPECT_THAT(lost_with(pref_line(of + "htmlSigText", "\"\"") + pref_line(of + "attach_signature", "true")),
              IsEmpty());
}

TEST(AddressBooks, OnServersAreTold) {
  const windows::Disk disk;
  disk.add(profile + "prefs.js", pref_line("ldap_2.servers.work.description", "\"Work\"") +
                                     pref_line("ldap_2.servers.work.uri", "\"ldaps://ldap.example/dc=x\"") +
                                     pref_line("ldap_2.servers.other.uri", "\"ldap://other.example\"") +
                                     pref_line("ldap_2.servers.pab.uri", "\"jsaddrbook://abook.sqlite\""));
  const std::string from = "no-place " + profile.substr(0, profile.size() - 1) + ": ";
  pack::Options options;
  for (const auto& without : {std::set<pack::Kind>{}, {pack::Kind::mail, pack::Kind::accounts}}) {
    options.without = without;
    EXPECT_THAT(pack_disk(disk.path(), options).remarks(),
                ElementsAre(from + "ldap://other.example", from + "Work"));
  }
  options.without = {pack::Kind::contacts};
  EXPECT_THAT(pack_disk(disk.path(), options).remarks(), IsEmpty());
}

TEST(MailAccounts, OfOtherTypesAreTold) {
  const windows::Disk disk;
  std::string prefs = pref_line("mail.accountmanager.accounts", "\"a,b,c,d\"");
  for (const auto& [key, type] : {std::pair("a", "none"), std::pair("b", "nntp"), std::pair("c", "owl")})
    prefs +=
        pref_line(std::string("mail.account.") + key + ".server", quoted(key)) +
        pref_line(std::string("mail.server.") + key + ".type", quoted(type)) +
        pref_line(std::string("mail.server.") + key + ".hostname", quoted(std::string(key) + ".example"));
  disk.add(profile + "prefs.js", prefs);
  const auto result = pack_disk(disk.path());
  const std::string from = "no-place " + profile.substr(0, profile.size() - 1);
  EXPECT_THAT(result.remarks(), ElementsAre(from + ": nntp b.example", from + ": owl c.example"));
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::accounts).left_out, 2U);
}

TEST(MailFolders, ThatWereMovedAreFoundOrTold) {
  const windows::Disk disk;
  const windows::Disk other;
  disk.add(
      profile + "prefs.js",
      pref_line("mail.server.a.directory", R"("E:\\Post\\pop.example")") +
          pref_line("mail.server.a.directory-rel", R"("[ProfD]../../../../../../../E:/Post/pop.example")") +
          pref_line("mail.server.b.directory", R"("F:\\gone")") +
          pref_line("mail.server.c.directory", R"("C:\\Users\\Ann\\Mine")") +
          pref_line("mail.server.d.directory", R"("D:\\Old\\Profiles\\y\\Mail\\pop.d")") +
          pref_line("mail.server.d.directory-rel", R"("[ProfD]Mail/pop.d")") +
          pref_line("mail.server.e.directory", R"("D:\\Old\\Profiles\\y\\Mail\\pop.none")") +
          pref_line("mail.server.e.directory-rel", R"("[ProfD]Mail/pop.none")") +
          pref_line("mail.server.f.directory", R"("D:\\Old\\Profiles\\y\\Mail\\pop.d")") +
          pref_line("mail.server.g.directory", R"("C:\\Users\\Ann\\never")") +
          pref_line("mail.server.h.directory-rel", R"("[ProfD]../../../../Beside/h")") +
          pref_line("mail.server.h.directory", R"("D:\\wrong")") +
          pref_line("mail.server.i.directory", R"("C:\\Users\\Bob\\Mail")") +
          pref_line("mail.server.j.directory-rel", R"("[ProfD]Own/j")") +
          pref_line("mail.server.j.directory", R"("D:\\wrong")"));
  disk.add(profile + "Mail/pop.d/Inbox", message("d"));
  disk.add(profile + "Own/j/Ours", message("j"));
  disk.add("Users/Ann/Mine/Mine", message("c"));
  disk.add("Users/Ann/AppData/Beside/h/Beside", message("h"));
  disk.add("Users/Bob/Mail/Secret", message("bob"));
  other.add("post/POP.example/Far", message("a"));
  pack::Options options;
  options.users = {"Ann"};
  auto result = pack_disk(disk.path(), options);
  EXPECT_THAT(result.files_below("Brindle/Mail/"), UnorderedElementsAre("Inbox", "Mine", "Beside", "Ours"));
  EXPECT_EQ(result.content.at("Brindle/Mail/Inbox"), message("d"));
  EXPECT_THAT(result.remarks(), ElementsAre(R"(elsewhere E:\Post\pop.example)", R"(elsewhere F:\gone)",
                                            R"(elsewhere C:\Users\Bob\Mail)"));
  options.drives['E'] = other.path();
  result = pack_disk(disk.path(), options);
  EXPECT_EQ(result.content.at("Brindle/Mail/Far"), message("a"));
  EXPECT_THAT(result.remarks(), ElementsAre(R"(elsewhere F:\gone)", R"(elsewhere C:\Users\Bob\Mail)"));
}

TEST(MailFolders, OfACopiedHomeAreFoundThere) {
  const windows::Disk disk;
  disk.add("NTUSER.DAT", windows::hive({{"Volatile Environment", {{"USERPROFILE", R"(C:\Users\Ann)"}}}}));
  disk.add("AppData/Roaming/Thunderbird/Profiles/x/prefs.js",
           pref_line("mail.server.a.directory", R"("c:\\users\\ann\\Post")"));
  disk.add("Post/Mine", message("a"));
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(result.content.at("Brindle/Mail/Mine"), message("a"));
  EXPECT_THAT(result.remarks(), IsEmpty());
}

// Below servers of IMAP names are spelt as IMAP sends them.
TEST(MailFolders, OfImapHaveTheNamesThatPeopleSee) {
  const windows::Disk disk;
  const std::string imap = profile + "ImapMail/imap.example/";
  disk.add(profile + "prefs.js", pref_line("mail.server.s.type", "\"imap\"") +
                                     pref_line("mail.server.s.directory", R"("C:\\Users\\Ann\\Moved")") +
                                     pref_line("mail.server.p.type", "\"pop3\"") +
                                     pref_line("mail.server.p.directory", R"("C:\\Users\\Ann\\Pop")"));
  disk.add(imap + "Entw&APw-rfe", message("one"));
  disk.add(imap + "Entw&APw-rfe.msf", "index");
  disk.add(imap + "Entw&APw-rfe.sbd/&ZeVnLIqe-.sbd/A &- B", message("two"));
  disk.add(imap + "Post &2D3eCg-", message("mailbox"));
  disk.add(imap + "R&D-Work", message("three"));
  disk.add(imap + "Q&A", message("four"));
  disk.add(imap + "&AGE-", message("five"));
  disk.add(imap + "Gr\u00fc&APw-e", message("six"));
  disk.add(imap + "&AC8-etc", message("seven"));
  disk.add("Users/Ann/Moved/M&APY-ller", message("eight"));
  disk.add("Users/Ann/Pop/M&APY-ller", message("nine"));
  disk.add(local + "K&APY-ln", message("ten"));
  EXPECT_THAT(pack_disk(disk.path()).files_below("Brindle/Mail/"),
              UnorderedElementsAre("Entw\u00fcrfe", "Entw\u00fcrfe.sbd/\u65e5\u672c\u8a9e",
                                   "Entw\u00fcrfe.sbd/\u65e5\u672c\u8a9e.sbd/A & B", "Post \U0001F60A",
                                   "R&D-Work", "Q&A", "&AGE-", "Gr\u00fc&APw-e", "&AC8-etc", "M\u00f6ller",
                                   "M&APY-ller", "K&APY-ln"))
      << "what is another way to spell a name is that name";
}

TEST(MailFolders, WithTheEndingOfSubfoldersInTheirNamesAreShown) {
  const windows::Disk disk;
  for (const char* name :
       {"my.sbd.mail", "backup.sbd", "x.sbd.old.sbd.y", "Work", "Work.sbd/a.sbd", ".sbd.z"})
    disk.add(local + name, message(name));
  EXPECT_THAT(pack_disk(disk.path()).files_below("Brindle/Mail/"),
              UnorderedElementsAre("my_sbd.mail", "backup_sbd", "x_sbd.old_sbd.y", "Work", "Work.sbd/a_sbd",
                                   "_sbd.z"));
}

TEST(MailFolders, WithNamesOfOtherFilesAreMailAllTheSame) {
  const windows::Disk disk;
  disk.add(local + "x.log", message("log"));
  disk.add(local + "x.html", message("html"));
  disk.add(local + "empty.dat", "");
  disk.add(local + "empty.dat.msf", "index");
  disk.add(local + "odd.json", "Subject: headless\n\nText\n");
  disk.add(local + "odd.json.msf", "index");
  disk.add(local + "index.msf", message("msf"));
  disk.add(local + "filterlog.html", "<html>");
  disk.add(local + "msgFilterRules.dat", "version=\"9\"");
  disk.add(local + "popstate.dat", "");
  disk.add(local + "junk.log", "Date: 1\nno mail");
  disk.add(local + "gone.msf", "index");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Mail/"),
              UnorderedElementsAre("x.log", "x.html", "empty.dat", "odd.json", "index.msf"));
  EXPECT_EQ(result.content.at("Brindle/Mail/x.log"), message("log"));
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(MailFolders, FiltersOfMailAreTold) {
  const windows::Disk disk;
  disk.add(local + "msgFilterRules.dat", "version=\"9\"\nlogging=\"no\"\nname=\"Work\"\nenabled=\"yes\"\n");
  EXPECT_THAT(pack_disk(disk.path()).remarks(), ElementsAre("no-place " + local + "msgFilterRules.dat"));
}

TEST(MailFolders, BesideTheServersAreTaken) {
  const windows::Disk disk;
  disk.add(profile + "Mail/Loose", message("loose"));
  disk.add(profile + "Mail/pop.example/Inbox", message("in"));
  EXPECT_THAT(pack_disk(disk.path()).files_below("Brindle/Mail/"), UnorderedElementsAre("Loose", "Inbox"));
}

TEST(MailFolders, OfNoKnownFormAreTold) {
  const windows::Disk disk;
  disk.add(local + "Inbox", message("one"));
  disk.add(local + "Inbox.mozmsgs/1.wdseml", "copy");
  disk.add(local + "backup/Inbox", message("one"));
  disk.add_folder(local + "nothing");
  disk.add(local + "Broken", std::string(100, '\0'));
  disk.add(local + "Broken.msf", "index");
  disk.add(local + "Late", "rest of a text\nFrom - Tue Mar  1 08:41:12 2005\nSubject: late\n\nText\n\n");
  disk.add(local + "Late.msf", "index");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Mail/"), UnorderedElementsAre("Inbox", "Broken", "Late"));
  EXPECT_EQ(result.content.at("Brindle/Mail/Late"), message("late"));
  EXPECT_THAT(result.remarks(),
              ElementsAre("no-mailbox " + local + "backup", "no-mailbox " + local + "Broken",
                          "no-mailbox " + local + "Late"));
}

TEST(MailFolders, WithAFileAMessageTellWhatIsNone) {
  const windows::Disk disk;
  disk.add(local + "Inbox/new/1", "Subject: one\n\nText\n");
  disk.add(local + "Inbox/new/sub/2", "Subject: two\n");
  disk.add(local + "Inbox/tmp/3", "Subject: half");
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(result.content.at("Brindle/Mail/Inbox"),
            "From - Thu Jan  1 00:00:00 1970\nSubject: one\n\nText\n\n");
  EXPECT_THAT(result.remarks(),
              ElementsAre("no-mailbox " + local + "Inbox/new/sub", "no-mailbox " + local + "Inbox/tmp/3"));
}

TEST(MailFolders, WithAFileAMessageThatCannotBeListedAreTold) {
  const windows::Disk disk;
  disk.add(local + "Inbox/cur/1", "Subject: one\n\nText\n");
  disk.add(local + "Inbox/new/2", "Subject: two\n\nText\n");
  const auto result = pack_disk(pack::Disk(recorded::tree_with(disk.path(), local + "Inbox/cur")));
  EXPECT_THAT(result.content.at("Brindle/Mail/Inbox"), HasSubstr("Subject: two"));
  EXPECT_THAT(result.remarks(), ElementsAre("unreadable " + local + "Inbox/cur"));
}

TEST(MailFolders, ALineOfAnyLengthInAFileAMessageIsKept) {
  const windows::Disk disk;
  const std::string line = std::string(65530, 'x') + "From y" + std::string(200000, 'z');
  disk.add(local + "Inbox/cur/1",
           "Subject: one\n\n" + line + "\n" + std::string(65536, 'a') + "From b\nFrom c\n");
  EXPECT_EQ(pack_disk(disk.path()).content.at("Brindle/Mail/Inbox"),
            "From - Thu Jan  1 00:00:00 1970\nSubject: one\n\n" + line + "\n" + std::string(65536, 'a') +
                "From b\n>From c\n\n");
}

TEST(MailFolders, MessagesOfOneIdThatDifferAreAllPacked) {
  const windows::Disk disk;
  const std::string head = "From - Tue Mar  1 08:41:12 2005\nMessage-ID: <1@a.example>\nSubject: x\n\n";
  disk.add(profile + "Mail/a/Inbox", head + "one\n\n");
  disk.add(profile + "Mail/b/Inbox", head + "two\n\n" + head + "one\n\n");
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(result.content.at("Brindle/Mail/Inbox"), head + "one\n\n" + head + "two\n\n");
  EXPECT_THAT(result.remarks(), ElementsAre("there-already " + profile + "Mail/b/Inbox"));
}

std::vector<std::string> packed_subjects(const std::string& mailbox) {
  write_file("/tmp/mbox", mailbox);
  std::vector<std::string> subjects;
  std::string text = output_of(
      "python3 -c \"import mailbox; [print(m['subject'], len(m.get_payload().split())) for m in "
      "mailbox.mbox('/tmp/mbox')]\"");
  for (std::size_t end = 0; (end = text.find('\n')) != std::string::npos; text.erase(0, end + 1))
    subjects.push_back(text.substr(0, end));
  return subjects;
}

TEST(MailFolders, ATextThatBeginsAsAMessageIsNone) {
  const windows::Disk disk;
  disk.add(local + "Inbox", message("one", "Dear Bob,\nFrom here on\nFrom Monday to Friday\nall is well") +
                                message("two",
                                        "no empty line behind\nFrom ann@a.example Wed Mar  2 10:00:00 2005\n"
                                        "Subject: three\n\nlast"));
  const std::string mailbox = pack_disk(disk.path()).content.at("Brindle/Mail/Inbox");
  EXPECT_THAT(mailbox, HasSubstr("Dear Bob,\n>From here on\n>From Monday to Friday\nall is well\n"));
  EXPECT_THAT(packed_subjects(mailbox), ElementsAre("one 12", "two 4", "three 1"))
      << "what lies between two messages has a date";
}

TEST(MailFolders, WithoutAFirstLineBetweenMessagesHaveTheirFirstMessage) {
  const windows::Disk disk;
  disk.add(local + "Inbox", "\n\r\nX-Mozilla-Status: 0001\nSubject: first\n\nText\n\n" + message("second"));
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(packed_subjects(result.content.at("Brindle/Mail/Inbox")), ElementsAre("first 1", "second 1"));
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::mail).packed, 2U);
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(Mailbox, DeletedMessagesAreKnownInAllForms) {
  const auto is_deleted = [](const std::string& line) {
    return pack::is_deleted("From - 1\n" + line + "\nSubject: x\n\n");
  };
  EXPECT_TRUE(is_deleted("x-mozilla-status: 0008"));
  EXPECT_TRUE(is_deleted("X-Mozilla-Status:\t8"));
  EXPECT_TRUE(is_deleted("X-Mozilla-Status: 000a"));
  EXPECT_TRUE(is_deleted("X-Mozilla-Status: 000B"));
  EXPECT_TRUE(is_deleted("X-Mozilla-Status: 0001\nX-Mozilla-Status2: 00200000"));
  EXPECT_FALSE(is_deleted("X-Mozilla-Status: 0001\nX-Mozilla-Status2: 00800000"));
  EXPECT_FALSE(is_deleted("X-Mozilla-Status: 2000"));
  EXPECT_FALSE(is_deleted("X-Mozilla-Status: none"));
  EXPECT_FALSE(is_deleted("X-Mozilla-Status2: 00000008"));
  EXPECT_FALSE(is_deleted("X-Mozilla-Status: 0001\nX-Mozilla-Status: 0008"))
      << "its own line is the first one";
}

}  // namespace
