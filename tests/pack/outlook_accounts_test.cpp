#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pack/accounts.h"
#include "pack/recorded.h"
#include "pack/windows_disk.h"

namespace {

using recorded::pack_disk;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using windows::Value;

const std::string of_office = R"(Software\Microsoft\Office\16.0\Outlook\Profiles\Outlook\)";
const std::string keys = R"(9375CFF0413111d3B88A00104B2A6676\)";

std::string wide(std::string_view text) {
  std::string bytes;
  for (const char c : text) bytes += {c, '\0'};
  return bytes + std::string(2, '\0');
}

const std::vector<Value> pop{{.name = "Account Name", .data = "At Home"},
                             {.name = "Display Name", .data = "Ann Lée"},
                             {.name = "Email", .data = "ann@home.example"},
                             {.name = "Reply Email", .data = "reply@home.example"},
                             {.name = "Organization", .data = "Lee & Sons"},
                             {.name = "POP3 Server", .data = "pop.home.example"},
                             {.name = "POP3 User", .data = "ann"},
                             {.name = "POP3 Port", .data = "995", .type = Value::dword},
                             {.name = "POP3 Use SSL", .data = "1", .type = Value::dword},
                             {.name = "SMTP Server", .data = "smtp.home.example"},
                             {.name = "SMTP Use Auth", .data = "1", .type = Value::dword},
                             {.name = "SMTP Secure Connection", .data = "1", .type = Value::dword},
                             {.name = "Leave on Server", .data = "327681", .type = Value::dword}};

TEST(OutlookAccounts, HaveAllTheirSettings) {
  const windows::Disk disk;
  disk.add("Users/Ann/NTUSER.DAT",
           windows::hive({{of_office + keys + "00000002", pop},
                          {of_office + keys + "00000003",
                           {{.name = "Account Name", .data = wide("Work"), .type = Value::binary},
                            {.name = "Display Name", .data = wide("A. Lee"), .type = Value::binary},
                            {.name = "Email", .data = wide("a.lee@work.example"), .type = Value::binary},
                            {.name = "IMAP Server", .data = wide("imap.work.example"), .type = Value::binary},
                            {.name = "IMAP User", .data = wide("a.lee"), .type = Value::binary},
                            {.name = "SMTP Server", .data = wide("smtp.work.example"), .type = Value::binary},
                            {.name = "SMTP Secure Connection", .data = "2", .type = Value::dword}}},
                          {of_office + keys + "00000001",
                           {{.name = "Account Name", .data = "Outlook Address Book"}}}}));
  const auto result = pack_disk(disk.path());
  ASSERT_THAT(result.files_below(accounts::folder), ElementsAre("00000001.txt", "00000002.txt"));
  EXPECT_EQ(result.content.at(accounts::folder + "00000001.txt"), accounts::at_home);
  EXPECT_EQ(result.content.at(accounts::folder + "00000002.txt"), accounts::at_work);
  EXPECT_THAT(result.remarks(), ElementsAre("partly-kept " + of_office + keys +
                                            "00000003: Work: STARTTLS for smtp.work.example"));
}

// What one account of the protocol becomes with these further values, and what is said of it.
struct Packed {
  std::string file;
  std::vector<std::string> lost;
};
Packed packed_with(const std::string& protocol, std::vector<Value> values) {
  const windows::Disk disk;
  values.push_back({.name = "Account Name", .data = "Mine"});
  values.push_back({.name = protocol + " Server", .data = "in.example"});
  values.push_back({.name = protocol + " User", .data = "ann"});
  values.push_back({.name = "SMTP Server", .data = "out.example"});
  disk.add("Users/Ann/NTUSER.DAT", windows::hive({{of_office + keys + "00000001", values}}));
  const auto result = pack_disk(disk.path());
  const std::string begin = "partly-kept " + of_office + keys + "00000001: Mine: ";
  std::vector<std::string> lost;
  for (const std::string& remark : result.remarks())
    lost.push_back(remark.starts_with(begin) ? remark.substr(begin.size()) : remark);
  return {.file = result.content.at(accounts::folder + "00000001.txt"), .lost = lost};
}

TEST(OutlookAccounts, TellWhatAnArchiveHasNoWordFor) {
  const auto number = [](const std::string& name, const std::string& data) {
    return Value{.name = name, .data = data, .type = Value::dword};
  };
  const struct {
    std::vector<Value> values;
    std::vector<std::string> lost;
  } cases[] = {{{}, {}},
               {{number("POP3 Secure Connection", "2")}, {"STARTTLS for in.example"}},
               {{number("POP3 Secure Connection", "3")}, {"STARTTLS for in.example"}},
               {{number("POP3 Secure Connection", "1")}, {}},
               {{number("POP3 Use SSL", "1")}, {}},
               {{number("POP3 Use SPA", "1")}, {"SPA for in.example"}},
               {{number("POP3 Use SPA", "0")}, {}},
               {{number("SMTP Port", "25")}, {}},
               {{number("SMTP Port", "587")}, {"port 587 for out.example"}},
               {{number("SMTP Use SSL", "1"), number("SMTP Port", "465")}, {}},
               {{number("SMTP Use SSL", "1"), number("SMTP Port", "25")}, {"port 25 for out.example"}},
               {{number("SMTP Secure Connection", "2"), number("SMTP Port", "587")},
                {"STARTTLS and port 587 for out.example"}},
               {{number("SMTP Use SPA", "1")}, {"SPA for out.example"}},
               {{number("SMTP Use Auth", "1"), {.name = "SMTP User", .data = "bob"}},
                {"the login bob for out.example"}},
               {{number("SMTP Use Auth", "1"), {.name = "SMTP User", .data = "ann"}}, {}},
               {{number("SMTP Use Auth", "0"), {.name = "SMTP User", .data = "bob"}}, {}}};
  for (const auto& [values, lost] : cases)
    EXPECT_EQ(packed_with("POP3", values).lost, lost) << (values.empty() ? "" : values.front().name);
  EXPECT_THAT(packed_with("IMAP", {number("IMAP Secure Connection", "2")}).lost,
              ElementsAre("STARTTLS for in.example"));
}

// A run takes one that is missing for 110, even of IMAP.
TEST(OutlookAccounts, HaveTheUsualPortWhereNoneIsNoted) {
  const struct {
    const char* protocol;
    const char* secure;
    const char* port;
  } cases[] = {{"IMAP", "0", "143"}, {"IMAP", "1", "993"}, {"POP3", "0", "110"}, {"POP3", "1", "995"}};
  for (const auto& [protocol, secure, port] : cases) {
    const std::string name = protocol;
    const Value use_ssl{.name = name + " Use SSL", .data = secure, .type = Value::dword};
    const Value none{.name = name + " Port", .data = "0", .type = Value::dword};
    for (const std::vector<Value>& values : {std::vector<Value>{use_ssl}, {use_ssl, none}})
      EXPECT_THAT(packed_with(protocol, values).file, HasSubstr("\r\n" + name + " Port=" + port + "\r\n"));
  }
}

// The same mailbox by both ways is set up as two accounts.
TEST(OutlookAccounts, OfAnotherProtocolAreOthers) {
  const windows::Disk disk;
  const auto account = [](const std::string& protocol) {
    return std::vector<Value>{{.name = "Account Name", .data = protocol},
                              {.name = "Email", .data = "ann@home.example"},
                              {.name = protocol + " Server", .data = "mail.home.example"},
                              {.name = protocol + " User", .data = "ann"}};
  };
  disk.add("Users/Ann/NTUSER.DAT", windows::hive({{of_office + keys + "00000001", account("POP3")},
                                                  {of_office + keys + "00000002", account("IMAP")}}));
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below(accounts::folder), ElementsAre("00000001.txt", "00000002.txt"));
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(OutlookAccounts, OfEachVersionAreFound) {
  for (const std::string profiles :
       {R"(Software\Microsoft\Office\15.0\Outlook\Profiles\Mine\)",
        R"(Software\Microsoft\Office\14.0\Outlook\Profiles\Mine\)",
        R"(Software\Microsoft\Office\12.0\Outlook\Profiles\Mine\)",
        R"(Software\Microsoft\Office\11.0\Outlook\Profiles\Mine\)",
        R"(Software\Microsoft\Windows NT\CurrentVersion\Windows Messaging Subsystem\Profiles\Mine\)",
        R"(Software\Microsoft\Windows Messaging Subsystem\Profiles\Mine\)"}) {
    const windows::Disk disk;
    disk.add("Users/Ann/NTUSER.DAT", windows::hive({{profiles + keys + "00000001", pop}}));
    const auto result = pack_disk(disk.path());
    ASSERT_THAT(result.files_below(accounts::folder), ElementsAre("00000001.txt")) << profiles;
    EXPECT_EQ(result.content.at(accounts::folder + "00000001.txt"), accounts::at_home);
  }
}

TEST(OutlookAccounts, OfSeveralProfilesAreThereOnce) {
  const windows::Disk disk;
  const std::string older = R"(Software\Microsoft\Office\15.0\Outlook\Profiles\Outlook\)";
  auto other = pop;
  other[5].data = "pop.other.example";
  disk.add("Users/Ann/NTUSER.DAT", windows::hive({{of_office + keys + "00000001", pop},
                                                  {older + keys + "00000001", pop},
                                                  {older + keys + "00000002", other}}));
  disk.add("Users/Ann/AppData/Roaming/Thunderbird/Profiles/x/prefs.js",
           R"(user_pref("mail.accountmanager.accounts", "a");
user_pref("mail.account.a.server", "s");
user_pref("mail.account.a.identities", "i");
user_pref("mail.identity.i.useremail", "ann@home.example");
user_pref("mail.server.s.type", "pop3");
user_pref("mail.server.s.hostname", "pop.home.example");
user_pref("mail.server.s.userName", "ann");
)");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below(accounts::folder), ElementsAre("00000001.txt", "00000002.txt"));
  EXPECT_THAT(result.remarks(), ElementsAre("there-already " + of_office + keys + "00000001",
                                            "there-already " + older + keys + "00000001"));
}

TEST(OutlookAccounts, OfExchangeAreTold) {
  const windows::Disk disk;
  disk.add("Users/Ann/NTUSER.DAT",
           windows::hive({{of_office + keys + "00000001", pop},
                          {of_office + keys + "00000002",
                           {{.name = "Account Name", .data = "ann@lee.example"},
                            {.name = "Service Name", .data = "MSEMS"}}},
                          {of_office + keys + "00000003",
                           {{.name = "Email", .data = "a@lee.example"},
                            {.name = "clsid", .data = "{ED475414-B0D6-11D2-8C3B-00104B2A6676}"}}},
                          {of_office + keys + "00000004",
                           {{.name = "Account Name", .data = "Phone"},
                            {.name = "EAS Server URL", .data = "https://x.example"}}},
                          {of_office + keys + "00000005",
                           {{.name = "Account Name", .data = "Outlook Data File"},
                            {.name = "Service Name", .data = "MSUPST MS"}}}}));
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below(accounts::folder), ElementsAre("00000001.txt"));
  EXPECT_THAT(result.remarks(),
              ElementsAre("exchange ann@lee.example", "exchange a@lee.example", "exchange Phone"));
  EXPECT_TRUE(result.people.front().tally.has_losses());
}

// Services of all kinds have the same clsid.
TEST(OutlookAccounts, OfServicesWithoutMailAreNotOfExchange) {
  const windows::Disk disk;
  const auto service = [](const std::string& account, const std::string& name) {
    return std::vector<Value>{{.name = "Account Name", .data = account},
                              {.name = "clsid", .data = "{ed475414-b0d6-11d2-8c3b-00104b2a6676}"},
                              {.name = "Service Name", .data = name}};
  };
  disk.add("Users/Ann/NTUSER.DAT",
           windows::hive({{of_office + keys + "00000001", service("Outlook Address Book", "CONTAB")},
                          {of_office + keys + "00000002", service("Data File", "MSUPST MS")},
                          {of_office + keys + "00000003", service("Old Data File", "MSPST MS")},
                          {of_office + keys + "00000004", service("Directory", "EMABLT")},
                          {of_office + keys + "00000005", service("Work", "MSEMS")}}));
  EXPECT_THAT(pack_disk(disk.path()).remarks(), ElementsAre("no-place Directory", "exchange Work"));
}

TEST(OutlookSettings, ThatHaveNoPlaceAreTold) {
  const windows::Disk disk;
  const std::string programs = "Users/Ann/AppData/Roaming/Microsoft/";
  disk.add("Users/Ann/NTUSER.DAT", windows::hive({{R"(Software\Microsoft\Office\14.0\Common\General)",
                                                   {{.name = "Signatures", .data = "Podpisy"}}}}));
  disk.add(programs + "Signatures/Work.htm");
  disk.add_folder(programs + "Signaturen");
  disk.add(programs + "Podpisy/Work.htm");
  disk.add(programs + "Outlook/Outlook.RWZ");
  disk.add(programs + "Outlook/Outlook.srs");
  const std::vector<std::string> signatures{"no-place " + programs + "Podpisy",
                                            "no-place " + programs + "Signatures"};
  const std::string rules = "no-place " + programs + "Outlook/Outlook.RWZ";
  EXPECT_THAT(pack_disk(disk.path()).remarks(), UnorderedElementsAre(signatures[0], signatures[1], rules));
  pack::Options options;
  options.without = {pack::Kind::mail};
  EXPECT_THAT(pack_disk(disk.path(), options).remarks(), UnorderedElementsAre(signatures[0], signatures[1]));
  options.without = {pack::Kind::accounts};
  EXPECT_THAT(pack_disk(disk.path(), options).remarks(), ElementsAre(rules));
}

TEST(OutlookSettings, ThatCannotBeListedAreToldOnce) {
  const windows::Disk disk;
  const std::string signatures = "Users/Ann/AppData/Roaming/Microsoft/Signatures";
  disk.add(signatures + "/Work.htm");
  EXPECT_THAT(pack_disk(pack::Disk(recorded::tree_with(disk.path(), signatures))).remarks(),
              ElementsAre("unreadable " + signatures));
}

TEST(OutlookAccounts, AreLeftOutWhenNobodyWantsThem) {
  const windows::Disk disk;
  disk.add("Users/Ann/NTUSER.DAT", windows::hive({{of_office + keys + "00000001", pop}}));
  pack::Options options;
  options.without = {pack::Kind::accounts};
  EXPECT_THAT(pack_disk(disk.path(), options).files_below(accounts::folder), IsEmpty());
}

TEST(NewOutlook, IsTold) {
  const windows::Disk disk;
  disk.add("Users/Ann/AppData/Local/Microsoft/Olk/logs/x.log");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.remarks(), ElementsAre("new-outlook Users/Ann/AppData/Local/Microsoft/Olk"));
  EXPECT_TRUE(result.people.front().tally.has_losses());
}

}  // namespace
