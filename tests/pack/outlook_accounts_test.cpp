#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pack/accounts.h"
#include "pack/recorded.h"
#include "pack/windows_disk.h"

namespace {

using recorded::pack_disk;
using testing::ElementsAre;
using testing::IsEmpty;
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
  EXPECT_EQ(result.content.at(accounts::folder + "00000002.txt"),
            accounts::but_for(accounts::at_work, {"IMAP Port"}));
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
