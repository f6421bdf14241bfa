#include "process/mail/account.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "support/files.h"

namespace {

MailAccount account(const std::string& settings, Fallbacks fallbacks = Fallbacks::none,
                    const std::string& language = "en_US") {
  write_file("/tmp/account", settings);
  const auto read = read_account("/tmp/account", fallbacks, language);
  EXPECT_TRUE(read);
  return read.value_or(MailAccount{});
}

TEST(Account, EveryKeyOfAPop3AccountIsRead) {
  const MailAccount read = account(
      "Account Name=Work\n"
      "SMTP Display Name=Ann Lee\n"
      "SMTP Email Address=ann@example.org\n"
      "SMTP Reply To Email Address=reply@example.org\n"
      "SMTP Organization Name=Example Ltd\n"
      "POP3 Server=pop.example.org\n"
      "POP3 Prompt for Password=1\n"
      "POP3 User Name=ann\n"
      "POP3 Port=995\n"
      "POP3 Secure Connection=1\n"
      "Leave Mail On Server=1\n"
      "SMTP Use Sicily=2\n"
      "SMTP Prompt for Password=1\n"
      "SMTP Server=smtp.example.org\n"
      "SMTP Secure Connection=1\n");
  EXPECT_EQ("Work", read.name);
  EXPECT_EQ("Ann Lee", read.display_name);
  EXPECT_EQ("ann@example.org", read.address);
  EXPECT_EQ("reply@example.org", read.reply_to);
  EXPECT_EQ("Example Ltd", read.organization);
  EXPECT_FALSE(read.imap);
  EXPECT_EQ("pop.example.org", read.host);
  EXPECT_TRUE(read.prompt);
  EXPECT_EQ("ann", read.user);
  EXPECT_EQ("995", read.port);
  EXPECT_TRUE(read.secure);
  EXPECT_TRUE(read.keep_on_server);
  EXPECT_TRUE(read.smtp_auth);
  EXPECT_TRUE(read.smtp_prompt);
  EXPECT_EQ("smtp.example.org", read.smtp_host);
  EXPECT_TRUE(read.smtp_secure);
}

// The flags of an account that are set, by their first letters: prompt, secure, keep, auth, outgoing prompt
// and secure.
std::string flags_set(const std::string& settings) {
  const MailAccount read = account(settings);
  std::string set;
  if (read.prompt) set += "p";
  if (read.secure) set += "s";
  if (read.keep_on_server) set += "k";
  if (read.smtp_auth) set += "A";
  if (read.smtp_prompt) set += "P";
  if (read.smtp_secure) set += "S";
  return set;
}

TEST(Account, EachFlagIsItsOwnKeysAlone) {
  struct Flag {
    std::string line, of_pop3, of_imap;
  };
  const std::vector<Flag> flags = {{"", "", ""},
                                   {"POP3 Prompt for Password=1\n", "p", ""},
                                   {"IMAP Prompt for Password=1\n", "", "p"},
                                   {"POP3 Secure Connection=1\n", "s", ""},
                                   {"IMAP Secure Connection=1\n", "", "s"},
                                   {"POP3 Use SSL=1\n", "s", ""},
                                   {"IMAP Use SSL=1\n", "", "s"},
                                   {"Leave Mail On Server=1\n", "k", "k"},
                                   {"Leave on Server=1\n", "k", "k"},
                                   {"SMTP Use Auth=1\n", "A", "A"},
                                   {"SMTP Use Sicily=2\n", "A", "A"},
                                   {"SMTP Prompt for Password=1\n", "P", "P"},
                                   {"SMTP Secure Connection=1\n", "S", "S"}};
  for (const Flag& flag : flags) {
    EXPECT_EQ(flag.of_pop3, flags_set("POP3 Server=p\n" + flag.line)) << flag.line;
    EXPECT_EQ(flag.of_imap, flags_set("IMAP Server=i\n" + flag.line)) << flag.line;
  }
}

TEST(Account, AnImapAccountReadsTheImapTwins) {
  const MailAccount read = account(
      "IMAP Server=imap.example.org\n"
      "IMAP Prompt for Password=1\n"
      "IMAP User Name=ann\n"
      "IMAP Port=993\n"
      "IMAP Secure Connection=1\n"
      "POP3 User Name=other\n"
      "POP3 Port=995\n");
  EXPECT_TRUE(read.imap);
  EXPECT_EQ("imap.example.org", read.host);
  EXPECT_TRUE(read.prompt);
  EXPECT_EQ("ann", read.user);
  EXPECT_EQ("993", read.port);
  EXPECT_TRUE(read.secure);
}

TEST(Account, APop3AccountIgnoresTheImapTwins) {
  const MailAccount read = account(
      "IMAP Server=imap.example.org\nIMAP User Name=imap\nIMAP Port=993\nIMAP Secure Connection=1\n"
      "IMAP Prompt for Password=1\nPOP3 Server=pop.example.org\nPOP3 User Name=pop\n");
  EXPECT_FALSE(read.imap);
  EXPECT_EQ("pop.example.org", read.host);
  EXPECT_EQ("pop", read.user);
  EXPECT_EQ("110", read.port);
  EXPECT_FALSE(read.secure);
  EXPECT_FALSE(read.prompt);
}

TEST(Account, AnEmptyPop3ServerStillMakesAPop3Account) {
  const MailAccount read = account("POP3 Server=\nIMAP Server=imap.example.org\n");
  EXPECT_FALSE(read.imap);
  EXPECT_EQ("", read.host);
}

TEST(Account, AnEmptyFileIsAnImapAccountOfEmptyTexts) {
  const MailAccount read = account("", Fallbacks::second);
  EXPECT_TRUE(read.imap);
  EXPECT_EQ("", read.name + read.display_name + read.address + read.reply_to + read.organization);
  EXPECT_EQ("", read.host + read.user + read.smtp_host);
  EXPECT_EQ("110", read.port);
  EXPECT_FALSE(read.prompt || read.secure || read.keep_on_server);
  EXPECT_FALSE(read.smtp_auth || read.smtp_prompt || read.smtp_secure);
}

TEST(Account, TheDisplayNameComesFromEitherKey) {
  EXPECT_EQ("Ann Lee", account("SMTP Display Name=Ann Lee\n").display_name);
  EXPECT_EQ("Ann Lee", account("Display Name=Ann Lee\n").display_name);
  EXPECT_EQ("Ann Lee", account("Display Name=Bob\nSMTP Display Name=Ann Lee\n").display_name);
}

TEST(Account, AnEmptyPrimaryKeyIsNotAMissingOne) {
  const MailAccount read = account(
      "Display Name=Bob\nSMTP Display Name=\nEmail=bob@example.org\nSMTP Email Address=\n"
      "POP3 Server=h\nPOP3 User=bob\nPOP3 User Name=\n");
  EXPECT_EQ("", read.display_name);
  EXPECT_EQ("", read.address);
  EXPECT_EQ("", read.user);
}

TEST(Account, AddressAndLoginHaveFallbacks) {
  EXPECT_EQ("ann@example.org", account("Email=ann@example.org\n").address);
  EXPECT_EQ("ann", account("POP3 Server=h\nPOP3 User=ann\n").user);
  EXPECT_EQ("ann", account("IMAP Server=h\nIMAP User=ann\n").user);
  EXPECT_EQ("name", account("POP3 Server=h\nPOP3 User=short\nPOP3 User Name=name\n").user);
}

TEST(Account, ReplyAddressAndOrganisationHaveFallbacksForTwoWritersOnly) {
  const char* settings = "Reply Email=reply@example.org\nOrganization=Example\n";
  EXPECT_EQ("", account(settings, Fallbacks::none).reply_to);
  EXPECT_EQ("", account(settings, Fallbacks::none).organization);
  EXPECT_EQ("reply@example.org", account(settings, Fallbacks::second).reply_to);
  EXPECT_EQ("Example", account(settings, Fallbacks::second).organization);
}

TEST(Account, ThePrimaryReplyAddressAndOrganisationWin) {
  const char* settings =
      "Reply Email=r2\nOrganization=o2\nSMTP Reply To Email Address=r1\nSMTP Organization Name=o1\n";
  EXPECT_EQ("r1", account(settings, Fallbacks::second).reply_to);
  EXPECT_EQ("o1", account(settings, Fallbacks::second).organization);
}

TEST(Account, TheSecureFlagHasAFallbackForAMissingKeyOnly) {
  EXPECT_TRUE(account("POP3 Server=h\nPOP3 Use SSL=1\n").secure);
  EXPECT_TRUE(account("IMAP Server=h\nIMAP Use SSL=1\n").secure);
  EXPECT_FALSE(account("POP3 Server=h\nPOP3 Secure Connection=0\nPOP3 Use SSL=1\n").secure);
  EXPECT_FALSE(account("POP3 Server=h\nPOP3 Secure Connection=\nPOP3 Use SSL=1\n").secure);
  EXPECT_TRUE(account("POP3 Server=h\nPOP3 Secure Connection=1\nPOP3 Use SSL=0\n").secure);
}

TEST(Account, EitherLeaveKeyKeepsMailOnTheServer) {
  EXPECT_TRUE(account("Leave Mail On Server=0\nLeave on Server=1\n").keep_on_server);
  EXPECT_TRUE(account("Leave Mail On Server=1\nLeave on Server=0\n").keep_on_server);
  EXPECT_FALSE(account("Leave Mail On Server=0\nLeave on Server=0\n").keep_on_server);
  EXPECT_TRUE(account("POP3 Server=h\nLeave on Server=1\n").keep_on_server);
  EXPECT_TRUE(account("IMAP Server=h\nLeave on Server=1\n").keep_on_server);
}

TEST(Account, SicilyAloneSaysYesWithTwo) {
  EXPECT_FALSE(account("SMTP Use Sicily=1\n").smtp_auth);
  EXPECT_TRUE(account("SMTP Use Sicily=2\n").smtp_auth);
  EXPECT_TRUE(account("SMTP Use Auth=1\n").smtp_auth);
  EXPECT_FALSE(account("SMTP Use Auth=2\n").smtp_auth);
  EXPECT_TRUE(account("SMTP Use Sicily=0\nSMTP Use Auth=1\n").smtp_auth);
  EXPECT_TRUE(account("SMTP Use Sicily=2\nSMTP Use Auth=0\n").smtp_auth);
}

TEST(Account, OnlyTheDigitOneMeansYes) {
  for (const char* value : {"", "0", "2", "y", "true"}) {
    const std::string end = std::string("=") + value + "\n";
    const MailAccount read = account(
        "POP3 Server=h\nPOP3 Prompt for Password" + end + "POP3 Secure Connection" + end + "Leave on Server" +
        end + "SMTP Use Auth" + end + "SMTP Prompt for Password" + end + "SMTP Secure Connection" + end);
    EXPECT_FALSE(read.prompt || read.secure || read.keep_on_server || read.smtp_auth || read.smtp_prompt ||
                 read.smtp_secure)
        << value;
  }
}

TEST(Account, AnEmptyPortIsTheDefaultPort) {
  EXPECT_EQ("110", account("POP3 Server=h\nPOP3 Port=\n").port);
  EXPECT_EQ("110", account("IMAP Server=h\nIMAP Port=\n").port);
}

// Each text has a letter that is no UTF-8; in CP1251 the byte is the Russian one.
TEST(Account, TextsThatAreNoUtf8AreReadInTheCodePageOfTheLanguage) {
  const std::string settings =
      "Account Name=a\xe9\nSMTP Display Name=b\xe9\nSMTP Email Address=c\xe9\nSMTP Reply To Email "
      "Address=d\xe9\n"
      "SMTP Organization Name=e\xe9\nPOP3 Server=f\xe9\nPOP3 User Name=g\xe9\nPOP3 Port=h\xe9\nSMTP "
      "Server=i\xe9\n";
  const auto texts = [&](const std::string& language) {
    const MailAccount read = account(settings, Fallbacks::none, language);
    return read.name + read.display_name + read.address + read.reply_to + read.organization + read.host +
           read.user + read.port + read.smtp_host;
  };
  EXPECT_EQ("a\u00e9b\u00e9c\u00e9d\u00e9e\u00e9f\u00e9g\u00e9h\u00e9i\u00e9", texts("de_DE"));
  EXPECT_EQ("a\u0439b\u0439c\u0439d\u0439e\u0439f\u0439g\u0439h\u0439i\u0439", texts("ru_RU"));
  EXPECT_EQ("f\u0439", account("IMAP Server=f\xe9\n", Fallbacks::none, "ru_RU").host);
}

TEST(Account, FallbackTextsAreConvertedToo) {
  const MailAccount read = account("Display Name=\xd5\xcb\nReply Email=\xba\xc5\nIMAP User=\xd5\xcb\n",
                                   Fallbacks::second, "zh_CN");
  EXPECT_EQ("\u8d26", read.display_name);
  EXPECT_EQ("\u53f7", read.reply_to);
  EXPECT_EQ("\u8d26", read.user);
}

TEST(Account, Utf8IsTakenAsItIs) {
  EXPECT_EQ("M\u00fcller", account("Account Name=M\u00fcller\n", Fallbacks::none, "zh_CN").name);
}

TEST(Account, AFileThatCannotBeReadIsNamed) {
  testing::internal::CaptureStderr();
  EXPECT_FALSE(read_account("/tmp/nowhere", Fallbacks::none, ""));
  EXPECT_FALSE(read_account("/usr", Fallbacks::none, ""));
  EXPECT_EQ("/tmp/nowhere: No such file or directory\n/usr: Is a directory\n",
            testing::internal::GetCapturedStderr());
}

TEST(Account, AMissingFileIsNoAccount) {
  EXPECT_FALSE(read_account("/tmp/nowhere", Fallbacks::none, ""));
  EXPECT_EQ(ENOENT, errno);
}

TEST(Account, AFolderIsNoAccount) {
  EXPECT_FALSE(read_account("/usr", Fallbacks::none, ""));
  EXPECT_EQ(EISDIR, errno);
}

}  // namespace
