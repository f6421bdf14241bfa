#include "process/mail/mozilla/accounts.h"

#include <cerrno>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "keep/keep.h"
#include "process/archive/layout.h"
#include "process/mail/account.h"
#include "process/mail/client_files.h"
#include "process/mail/mozilla/personal.h"
#include "shell/copy.h"
#include "shell/files.h"
#include "shell/fill.h"
#include "shell/home.h"
#include "shell/kept.h"
#include "shell/replace.h"
#include "shell/run.h"
#include "system/target.h"

namespace {

// ---- Profiles ----------------------------------------------------------------------------------------

struct Profiles {
  std::string own;
  std::string administrators;  // empty for the running user, who needs no other
};

std::string profiles_folder(const std::string& home) { return home + "/.mozilla/default"; }

// Deliberate: part of the output. The first entry in directory order is taken for the profile, a plain file
// too.
std::optional<std::string> name_of_first_profile(const std::string& home) {
  const auto names = list_folder(profiles_folder(home));
  if (!names) tell_unlisted("In mozilla_mail() opendir: ", profiles_folder(home));
  if (!names || names->empty()) return std::nullopt;
  return names->front();
}

std::optional<std::string> own_profile(const Target& target) {
  if (target.home.empty()) return std::nullopt;
  const auto name = name_of_first_profile(target.home);
  if (!name) return std::nullopt;
  std::printf("line::%s\n", name->c_str());
  return profiles_folder(target.home) + "/" + *name;
}

std::optional<std::string> administrators_profile(const Target& target) {
  if (target.is_running_user) return "";
  const auto name = name_of_first_profile("/root");
  if (!name) return std::nullopt;
  return profiles_folder("/root") + "/" + *name;
}

std::optional<Profiles> find_profiles(const Target& target) {
  const auto own = own_profile(target);
  const auto administrators = own ? administrators_profile(target) : std::nullopt;
  if (!administrators) return std::nullopt;
  return Profiles{*own, *administrators};
}

// Deliberate: part of the output. For a profile only. False when it could not be kept.
bool remove_register_of_profiles(const Target& target) {
  if (target.is_running_user) return true;
  if (!keep::before_removal(target.home + "/.mozilla/appreg")) return false;
  SYSTEM(compose("rm %s/.mozilla/appreg", target.home));
  return true;
}

void print(const Profiles& profiles) {
  std::printf("Path::%s\n", profiles.own.c_str());
  std::printf("Root Path::%s\n", profiles.administrators.c_str());
}

// ---- Mail folders ------------------------------------------------------------------------------------

constexpr std::string_view local_folders = "/Local\\ Folders";

// The folder's path as the shell reads it: copymozillafiles takes it so.
std::string make_mail_folders(const std::string& profile) {
  SYSTEM(compose("mkdir %s/Mail", profile));
  SYSTEM(compose("mkdir %s/Mail/Local\\ Folders", profile));
  const std::string destination = profile + "/Mail" + std::string(local_folders);
  std::printf("Destination::%s\n", destination.c_str());
  return destination;
}

shell::Command copy_command(std::string_view source, std::string_view destination) {
  if (!destination.ends_with(local_folders)) return compose("cp -rf %s/* %s", source, destination);
  destination.remove_suffix(local_folders.size());
  return compose("cp -rf %s/* %s/Local\\ Folders", source, destination);
}

// The folder that the shell takes `destination` for.
std::string folder_named(std::string_view destination) {
  if (!destination.ends_with(local_folders)) return std::string(destination);
  destination.remove_suffix(local_folders.size());
  return std::string(destination) + "/Local Folders";
}

// ---- Preferences -------------------------------------------------------------------------------------

std::string prefs_of(const std::string& profile) { return profile + "/prefs.js"; }

// Deliberate: part of the format. The stray ")" behind the type line, here and in every account.
constexpr std::string_view local_folders_account =
    R"js(user_pref("mail.account.account1.server", "server1");
user_pref("mail.accountmanager.localfoldersserver", "server1");
user_pref("mail.root.pop3", "@profile@/Mail");
user_pref("mail.root.none", "@profile@/Mail");
user_pref("mail.root.imap", "@profile@/ImapMail");
user_pref("mail.server.server1.directory", "@profile@/Mail/Local Folders");
user_pref("mail.server.server1.hostname", "Local Folders");
user_pref("mail.server.server1.login_at_startup", true);
user_pref("mail.server.server1.name", "Local Folders");
user_pref("mail.server.server1.type", "none");)
user_pref("mail.server.server1.userName", "nobody");
)js";

bool create_prefs(const std::string& profile) {
  // Deliberate: part of the output. All other preferences of the profile go.
  SYSTEM(compose("rm %s/prefs.js", profile));
  return replace_client_file(prefs_of(profile), fill(local_folders_account, {{"profile", profile}}));
}

// Deliberate: part of the output. The account's name stands for the sender's full name too: letters
// are from "Work", not from "Ann Lee".
constexpr std::string_view account_preferences =
    R"js(user_pref("mail.account.account@n@.identities", "id@n@");
user_pref("mail.account.account@n@.server", "server@n@");
user_pref("mail.identity.id@n@.draft_folder", "@mailbox@/Drafts");
user_pref("mail.identity.id@n@.drafts_folder_picker_mode", "0");
user_pref("mail.identity.id@n@.fcc_folder", "@mailbox@/Sent");
user_pref("mail.identity.id@n@.fcc_folder_picker_mode", "0");
user_pref("mail.identity.id@n@.fullName", "@name@");
user_pref("mail.identity.id@n@.smtpServer", "smtp@n@");
user_pref("mail.identity.id@n@.stationery_folder", "@mailbox@/Templates");
user_pref("mail.identity.id@n@.tmpl_folder_picker_mode", "0");
user_pref("mail.identity.id@n@.useremail", "@address@");
user_pref("mail.identity.id@n@.valid", true);
user_pref("mail.server.server@n@.directory", "@directory@");
user_pref("mail.server.server@n@.hostname", "@host@");
user_pref("mail.server.server@n@.login_at_startup", true);
user_pref("mail.server.server@n@.name", "@name@");
user_pref("mail.server.server@n@.port", @port@);
user_pref("mail.server.server@n@.isSecure", @secure@);
user_pref("mail.server.server@n@.leave_on_server", @keep@);
user_pref("mail.server.server@n@.type", "@type@");)
user_pref("mail.identity.id@n@.organization", "@organization@");
user_pref("mail.identity.id@n@.reply_to", "@reply_to@");
user_pref("mail.server.server@n@.userName", "@user@");
user_pref("mail.smtpserver.smtp@n@.auth_method", 1);
user_pref("mail.smtpserver.smtp@n@.hostname", "@smtp_host@");
user_pref("mail.smtpserver.smtp@n@.port", 25);
user_pref("mail.smtpserver.smtp@n@.try_ssl", @try_ssl@);
user_pref("mail.smtpserver.smtp@n@.username", "@user@");
)js";

// All POP3 accounts share the local folders; an IMAP account has a folder named after its host.
std::string server_directory(const MailAccount& account, const std::string& profile) {
  return account.imap ? profile + "/ImapMail/" + account.host : profile + "/Mail/Local Folders";
}

std::string preferences(const MailAccount& account, const std::string& profile, int number) {
  return fill(account_preferences, {{"n", std::to_string(number)},
                                    {"mailbox", "mailbox://" + account.user + "@" + account.host},
                                    {"name", account.name},
                                    {"address", account.address},
                                    {"directory", server_directory(account, profile)},
                                    {"host", account.host},
                                    {"port", account.port},
                                    {"secure", account.secure ? "true" : "false"},
                                    {"keep", account.keep_on_server ? "true" : "false"},
                                    {"type", account.imap ? "imap" : "pop3"},
                                    {"organization", account.organization},
                                    {"reply_to", account.reply_to},
                                    {"user", account.user},
                                    {"smtp_host", account.smtp_host},
                                    {"try_ssl", account.smtp_secure ? "1" : "0"}});
}

constexpr std::string_view closing_lists = R"js(user_pref("mail.accountmanager.accounts", "@accounts@");
user_pref("mail.smtpservers", "@servers@");
)js";

// Accounts 1 to `last` and outgoing servers 2 to `last`: the local folders send nothing.
std::string account_lists(int last) {
  std::string accounts = "account1";
  std::string servers;
  for (int number = 2; number <= last; ++number) {
    accounts += ",account" + std::to_string(number);
    servers += (servers.empty() ? "smtp" : ",smtp") + std::to_string(number);
  }
  return fill(closing_lists, {{"accounts", accounts}, {"servers", servers}});
}

bool append_account_lists(const std::string& profile, int last) {
  return append_to_client_file(prefs_of(profile), account_lists(last));
}

enum class Outcome { written, not_in_prefs, passed_over };

Outcome append_account(const Target& target, const std::string& file, const std::string& profile,
                       int number) {
  const auto account = read_account(file, Fallbacks::second, target.locale);
  if (!account) return Outcome::passed_over;
  std::printf("Account Name::%s\n", account->name.c_str());
  if (!append_to_client_file(prefs_of(profile), preferences(*account, profile, number)))
    return Outcome::not_in_prefs;
  std::printf("\n\n File Opened");
  return Outcome::written;
}

// One that fails does not keep the others from being tried.
bool append_all(const Target& target, const std::vector<std::string>& files, const std::string& profile) {
  bool written = true;
  int number = 1;
  for (const std::string& file : files) {
    dos_to_unix(file.c_str());
    const Outcome outcome = append_account(target, file, profile, number + 1);
    if (outcome != Outcome::passed_over) ++number;
    if (outcome == Outcome::not_in_prefs) written = false;
  }
  return append_account_lists(profile, number) && written;
}

}  // namespace

int mozilla(const char* args) {
  const Target target = target_of(args);
  std::printf("Migration Mozilla Account Settings");
  trace_home(target.home);
  const auto profiles = find_profiles(target);
  if (!profiles) return -1;
  if (!remove_register_of_profiles(target)) return -1;
  print(*profiles);
  if (!keep::before_change(profiles->own + "/Mail/Local Folders")) return -1;
  const char* profile = profiles->own.c_str();
  const std::string mail = make_mail_folders(profiles->own);
  // -1, no accounts in the archive, stops nothing: contacts, mail and calendar can be there without them.
  if (mozillaaccountsettings(profile, args) == 1) return 1;
  std::printf("Migrating addressbook");
  const int contacts = mozillaaddressbook(target, profile, profiles->administrators.c_str());
  if (contacts == 1) return 1;
  std::printf("Migrating Mozilla Emails.");
  const int copied = copymozillafiles((target.root + "/" + layout::mail_folders).c_str(), mail.c_str());
  if (copied == 1) return 1;
  std::printf("Migrating Mozilla Calendar.");
  const int calendar = mozillacalendar(args, profile);
  if (calendar != 0) return calendar;
  return contacts != 0 ? contacts : copied;
}

int mozillaaccountsettings(const char* mozillapath, const char* args) {
  const Target target = target_of(args);
  const auto files = account_files(target.root);
  if (!files) return -1;
  const std::string prefs = prefs_of(mozillapath);
  if (!keep::before_change(prefs)) return 1;
  const KeptFile before(prefs);
  if (!create_prefs(mozillapath)) return 1;
  if (append_all(target, *files, mozillapath)) return 0;
  static_cast<void>(remove_file(prefs));  // not whole: the old file comes back
  return 1;
}

int mozilla_extract_from_account_path(const char* account_path, const char* args, int seqno) {
  const Target target = target_of("");  // both files are named whole
  return append_account(target, account_path, args, seqno) == Outcome::written ? 0 : 1;
}

int copymozillafiles(const char* sourcedir, const char* destdir) {
  const shell::Command command = copy_command(sourcedir, destdir);
  std::printf("CMD::%s\n", command.c_str());
  const bool copied = copy_entries(command, sourcedir, folder_named(destdir), CopyLike::cp_rf);
  if (!copied && errno == not_kept) return 1;
  return copied && !command.refused() ? 0 : -1;
}
