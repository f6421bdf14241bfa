#include "process/mail/kde/accounts.h"

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <set>
#include <string>

#include "process/mail/account.h"
#include "process/mail/folders/kmail.h"
#include "process/mail/kde/personal.h"
#include "shell/files.h"
#include "shell/fill.h"
#include "shell/home.h"
#include "shell/run.h"

namespace {

constexpr const char* accounts_folder = "/ImapMail/brindle-email-accounts";

File append_to_kmailrc(const std::string& home) {
  File file = open_file(home + "/.kde/share/config/kmailrc", "a");
  if (!file) std::printf("\nERROR :: Could not create file");
  return file;
}

// ---- One account -------------------------------------------------------------------------------------

// "store-passwd" holds the outgoing server's answer, on purpose, and the transport never logs in.
constexpr const char* account_text = R"(

[Account @number@]
Folder=@folder@
Id=@id@
Name=@name@
Type=@type@
auth=@auth@
check-exclude=false
check-interval=0
filter-on-server=false
filter-os-check-size=
host=@host@
leave-on-server=@leave@
login=@login@
passwd=
pipelining=false
port=@port@
precommand=
sieve-alternate-url=
sieve-port=2000
sieve-reuse-config=true
sieve-support=false
store-passwd=@store@
trash=trash
use-ssl=@ssl@
use-tls=false

[Transport @number@]
auth=false
authtype=PLAIN
encryption=@encryption@
host=@smtp host@
localHostname=
name=@display name@
pass=
port=25
precommand=
specifyHostname=
storepass=@store@
type=smtp
user=

)";

// KMail tells accounts apart by this number. The generator is seeded elsewhere, now and then alike.
std::string new_id() {
  static std::set<int> given;
  int id = std::rand();
  while (!given.insert(id).second) id = std::rand();
  return std::to_string(id);
}

const char* yes_or_no(bool flag) { return flag ? "true" : "false"; }

std::string account_entry(const MailAccount& account, int number) {
  return fill(account_text, {{"number", std::to_string(number)},
                             {"folder", account.imap ? "" : "inbox"},
                             {"id", new_id()},
                             {"name", account.name},
                             {"type", account.imap ? "imap" : "pop"},
                             {"auth", account.imap ? "*" : "USER"},
                             {"host", account.host},
                             {"leave", yes_or_no(account.keep_on_server)},
                             {"login", account.user},
                             {"port", account.port},
                             {"store", yes_or_no(!account.smtp_prompt)},
                             {"ssl", yes_or_no(account.secure)},
                             {"encryption", account.smtp_secure ? "SSL" : "NONE"},
                             {"smtp host", account.smtp_host},
                             {"display name", account.display_name}});
}

bool append_account(const std::string& home, const MailAccount& account, int number) {
  File file = append_to_kmailrc(home);
  if (!file) return false;
  std::printf("\n\n File Opened");
  write_text(file, account_entry(account, number));
  std::printf("\nFlush Result::%d", std::fflush(file.get()));
  std::printf("\nClose Result::%d", std::fclose(file.release()));
  std::printf("\nFile closed");
  return true;
}

// The file is named with the port 110 whatever the account's own is; KMail looks for that name.
bool make_folder_file(const std::string& home, const MailAccount& account) {
  const std::string name = account.user + ":@" + account.host + ":110";
  // A name is one entry of the folder: an archive may not choose another place for it.
  if (name.find('/') != std::string::npos) return false;
  const std::string folder = home + "/.kde/share/apps/kmail/" + (account.imap ? "imap/" : "");
  return open_file(folder + name, "w") != nullptr;
}

// ---- All accounts ------------------------------------------------------------------------------------

// Settings come as Windows wrote them for a Chinese user, on every KDE system; what does not convert is
// dropped.
void add_account(const std::string& folder, const std::string& name, const char* args, int number) {
  const std::string file = folder + "/" + name;
  const std::string converted = file + "temp";
  dos_to_unix(file.c_str());
  SYSTEM(compose("iconv -c -f GB2312 -t utf-8 %s -o %s", file, converted));
  kde_extract_from_account_path(converted.c_str(), args, number);
  SYSTEM(compose("rm %s", converted));
}

constexpr const char* counts_text = R"(

[General]
accounts=@count@
transports=@count@


[Reader]
htmlMail=true
htmlLoadExternal=true
)";

int append_counts(int count) {
  const File file = append_to_kmailrc(user_home());
  if (!file) return 1;
  write_text(file, fill(counts_text, {{"count", std::to_string(count)}}));
  return 0;
}

}  // namespace

int kmail_mail_account(const char* args) {
  struct Step {
    const char* trace;
    int (*migrate)(const char*);
  };
  constexpr Step steps[] = {{"Migration Account Settings", kmailaccountsettings},
                            {"Migrating addressbook", kaddressbook},
                            {"Migrating Emails.", kmailemails},
                            {"Migrating Contacts and Tasks.", kmailcallendar},
                            {"Migrating Notes.", kmailnotes}};
  int result = 0;
  for (const Step& step : steps) {
    std::printf("%s", step.trace);
    result = step.migrate(args);
    if (result == 1) return 1;
  }
  std::printf("Notes are done.");
  return result;
}

int kmailaccountsettings(const char* args) {
  const std::string folder = std::string(args) + accounts_folder;
  const auto names = list_folder(folder);
  if (!names) {
    std::perror("In mail_account() opendir: ");
    return -1;
  }
  int number = 1;
  for (const std::string& name : *names) add_account(folder, name, args, number++);
  return append_counts(number - 1);
}

int kde_extract_from_account_path(const char* account_path, const char* /*path*/, int seqno) {
  const std::optional<MailAccount> account = read_account(account_path, Fallbacks::second);
  if (!account) return 1;
  std::printf("Account Name::%s\n", account->name.c_str());
  std::string host_name;  // asked for, as the other account writers do, but no part of KMail's account
  shell::execute_first(compose("hostname"), current_owner().home, host_name);
  const std::string home = user_home();
  if (seqno == 1) SYSTEM(compose("rm %s/.kde/share/config/kmailrc", home));
  if (!append_account(home, *account, seqno)) return 1;
  return make_folder_file(home, *account) ? 0 : 1;
}
