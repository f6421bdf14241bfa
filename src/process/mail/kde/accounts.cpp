#include "process/mail/kde/accounts.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "keep/keep.h"
#include "process/mail/account.h"
#include "process/mail/client_files.h"
#include "process/mail/folders/kmail.h"
#include "process/mail/kde/encoding.h"
#include "process/mail/kde/personal.h"
#include "shell/files.h"
#include "shell/fill.h"
#include "shell/home.h"
#include "shell/pieces.h"
#include "shell/replace.h"
#include "shell/run.h"
#include "system/target.h"

namespace {

std::string kmailrc_of(const Target& target) { return target.home + "/.kde/share/config/kmailrc"; }

// ---- The number that KMail tells an account by -------------------------------------------------------

constexpr std::size_t kmailrc_line_limit = 1023;

// Deliberate: part of the output. Nobody reads the name that the command prints. But the file that takes it
// is named by random numbers, and naming it seeds the C library's generator, which new_id draws from.
void reseed_id_generator(const Target& target) {
  std::string unread;
  shell::execute_first(compose("hostname"), target.home, unread);
}

std::string id_line(int id) { return "Id=" + std::to_string(id) + "\n"; }

std::set<std::string> lines_of(const std::string& path) {
  std::set<std::string> lines;
  const File file = open_file(path, "r");
  if (!file) return lines;
  PieceReader pieces(file.get(), kmailrc_line_limit);
  for (std::string_view piece; pieces.next(piece);) lines.emplace(piece);
  return lines;
}

// The generator repeats itself, after the seeds 0 and 1 for one. Two accounts of one file may not share an
// id.
std::string new_id(const std::string& kmailrc) {
  const std::set<std::string> taken = lines_of(kmailrc);
  int id = std::rand();
  while (taken.contains(id_line(id))) id = std::rand();
  return std::to_string(id);
}

// ---- One account -------------------------------------------------------------------------------------

// Deliberate: part of the format. "store-passwd", of the incoming server, has the outgoing server's answer,
// and the transport never logs in, whatever the archive says of it.
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

const char* yes_or_no(bool flag) { return flag ? "true" : "false"; }

std::string account_entry(const MailAccount& account, const std::string& id, int number) {
  return fill(account_text, {{"number", std::to_string(number)},
                             {"folder", account.imap ? "" : "inbox"},
                             {"id", id},
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

bool append_account(const std::string& kmailrc, const MailAccount& account, int number) {
  if (!append_to_client_file(kmailrc, account_entry(account, new_id(kmailrc), number))) return false;
  std::printf("\n\n File Opened");
  std::printf("\nFlush Result::%d", 0);
  std::printf("\nClose Result::%d", 0);
  std::printf("\nFile closed");
  return true;
}

enum class Outcome { whole, without_folder_file, not_in_kmailrc, passed_over, not_kept };

Outcome make_folder_file(const Target& target, const MailAccount& account) {
  // Deliberate: part of the output. The name says port 110 whatever the account's own is.
  const std::string name = account.user + ":@" + account.host + ":110";
  // A name is one entry of the folder: an archive may not choose another place for it.
  if (name.find('/') != std::string::npos) return Outcome::without_folder_file;
  const std::string folder = target.home + "/.kde/share/apps/kmail/" + (account.imap ? "imap/" : "");
  if (!keep::before_change(folder + name)) return Outcome::not_kept;
  if (open_file(folder + name, "w")) return Outcome::whole;
  // A KMail that was never started has no folder; another thing in its place is told.
  if (errno != ENOENT) std::perror((folder + name).c_str());
  return Outcome::without_folder_file;
}

// Deliberate: part of the output. What else was set in KMail goes with the old accounts.
void remove_old(const Target& target, std::optional<KeptFile>& before) {
  before.emplace(kmailrc_of(target));
  SYSTEM(compose("rm %s/.kde/share/config/kmailrc", target.home));
}

// `before` keeps the old kmailrc, once that is removed, until a whole new one is there.
Outcome write_account(const Target& target, const std::string& file, int number,
                      std::optional<KeptFile>& before) {
  const std::optional<MailAccount> account = read_account(file, Fallbacks::second, target.locale);
  if (!account) return Outcome::passed_over;
  std::printf("Account Name::%s\n", account->name.c_str());
  reseed_id_generator(target);
  trace_home(target.home);
  if (number == 1) remove_old(target, before);
  if (!append_account(kmailrc_of(target), *account, number)) return Outcome::not_in_kmailrc;
  return make_folder_file(target, *account);
}

// ---- All accounts ------------------------------------------------------------------------------------

Outcome convert_and_write_account(const Target& target, const std::string& file, int number,
                                  std::optional<KeptFile>& before) {
  const std::string converted = file + "temp";
  const SetAside namesake(converted);  // an account file may have that name
  dos_to_unix(file.c_str());
  const bool whole = convert_to_utf8(file, converted);
  if (!whole)
    std::fprintf(stderr, "The account %s could not be converted whole and is left out\n", file.c_str());
  const Outcome outcome = whole ? write_account(target, converted, number, before) : Outcome::passed_over;
  SYSTEM(compose("rm %s", converted));
  return outcome;
}

constexpr const char* counts_text = R"(

[General]
accounts=@count@
transports=@count@


[Reader]
htmlMail=true
htmlLoadExternal=true
)";

bool append_counts(const Target& target, int count) {
  trace_home(target.home);
  return append_to_client_file(kmailrc_of(target), fill(counts_text, {{"count", std::to_string(count)}}));
}

// One that fails does not keep the others from being tried, but one for which a file of the person could not
// be kept.
bool append_all(const Target& target, const std::vector<std::string>& files,
                std::optional<KeptFile>& before) {
  bool written = true;
  int count = 0;
  for (const std::string& file : files) {
    const Outcome outcome = convert_and_write_account(target, file, count + 1, before);
    if (outcome == Outcome::not_kept) return false;
    if (outcome != Outcome::passed_over) ++count;
    if (outcome == Outcome::not_in_kmailrc) written = false;
  }
  return append_counts(target, count) && written;
}

int write_accounts(const Target& target) {
  const auto files = account_files(target.root);
  if (!files) return -1;
  if (!keep::before_change(kmailrc_of(target))) return 1;
  std::optional<KeptFile> before;
  if (append_all(target, *files, before)) return 0;
  // The new file is not whole: the old one comes back in its place.
  if (before) static_cast<void>(remove_file(kmailrc_of(target)));
  return 1;
}

// ---- The migrator's steps ----------------------------------------------------------------------------

struct Step {
  const char* trace;
  int (*migrate)(const Target&);
};

constexpr Step steps[] = {{"Migration Account Settings", write_accounts},
                          {"Migrating addressbook", kaddressbook},
                          {"Migrating Emails.", migrate_kmail_folders},
                          {"Migrating Contacts and Tasks.", kmailcallendar},
                          {"Migrating Notes.", kmailnotes}};

}  // namespace

int kmail_mail_account(const char* args) {
  const Target target = target_of(args);
  int result = 0;
  for (const Step& step : steps) {
    std::printf("%s", step.trace);
    const int answer = step.migrate(target);
    if (answer == 1) return 1;
    if (answer != 0 && step.migrate != write_accounts) result = answer;
  }
  std::printf("Notes are done.");
  return result;
}

int kmailaccountsettings(const char* args) { return write_accounts(target_of(args)); }

int kde_extract_from_account_path(const char* account_path, const char* /*path*/, int seqno) {
  const Target target = target_of("");  // the file is named whole
  if (!keep::before_change(kmailrc_of(target))) return 1;
  std::optional<KeptFile> before;
  return write_account(target, account_path, seqno, before) == Outcome::whole ? 0 : 1;
}
