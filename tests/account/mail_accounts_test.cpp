// Mail accounts, by the values that the mail program reads.
#include <gtest/gtest.h>

#include "account/scene.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using namespace account;
using Names = std::vector<std::string>;

const std::string folder = "ImapMail/brindle-email-accounts/";

// ---- Two accounts, as the archive has them --------------------------------------------------------------

const std::string work_file =
    "Account Name=Work\r\nSMTP Display Name=Ann Lee\r\nSMTP Email Address=ann@work.example\r\n"
    "SMTP Reply To Email Address=office@work.example\r\nSMTP Organization Name=Lee & Co\r\n"
    "POP3 Server=pop.work.example\r\nPOP3 User Name=ann\r\nPOP3 Port=995\r\nPOP3 Secure Connection=1\r\n"
    "Leave Mail On Server=1\r\nSMTP Server=smtp.work.example\r\nSMTP Use Sicily=2\r\n"
    "SMTP Secure Connection=1\r\n";

const std::string home_file =
    "Account Name=Home\nDisplay Name=Ann\nEmail=ann@home.example\nReply Email=lee@home.example\n"
    "Organization=Family\nIMAP Server=imap.home.example\nIMAP User=ann.lee\nIMAP Use SSL=0\n"
    "SMTP Server=smtp.home.example\nSMTP Use Auth=0\n";

std::string replaced(std::string text, const std::string& what, const std::string& with) {
  const std::size_t place = text.find(what);
  if (place == std::string::npos) ADD_FAILURE() << what << " is not in " << text;
  return text.replace(place, what.size(), with);
}

const std::string plain_work_file = replaced(work_file, "Lee & Co", "Lee and Co");

Scene scene_of(System system) {
  return {system, {{folder + "1.txt", plain_work_file}, {folder + "2.txt", home_file}}};
}

// ---- The same in Evolution ------------------------------------------------------------------------------

const std::string work_account =
    R"(<?xml version="1.0"?>
<account name="Work" uid="1.170.0@pc" enabled="true"><identity><name>Ann Lee</name><addr-spec>ann@work.example</addr-spec><reply-to>office@work.example</reply-to><organization>Lee and Co</organization><signature uid=""/></identity><source save-passwd="true" keep-on-server="true" auto-check="false" auto-check-timeout="0"><url>pop://ann@pop.work.example/;keep_on_server;use_lsub;check_all;use_ssl=always</url></source><transport save-passwd="true"><url>smtp://ann;auth=PLAIN@smtp.work.example/;use_ssl=always</url></transport></account>)";

const std::string home_account =
    R"(<?xml version="1.0"?>
<account name="Home" uid="1.170.1@pc" enabled="true"><identity><name>Ann</name><addr-spec>ann@home.example</addr-spec><reply-to></reply-to><organization></organization><signature uid=""/></identity><source save-passwd="true" keep-on-server="false" auto-check="false" auto-check-timeout="0"><url>imap://ann.lee@imap.home.example/;use_lsub;check_all</url></source><transport save-passwd="true"><url>smtp://ann.lee@smtp.home.example/</url></transport></account>)";

std::string escaped(const std::string& text, bool ampersands = true) {
  std::string result;
  for (const char byte : text) {
    if (byte == '<') {
      result += "&lt;";
    } else if (byte == '&' && ampersands) {
      result += "&amp;";
    } else {
      result += byte;
    }
  }
  return result;
}

constexpr const char* gconf_file = "/home/ann/.gconf/apps/evolution/mail/%gconf.xml";

// As GConf itself writes it, or, with bare ampersands, as it is written into the home of a profile.
void write_gconf(const std::vector<std::string>& accounts, bool ampersands = true) {
  std::string list;
  for (const std::string& account : accounts)
    list += "<li type=\"string\">\n<stringvalue>" + escaped(account, ampersands) + "</stringvalue>\n</li>\n";
  for (const char* const parent : {"", "/apps", "/apps/evolution"})
    write_file(std::string("/home/ann/.gconf") + parent + "/%gconf.xml", "");
  write_file(gconf_file,
             "<?xml version=\"1.0\"?>\n<gconf>\n<entry name=\"accounts\" mtime=\"1\" type=\"list\" "
             "ltype=\"string\">\n" +
                 list + "</entry>\n</gconf>\n");
}

TEST(EvolutionAccounts, arrive_with_and_without_what_has_no_place) {
  for (const System system : {System::gnome, System::nld}) {
    const Scene scene = scene_of(system);
    write_gconf({work_account, home_account});
    EXPECT_EQ("2 1 1 0 0", numbers(scene.look(Kind::mail_accounts)));  // the second file's reply address
  }
}

TEST(EvolutionAccounts, each_value_counts) {
  const struct {
    const char *from, *to, *what;
  } changes[] = {
      {"\"Work\"", "\"Werk\"", "its name"},
      {"Ann Lee", "Ann", "the sender's name"},
      {">ann@work", ">an@work", "its address"},
      {"office@", "", "its reply address"},
      {"Lee and Co", "Lee", "its organization"},
      {"pop://", "imap://", "its kind"},
      {"@pop.", "@mail.", "its incoming server"},
      {"pop://ann@", "pop://anne@", "its login"},
      {";check_all;use_ssl=always", ";check_all", "its secure connection"},
      {"keep-on-server=\"true\"", "keep-on-server=\"false\"", "keeping mail on the server"},
      {"@smtp.", "@mail.", "its outgoing server"},
      {"smtp://ann;", "smtp://anne;", "its outgoing login"},
      {";auth=PLAIN", "", "its outgoing authentication"},
      {"/;use_ssl=always</url></transport", "/</url></transport", "its secure outgoing connection"}};
  for (const auto& change : changes) {
    const Scene scene = scene_of(System::gnome);
    write_gconf({replaced(work_account, change.from, change.to), home_account});
    EXPECT_EQ((Names{"Work (ann@work.example): The mail program has something else for " +
                     std::string(change.what) + "."}),
              missing_names(scene.look(Kind::mail_accounts)));
  }
}

TEST(EvolutionAccounts, one_that_is_gone_is_named) {
  const Scene scene = scene_of(System::gnome);
  write_gconf({work_account});
  EXPECT_EQ((Names{"Home (ann@home.example): It is not there."}),
            missing_names(scene.look(Kind::mail_accounts)));
  write_gconf({});
  EXPECT_EQ("2 0 0 0 2", numbers(scene.look(Kind::mail_accounts)));
}

TEST(EvolutionAccounts, no_settings_are_the_cause) {
  const Scene scene = scene_of(System::gnome);
  EXPECT_EQ((Names{"Home (ann@home.example): Its place " + std::string(gconf_file) + " is not there.",
                   "Work (ann@work.example): Its place " + std::string(gconf_file) + " is not there."}),
            missing_names(scene.look(Kind::mail_accounts)));
}

TEST(EvolutionAccounts, two_that_are_alike_need_two) {
  const Scene scene(System::gnome, {{folder + "1", plain_work_file}, {folder + "2", plain_work_file}});
  write_gconf({work_account});
  EXPECT_EQ("2 1 0 0 1", numbers(scene.look(Kind::mail_accounts)));
  write_gconf({work_account, work_account});
  EXPECT_EQ("2 2 0 0 0", numbers(scene.look(Kind::mail_accounts)));
}

// The order that was seen with evolution-source-registry: what stands before the fault is read.
TEST(EvolutionAccounts, one_bare_character_stops_the_list_behind_it) {
  const Scene scene(System::gnome,
                    {{folder + "1", plain_work_file}, {folder + "2", work_file}, {folder + "3", home_file}});
  write_gconf({work_account, replaced(work_account, "Lee and Co", "Lee & Co"), home_account});
  EXPECT_EQ(
      (Names{
          "Home (ann@home.example): Evolution reads its accounts only up to one that it cannot read, Work.",
          "Work (ann@work.example): Evolution cannot read the account: bare `&` in its organization."}),
      missing_names(scene.look(Kind::mail_accounts)));
  EXPECT_EQ("3 1 0 0 2", numbers(scene.look(Kind::mail_accounts)));
}

TEST(EvolutionAccounts, each_bare_character_is_named) {
  const struct {
    const char *from, *to, *what;
  } values[] = {{"Ann Lee", "Ann <Lee", "`<` in the sender's name"},
                {"Ann Lee", "<b>Ann</b>", "`<` in the sender's name"},
                {"Work", "the \"Work\"", "`\"` in its name"},
                {"smtp.work", "smtp&work", "`&` in its outgoing server"},
                {"Lee and Co", "&lee; & Co", "`&` in its organization"}};
  for (const auto& bare : values) {
    const Scene scene(System::gnome, {{folder + "1", replaced(plain_work_file, bare.from, bare.to)}});
    write_gconf({replaced(work_account, bare.from, bare.to)});
    const Tally tally = scene.look(Kind::mail_accounts);
    ASSERT_EQ("1 0 0 0 1", numbers(tally));
    EXPECT_EQ(std::string("Evolution cannot read the account: bare ") + bare.what + ".",
              Texts()(tally.missing().front().cause, tally.missing().front().detail));
    EXPECT_EQ(Cause::evolution_refuses, tally.missing().front().cause);
  }
}

TEST(EvolutionAccounts, quotes_do_no_harm_beside_the_name) {
  const Scene scene(System::gnome,
                    {{folder + "1", replaced(plain_work_file, "Lee and Co", "\"Lee\" > 'Co'")}});
  write_gconf({replaced(work_account, "Lee and Co", "\"Lee\" > 'Co'")});
  EXPECT_EQ("1 1 0 0 0", numbers(scene.look(Kind::mail_accounts)));
}

TEST(EvolutionAccounts, an_ampersand_breaks_the_file_of_a_profile) {
  const Scene scene(System::gnome, {{folder + "1", home_file}, {folder + "2", work_file}});
  write_gconf({home_account, replaced(work_account, "Lee and Co", "Lee & Co")}, false);
  EXPECT_EQ(
      (Names{"Home (ann@home.example): Evolution reads its accounts only up to one that it cannot read, Work "
             "(ann@work.example).",
             "Work (ann@work.example): Evolution cannot read the account: bare `&` in its organization."}),
      missing_names(scene.look(Kind::mail_accounts)));
}

TEST(EvolutionAccounts, a_broken_file_of_good_accounts_is_the_cause) {
  const Scene scene = scene_of(System::gnome);
  write_gconf({work_account, home_account});
  shell_quietly("truncate -s -200 " + std::string(gconf_file));
  EXPECT_EQ((Names{"Home (ann@home.example): Its place " + std::string(gconf_file) + " cannot be read.",
                   "Work (ann@work.example): Its place " + std::string(gconf_file) + " cannot be read."}),
            missing_names(scene.look(Kind::mail_accounts)));
}

// Seen with evolution-source-registry: the first "@" ends the login, and codes are characters.
TEST(EvolutionAccounts, logins_that_evolution_reads_otherwise_are_named) {
  for (const auto& [login, cause] : std::vector<std::pair<std::string, std::string>>{
           {"ann@work.example", "Evolution takes a part of its login for the server: the login holds `@`."},
           {"ann:lee", "The mail program has something else for its login."},
           {"ann/lee", "Evolution takes a part of its login for the server: the login holds `/`."},
           {"an%6e", "The mail program has something else for its login."}}) {
    const Scene scene(System::gnome,
                      {{folder + "1", replaced(plain_work_file, "User Name=ann", "User Name=" + login)}});
    write_gconf({replaced(replaced(work_account, "pop://ann@", "pop://" + login + "@"), "smtp://ann;",
                          "smtp://" + login + ";")});
    EXPECT_EQ("1 0 0 0 1", numbers(scene.look(Kind::mail_accounts))) << login;
    EXPECT_EQ((Names{"Work (ann@work.example): " + cause}), missing_names(scene.look(Kind::mail_accounts)));
  }
  for (const char* const login : {"ann lee", "100%", "W\\ann", "a;b", "%zz"}) {
    const Scene scene(
        System::gnome,
        {{folder + "1", replaced(plain_work_file, "User Name=ann", std::string("User Name=") + login)}});
    write_gconf({replaced(replaced(work_account, "pop://ann@", std::string("pop://") + login + "@"),
                          "smtp://ann;auth=PLAIN@", std::string("smtp://") + login + "@")});
    const Tally tally = scene.look(Kind::mail_accounts);
    ASSERT_EQ("1 0 0 0 1", numbers(tally)) << login;
    EXPECT_EQ("The mail program has something else for its outgoing authentication.",
              Texts()(tally.missing().front().cause, tally.missing().front().detail))
        << login;
  }
}

TEST(EvolutionAccounts, another_difference_is_not_laid_to_the_login) {
  const Scene scene(
      System::gnome,
      {{folder + "1", replaced(plain_work_file, "User Name=ann", "User Name=ann@work.example")}});
  write_gconf(
      {replaced(replaced(work_account, "pop://ann@", "pop://ann@work.example@"), ">Ann Lee<", ">Ann<")});
  EXPECT_EQ((Names{"Work (ann@work.example): The mail program has something else for the sender's name."}),
            missing_names(scene.look(Kind::mail_accounts)));
}

TEST(EvolutionAccounts, a_port_of_its_own_has_no_place) {
  const struct {
    const char *port, *counts;
  } ports[] = {{"POP3 Port=995", "1 1 0 0 0"}, {"POP3 Port=", "1 1 0 0 0"}, {"POP3 Port=110", "1 0 1 0 0"}};
  for (const auto& given : ports) {
    const Scene scene(System::gnome,
                      {{folder + "1", replaced(plain_work_file, "POP3 Port=995", given.port)}});
    write_gconf({work_account});
    EXPECT_EQ(given.counts, numbers(scene.look(Kind::mail_accounts))) << given.port;
  }
}

TEST(EvolutionAccounts, texts_of_windows_may_have_become_utf8) {
  const Scene scene(System::gnome, {{folder + "1", replaced(plain_work_file, "Lee and Co",
                                                            "L\xe9"
                                                            "e")}});
  write_gconf({replaced(work_account, "Lee and Co",
                        "L\xc3\xa9"
                        "e")});
  EXPECT_EQ("1 1 0 0 0", numbers(scene.look(Kind::mail_accounts)));
  write_gconf({replaced(work_account, "Lee and Co",
                        "L\xc3\xa8"
                        "e")});
  EXPECT_EQ("1 0 0 0 1", numbers(scene.look(Kind::mail_accounts)));
}

// ---- KMail ----------------------------------------------------------------------------------------------

const std::string work_section =
    "\n\n[Account 1]\nFolder=inbox\nId=4711\nName=Work\nType=pop\nauth=USER\nhost=pop.work.example\n"
    "leave-on-server=true\nlogin=ann\npasswd=\nport=995\nuse-ssl=true\nuse-tls=false\n\n[Transport "
    "1]\nauth=false\n"
    "encryption=SSL\nhost=smtp.work.example\nname=Ann Lee\nport=25\ntype=smtp\nuser=\n\n";

const std::string home_section =
    "\n\n[Account 2]\nFolder=\nId=4712\nName=Home\nType=imap\nauth=*\nhost=imap.home.example\n"
    "leave-on-server=false\nlogin=ann.lee\npasswd=\nport=110\nuse-ssl=false\nuse-tls=false\n\n[Transport 2]\n"
    "auth=false\nencryption=NONE\nhost=smtp.home.example\nname=Ann\nport=25\ntype=smtp\nuser=\n\n";

const std::string kmail_end = "\n\n[General]\naccounts=2\ntransports=2\n\n\n[Reader]\nhtmlMail=true\n";

void write_kmailrc(const std::string& text) { write_file("/home/ann/.kde/share/config/kmailrc", text); }

// Addresses have no place in KMail's accounts.
TEST(KMailAccounts, arrive_without_their_addresses) {
  for (const System system : {System::xandros, System::redflag, System::redflag_plus}) {
    const Scene scene = scene_of(system);
    write_kmailrc(work_section + home_section + kmail_end);
    EXPECT_EQ("2 0 2 0 0", numbers(scene.look(Kind::mail_accounts)));
  }
}

TEST(KMailAccounts, one_without_anything_else_arrives_unchanged) {
  const Scene scene(System::xandros,
                    {{folder + "1",
                      "Account Name=Work\nDisplay Name=Ann Lee\nPOP3 Server=pop.work.example\nPOP3 User=ann\n"
                      "POP3 Port=995\nPOP3 Use SSL=1\nLeave on Server=1\nSMTP Server=smtp.work.example\nSMTP "
                      "Secure Connection=1\n"}});
  write_kmailrc(work_section + kmail_end);
  EXPECT_EQ("1 1 0 0 0", numbers(scene.look(Kind::mail_accounts)));
}

TEST(KMailAccounts, each_value_counts) {
  const struct {
    const char *from, *to, *what;
  } changes[] = {{"Name=Work", "Name=Werk", "its name"},
                 {"Type=pop", "Type=imap", "its kind"},
                 {"host=pop", "host=mail", "its incoming server"},
                 {"login=ann", "login=anne", "its login"},
                 {"port=995", "port=110", "its port"},
                 {"use-ssl=true", "use-ssl=false", "its secure connection"},
                 {"server=true", "server=false", "keeping mail on the server"},
                 {"name=Ann Lee", "name=Ann", "the sender's name"},
                 {"host=smtp", "host=mail", "its outgoing server"},
                 {"encryption=SSL", "encryption=NONE", "its secure outgoing connection"}};
  for (const auto& change : changes) {
    const Scene scene = scene_of(System::redflag);
    write_kmailrc(replaced(work_section, change.from, change.to) + home_section + kmail_end);
    EXPECT_EQ((Names{"Work (ann@work.example): The mail program has something else for " +
                     std::string(change.what) + "."}),
              missing_names(scene.look(Kind::mail_accounts)));
  }
}

TEST(KMailAccounts, are_as_many_as_the_file_says) {
  const Scene scene = scene_of(System::xandros);
  write_kmailrc(work_section + home_section + replaced(kmail_end, "accounts=2", "accounts=1"));
  EXPECT_EQ((Names{"Home (ann@home.example): It is not there."}),
            missing_names(scene.look(Kind::mail_accounts)));
  write_kmailrc(work_section + home_section + replaced(kmail_end, "transports=2", "transports=1"));
  EXPECT_EQ((Names{"Home (ann@home.example): The mail program has something else for the sender's name."}),
            missing_names(scene.look(Kind::mail_accounts)));
  write_kmailrc(work_section + home_section);
  EXPECT_EQ("2 0 0 0 2", numbers(scene.look(Kind::mail_accounts)));
}

TEST(KMailAccounts, the_last_of_two_sections_holds) {
  const Scene scene = scene_of(System::xandros);
  write_kmailrc("[General]\naccounts=7\n# comment=1\nno value\n" + work_section + home_section +
                "[Account 1]\nlogin=other\n" + "[Account 1]\nlogin=ann\n" + kmail_end);
  EXPECT_EQ("2 0 2 0 0", numbers(scene.look(Kind::mail_accounts)));
}

TEST(KMailAccounts, blanks_and_backslashes_are_kdes) {
  const Scene scene(System::xandros,
                    {{folder + "1", replaced(replaced(plain_work_file, "Name=Work", "Name= Work "),
                                             "User Name=ann", "User Name=W\\ann")}});
  write_kmailrc(replaced(replaced(work_section, "Name=Work", "Name= Work "), "login=ann", "login=W\\ann") +
                kmail_end);
  EXPECT_EQ("1 0 1 0 0", numbers(scene.look(Kind::mail_accounts)));
  const Scene other(System::xandros,
                    {{folder + "1", replaced(plain_work_file, "User Name=ann", "User Name=W\\sam")}});
  write_kmailrc(replaced(work_section, "login=ann", "login=W\\sam") + kmail_end);  // KDE reads "W am"
  EXPECT_EQ((Names{"Work (ann@work.example): The mail program has something else for its login."}),
            missing_names(other.look(Kind::mail_accounts)));
}

// "\xb9\xa4\xd7\xf7" is "\u5de5\u4f5c" in GB2312; a Latin letter with an accent is nothing there and goes.
TEST(KMailAccounts, are_read_as_chinese) {
  const Scene scene(System::redflag,
                    {{folder + "1", replaced(plain_work_file, "Name=Work", "Name=\xb9\xa4\xd7\xf7")}});
  write_kmailrc(replaced(work_section, "Name=Work", "Name=\u5de5\u4f5c") + kmail_end);
  EXPECT_EQ("1 0 1 0 0", numbers(scene.look(Kind::mail_accounts)));
  for (const std::string name : {"Caf\xe9", "\u5de5\u4f5c", "\xe9\xe9 \xff a\xfe"}) {
    const std::string file = replaced(plain_work_file, "Name=Work", "Name=" + name);
    const Scene other(System::redflag, {{folder + "1", file}});
    write_file("/tmp/account.txt", "Name=" + name + "\n");
    write_kmailrc(
        replaced(work_section, "Name=Work\n", output_of("iconv -c -f GB2312 -t utf-8 /tmp/account.txt")) +
        kmail_end);
    EXPECT_EQ("1 0 0 0 1", numbers(other.look(Kind::mail_accounts))) << name;
  }
}

// Without an address nothing else changes.
TEST(KMailAccounts, letters_that_are_no_chinese_are_named) {
  const std::string named =
      ": Its letters are not in the character set GB2312, which this desktop takes them for.";
  const struct {
    const char *name, *there, *counts;
    Names missing;
  } names[] = {{"\xb9\xa4", "\u5de5", "1 1 0 0 0", {}},
               {"Caf\xe9", "Caf", "1 0 0 0 1", {"Caf\u00e9" + named}},
               {"Caf\xe9", "Caf\u00e9", "1 1 0 0 0", {}},  // corrected by hand
               {"M\u00fcller", "M\u7709ller", "1 0 0 0 1", {"M\u00fcller" + named}},
               {"Caf", "Caf", "1 1 0 0 0", {}}};
  for (const auto& given : names) {
    const std::string file =
        std::string("Account Name=") + given.name +
        "\nDisplay Name=Ann Lee\nPOP3 Server=pop.work.example\nPOP3 User=ann\nPOP3 Port=995\n"
        "POP3 Use SSL=1\nLeave on Server=1\nSMTP Server=smtp.work.example\n"
        "SMTP Secure Connection=1\n";
    const Scene scene(System::redflag, {{folder + "1", file}});
    write_kmailrc(replaced(work_section, "Name=Work", std::string("Name=") + given.there) + kmail_end);
    EXPECT_EQ(given.counts, numbers(scene.look(Kind::mail_accounts))) << given.there;
    EXPECT_EQ(given.missing, missing_names(scene.look(Kind::mail_accounts)));
  }
}

// KMail's accounts have no place for an organization.
TEST(KMailAccounts, letters_without_a_place_are_not_mistaken) {
  const Scene scene(System::redflag, {{folder + "1", replaced(plain_work_file, "Lee and Co", "Caf\u00e9")}});
  write_kmailrc(work_section + kmail_end);
  EXPECT_EQ("1 0 1 0 0", numbers(scene.look(Kind::mail_accounts)));
}

TEST(KMailAccounts, no_settings_are_the_cause) {
  const Scene scene(System::xandros, {{folder + "1", home_file}});
  EXPECT_EQ((Names{"Home (ann@home.example): Its place /home/ann/.kde/share/config/kmailrc is not there."}),
            missing_names(scene.look(Kind::mail_accounts)));
}

// ---- The Mozilla suite ----------------------------------------------------------------------------------

const std::string prefs_begin =
    "user_pref(\"mail.account.account1.server\", \"server1\");\n"
    "user_pref(\"mail.accountmanager.localfoldersserver\", \"server1\");\n"
    "user_pref(\"mail.server.server1.name\", \"Local Folders\");\n"
    "user_pref(\"mail.server.server1.type\", \"none\");)\n";

const std::string work_prefs =
    "user_pref(\"mail.account.account2.identities\", \"id2\");\n"
    "user_pref(\"mail.account.account2.server\", \"server2\");\n"
    "user_pref(\"mail.identity.id2.fullName\", \"Work\");\n"
    "user_pref(\"mail.identity.id2.smtpServer\", \"smtp2\");\n"
    "user_pref(\"mail.identity.id2.useremail\", \"ann@work.example\");\n"
    "user_pref(\"mail.server.server2.hostname\", \"pop.work.example\");\n"
    "user_pref(\"mail.server.server2.name\", \"Work\");\n"
    "user_pref(\"mail.server.server2.port\", 995);\n"
    "user_pref(\"mail.server.server2.isSecure\", true);\n"
    "user_pref(\"mail.server.server2.leave_on_server\", true);\n"
    "user_pref(\"mail.server.server2.type\", \"pop3\");)\n"
    "user_pref(\"mail.identity.id2.organization\", \"Lee and Co\");\n"
    "user_pref(\"mail.identity.id2.reply_to\", \"office@work.example\");\n"
    "user_pref(\"mail.server.server2.userName\", \"ann\");\n"
    "user_pref(\"mail.smtpserver.smtp2.hostname\", \"smtp.work.example\");\n"
    "user_pref(\"mail.smtpserver.smtp2.port\", 25);\n"
    "user_pref(\"mail.smtpserver.smtp2.try_ssl\", 1);\n"
    "user_pref(\"mail.smtpserver.smtp2.username\", \"ann\");\n";

const std::string home_prefs =
    "user_pref(\"mail.account.account3.identities\", \"id3\");\n"
    "user_pref(\"mail.account.account3.server\", \"server3\");\n"
    "user_pref(\"mail.identity.id3.fullName\", \"Home\");\n"
    "user_pref(\"mail.identity.id3.smtpServer\", \"smtp3\");\n"
    "user_pref(\"mail.identity.id3.useremail\", \"ann@home.example\");\n"
    "user_pref(\"mail.server.server3.hostname\", \"imap.home.example\");\n"
    "user_pref(\"mail.server.server3.name\", \"Home\");\n"
    "user_pref(\"mail.server.server3.port\", 110);\n"
    "user_pref(\"mail.server.server3.isSecure\", false);\n"
    "user_pref(\"mail.server.server3.leave_on_server\", false);\n"
    "user_pref(\"mail.server.server3.type\", \"imap\");)\n"
    "user_pref(\"mail.identity.id3.organization\", \"Family\");\n"
    "user_pref(\"mail.identity.id3.reply_to\", \"lee@home.example\");\n"
    "user_pref(\"mail.server.server3.userName\", \"ann.lee\");\n"
    "user_pref(\"mail.smtpserver.smtp3.hostname\", \"smtp.home.example\");\n"
    "user_pref(\"mail.smtpserver.smtp3.try_ssl\", 0);\n"
    "user_pref(\"mail.smtpserver.smtp3.username\", \"ann.lee\");\n";

const std::string prefs_end =
    "user_pref(\"mail.accountmanager.accounts\", \"account1,account2,account3\");\n"
    "user_pref(\"mail.smtpservers\", \"smtp2,smtp3\");\n";

void write_prefs(const std::string& text) {
  write_file("/home/ann/.mozilla/default/a1b2.slt/prefs.js", text);
}

// The sender's name has no place: the account's name stands there.
TEST(MozillaAccounts, arrive_without_the_senders_name) {
  const Scene scene = scene_of(System::linspire);
  write_prefs(prefs_begin + work_prefs + home_prefs + prefs_end);
  EXPECT_EQ("2 0 2 0 0", numbers(scene.look(Kind::mail_accounts)));
  const Scene other(System::linspire,
                    {{folder + "1", replaced(home_file, "Display Name=Ann", "Display Name=Home")}});
  EXPECT_EQ("1 0 0 0 1", numbers(other.look(Kind::mail_accounts)));
  write_prefs(prefs_begin + work_prefs + home_prefs + prefs_end);
  EXPECT_EQ("1 1 0 0 0", numbers(other.look(Kind::mail_accounts)));
}

TEST(MozillaAccounts, each_value_counts) {
  const struct {
    const char *from, *to, *what;
  } changes[] = {{"fullName\", \"Work", "fullName\", \"Werk", "its name"},
                 {"server2.name\", \"Work", "server2.name\", \"Werk", "its name"},
                 {"ann@work", "an@work", "its address"},
                 {"office@", "", "its reply address"},
                 {"Lee and Co", "Lee", "its organization"},
                 {"\"pop3\"", "\"imap\"", "its kind"},
                 {"\"pop.", "\"mail.", "its incoming server"},
                 {"userName\", \"ann\"", "userName\", \"anne\"", "its login"},
                 {"995", "110", "its port"},
                 {"isSecure\", true", "isSecure\", false", "its secure connection"},
                 {"leave_on_server\", true", "leave_on_server\", false", "keeping mail on the server"},
                 {"\"smtp.", "\"mail.", "its outgoing server"},
                 {"username\", \"ann\"", "username\", \"anne\"", "its outgoing login"},
                 {"try_ssl\", 1", "try_ssl\", 0", "its secure outgoing connection"}};
  for (const auto& change : changes) {
    const Scene scene = scene_of(System::linspire);
    write_prefs(prefs_begin + replaced(work_prefs, change.from, change.to) + home_prefs + prefs_end);
    EXPECT_EQ((Names{"Work (ann@work.example): The mail program has something else for " +
                     std::string(change.what) + "."}),
              missing_names(scene.look(Kind::mail_accounts)));
  }
}

TEST(MozillaAccounts, are_those_of_the_list) {
  const Scene scene = scene_of(System::linspire);
  write_prefs(prefs_begin + work_prefs + home_prefs + replaced(prefs_end, ",account2", ""));
  EXPECT_EQ((Names{"Work (ann@work.example): It is not there."}),
            missing_names(scene.look(Kind::mail_accounts)));
  write_prefs(prefs_begin + work_prefs + home_prefs);
  EXPECT_EQ("2 0 0 0 2", numbers(scene.look(Kind::mail_accounts)));
}

TEST(MozillaAccounts, escapes_and_later_lines_are_read) {
  const Scene scene(System::linspire,
                    {{folder + "1", replaced(plain_work_file, "Lee and Co", "L\u00e9\\e \"Co\"")}});
  const std::string good =
      R"(user_pref( 'mail.identity.id2.organization' , "L\u00e9\\e \x22Co\"" ) ; // by hand)";
  write_prefs(prefs_begin + work_prefs + good + "\nuser_pref(\"mail.identity.id2.organization\", \"torn\n" +
              prefs_end);
  EXPECT_EQ("1 0 1 0 0", numbers(scene.look(Kind::mail_accounts)));
}

TEST(MozillaAccounts, bare_quotes_are_named) {
  const Scene scene(System::linspire, {{folder + "1", replaced(plain_work_file, "Lee and Co", "the \"Lee\"")},
                                       {folder + "2", home_file}});
  write_prefs(prefs_begin + replaced(work_prefs, "Lee and Co", "the \"Lee\"") + home_prefs + prefs_end);
  EXPECT_EQ(
      (Names{"Work (ann@work.example): Mozilla cannot read the account: bare `\"` in its organization."}),
      missing_names(scene.look(Kind::mail_accounts)));
}

TEST(MozillaAccounts, no_profile_is_the_cause) {
  const Scene scene(System::linspire, {{folder + "1", home_file}});
  EXPECT_EQ((Names{"Home (ann@home.example): Its place /home/ann/.mozilla/default/prefs.js is not there."}),
            missing_names(scene.look(Kind::mail_accounts)));
}

// ---- Settings files -------------------------------------------------------------------------------------

// Kept by hand from the rules: 127 bytes a piece, keys anywhere in it.
std::string cause_for(const std::string& line, const std::string& with) {
  const Scene scene(System::xandros, {{folder + "1", replaced(plain_work_file, line, with)}});
  write_kmailrc(work_section + kmail_end);
  const Tally tally = scene.look(Kind::mail_accounts);
  return tally.missing().empty() ? numbers(tally)
                                 : Texts()(tally.missing().front().cause, tally.missing().front().detail);
}

TEST(SettingsFile, a_line_that_is_cut_is_named) {
  const std::string fits(127 - 1 - std::string("Account Name=").size(), 'x');
  const Scene scene(System::xandros,
                    {{folder + "1", replaced(plain_work_file, "Name=Work", "Name=" + fits)}});
  write_kmailrc(replaced(work_section, "Name=Work", "Name=" + fits) + kmail_end);
  EXPECT_EQ("1 0 1 0 0", numbers(scene.look(Kind::mail_accounts)));
  const std::string cut =
      "Its settings file has a longer line for its name than is read, and the rest is cut.";
  EXPECT_EQ(cut, cause_for("Name=Work", "Name=" + fits + "xx"));
  EXPECT_EQ(cut, cause_for("Name=Work", "Name=" + fits + std::string(500, 'y')));
}

TEST(SettingsFile, a_line_that_hides_another_is_named) {
  EXPECT_EQ("Another line of its settings file is taken for its login.",
            cause_for("Account Name=Work", "Account Name=Work\r\nOld POP3 User Name=anne"));
  EXPECT_EQ("Another line of its settings file is taken for its incoming server.",
            cause_for("Account Name=Work", "Note=the POP3 Server\r\nAccount Name=Work"));
  EXPECT_EQ("Another line of its settings file is taken for its secure connection.",
            cause_for("Account Name=Work", "Old POP3 Secure Connection=0\r\nAccount Name=Work"));
  // A value that is hidden without a difference does no harm, nor does one that has no place here.
  EXPECT_EQ("1 0 1 0 0", cause_for("Account Name=Work", "Old POP3 User Name=ann\r\nAccount Name=Work"));
  EXPECT_EQ("1 0 1 0 0", cause_for("Account Name=Work", "Old SMTP Organization Name=x\r\nAccount Name=Work"));
}

TEST(SettingsFile, hidden_kinds_are_named) {
  const Scene scene(System::xandros, {{folder + "1", "Note=no POP3 Server\n" + home_file}});
  write_kmailrc(replaced(replaced(home_section, "Account 2", "Account 1"), "Transport 2", "Transport 1") +
                kmail_end);
  EXPECT_EQ((Names{"Home (ann@home.example): Another line of its settings file is taken for its kind."}),
            missing_names(scene.look(Kind::mail_accounts)));
}

TEST(SettingsFile, the_pop3_line_alone_makes_the_kind) {
  EXPECT_EQ("The mail program has something else for its incoming server.",
            cause_for("POP3 Server=pop.work.example", "POP3 Server="));
  EXPECT_EQ("The mail program has something else for its kind.",
            cause_for("POP3 Server=pop.work.example", "IMAP Server=pop.work.example"));
}

TEST(SettingsFile, each_flag_has_its_yes) {
  EXPECT_EQ("The mail program has something else for its secure connection.",
            cause_for("POP3 Secure Connection=1", "POP3 Secure Connection=2"));
  EXPECT_EQ("The mail program has something else for its secure connection.",
            cause_for("POP3 Secure Connection=1", "POP3 Secure Connection="));
  EXPECT_EQ("1 0 1 0 0", cause_for("POP3 Secure Connection=1", "POP3 Use SSL=1"));
  EXPECT_EQ("1 0 1 0 0", cause_for("Leave Mail On Server=1", "Leave Mail On Server=0\r\nLeave on Server=1"));
  EXPECT_EQ("The mail program has something else for keeping mail on the server.",
            cause_for("Leave Mail On Server=1", "Leave on Server=0"));
  for (const auto& [line, counts] :
       std::vector<std::pair<std::string, std::string>>{{"SMTP Use Sicily=1", "1 1 0 0 0"},
                                                        {"SMTP Use Auth=2", "1 1 0 0 0"},
                                                        {"SMTP Use Auth=0", "1 1 0 0 0"},
                                                        {"SMTP Use Auth=1", "1 0 0 0 1"}}) {
    const Scene scene(System::gnome, {{folder + "1", replaced(plain_work_file, "SMTP Use Sicily=2", line)}});
    write_gconf({replaced(work_account, ";auth=PLAIN", "")});
    EXPECT_EQ(counts, numbers(scene.look(Kind::mail_accounts))) << line;
  }
}

TEST(SettingsFile, a_missing_port_is_that_of_pop3) {
  EXPECT_EQ("The mail program has something else for its port.", cause_for("POP3 Port=995\r\n", ""));
  for (const char* const port : {"", "IMAP Port=\n", "IMAP Port=110\n"}) {
    const Scene scene(System::xandros, {{folder + "1", home_file + port}});
    write_kmailrc(replaced(replaced(home_section, "Account 2", "Account 1"), "Transport 2", "Transport 1") +
                  kmail_end);
    EXPECT_EQ("1 0 1 0 0", numbers(scene.look(Kind::mail_accounts)));
  }
}

TEST(SettingsFile, a_mark_of_unicode_does_no_harm) {
  std::string wide = "\xff\xfe";
  for (const char byte : plain_work_file) wide += std::string{byte, '\0'};
  for (const std::string& text : {"\xef\xbb\xbf" + plain_work_file, wide}) {
    const Scene scene(System::gnome, {{folder + "1", text}});
    write_gconf({work_account});
    EXPECT_EQ("1 1 0 0 0", numbers(scene.look(Kind::mail_accounts)));
  }
}

TEST(SettingsFile, other_things_in_the_folder_are_named) {
  const Scene scene(System::gnome, {{folder + "1", plain_work_file},
                                    {folder + "old/1.txt", plain_work_file},
                                    {folder + "none/", ""},
                                    {folder + ".empty", ""}});
  write_gconf({work_account});
  EXPECT_EQ((Names{".empty: It is not there.", "old/1.txt: Only files are moved from here, no folders."}),
            missing_names(scene.look(Kind::mail_accounts)));
  const Scene encrypted(System::gnome, {{folder + "1.txt", plain_work_file}}, "secret");
  EXPECT_EQ((Names{"1.txt: It is encrypted in the archive."}),
            missing_names(encrypted.look(Kind::mail_accounts)));
}

}  // namespace
