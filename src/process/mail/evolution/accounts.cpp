#include "process/mail/evolution/accounts.h"

#include <cstdio>
#include <cstring>
#include <ctime>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "error/log.h"
#include "gconf/folders.h"
#include "gconf/settings.h"
#include "keep/keep.h"
#include "process/archive/layout.h"
#include "process/mail/account.h"
#include "process/mail/client_files.h"
#include "process/mail/evolution/personal.h"
#include "process/mail/evolution/time_zone.h"
#include "process/mail/folders/evolution.h"
#include "shell/files.h"
#include "shell/fill.h"
#include "shell/home.h"
#include "shell/run.h"
#include "state/state.h"

namespace {

// ---- One account as Evolution describes it -----------------------------------------------------------
//
// Deliberate: part of the format. Nothing in a description is escaped: one whose texts hold an ampersand or
// an angle bracket is no XML, and Evolution's data server takes neither it nor the accounts after it.

// Deliberate: part of the output. Asked for each account anew.
std::string ask_host_name(const Target& target) {
  std::string line;
  shell::execute_first(compose("hostname"), target.home, line);
  if (!line.empty()) line.pop_back();
  return line;
}

std::string new_uid(const Target& target) {
  static int seqno = 0;  // never reset: the uids stay apart from each other over all profiles of a run
  const std::string host = ask_host_name(target);
  return std::to_string(std::time(nullptr)) + ".170." + std::to_string(seqno++) + "@" + host;
}

constexpr const char* identity_text =
    R"(<account name="@name@" uid="@uid@" enabled="true"><identity><name>@display_name@</name>)"
    R"(<addr-spec>@address@</addr-spec><reply-to>@reply_to@</reply-to>)"
    R"(<organization>@organization@</organization><signature uid=""/></identity>)";

std::string identity(const MailAccount& account, const std::string& uid) {
  return fill(identity_text, {{"name", account.name},
                              {"uid", uid},
                              {"display_name", account.display_name},
                              {"address", account.address},
                              {"reply_to", account.reply_to},
                              {"organization", account.organization}});
}

struct Flags {
  const char* POP3_save_passwd;
  const char* POP3_keep_on_server;
  const char* POP3_keep_on_server_string;
  const char* POP3_use_ssl;
  const char* SMTP_auth;
  const char* SMTP_save_passwd;
  const char* SMTP_use_ssl;
  const char* pop3_imap;
};

Flags flags_of(const MailAccount& account) {
  return {.POP3_save_passwd = account.prompt ? "false" : "true",
          .POP3_keep_on_server = account.keep_on_server ? "true" : "false",
          .POP3_keep_on_server_string = account.keep_on_server ? ";keep_on_server" : "",
          .POP3_use_ssl = account.secure ? ";use_ssl=always" : "",
          .SMTP_auth = account.smtp_auth ? ";auth=PLAIN" : "",
          .SMTP_save_passwd = account.smtp_prompt ? "false" : "true",
          .SMTP_use_ssl = account.smtp_secure ? ";use_ssl=always" : "",
          .pop3_imap = account.imap ? "imap" : "pop"};
}

constexpr const char* source_text =
    R"(<source save-passwd="@save@" keep-on-server="@keep@" auto-check="false" auto-check-timeout="0">)"
    R"(<url>@url@</url></source>)";

// Deliberate: part of the format. ";use_lsub;check_all" stands in a POP3 account as well, and between the
// other two options.
std::string source(const MailAccount& account, const Flags& flags) {
  const std::string url = std::string(flags.pop3_imap) + "://" + account.user + "@" + account.host + "/" +
                          flags.POP3_keep_on_server_string + ";use_lsub;check_all" + flags.POP3_use_ssl;
  return fill(source_text,
              {{"save", flags.POP3_save_passwd}, {"keep", flags.POP3_keep_on_server}, {"url", url}});
}

constexpr const char* transport_text = R"(<transport save-passwd="@save@"><url>@url@</url></transport>)";

// Deliberate: part of the format. The login for sending is always the incoming one.
std::string transport(const MailAccount& account, const Flags& flags) {
  const std::string url =
      "smtp://" + account.user + flags.SMTP_auth + "@" + account.smtp_host + "/" + flags.SMTP_use_ssl;
  return fill(transport_text, {{"save", flags.SMTP_save_passwd}, {"url", url}});
}

constexpr const char* ending_2 =
    R"(<drafts-folder>email://local@local/Drafts</drafts-folder>)"
    R"(<sent-folder>email://local@local/Sent</sent-folder>)"
    R"(<auto-cc always="false"><recipients></recipients></auto-cc>)"
    R"(<auto-bcc always="false"><recipients></recipients></auto-bcc>)"
    R"(<pgp encrypt-to-self="false" always-trust="false" always-sign="false" no-imip-sign="false">)"
    R"(<key-id></key-id></pgp>)"
    R"(<smime sign-default="false" encrypt-default="false" encrypt-to-self="false">)"
    R"(<sign-key-id></sign-key-id><encrypt-key-id></encrypt-key-id></smime></account>)";

constexpr const char* ending_1 =
    R"(<drafts-folder>file://@home@/evolution/local/Drafts</drafts-folder>)"
    R"(<sent-folder>file://@home@/evolution/local/Sent</sent-folder>)"
    R"(<auto-cc always="false"><recipients></recipients></auto-cc>)"
    R"(<auto-bcc always="false"><recipients></recipients></auto-bcc>)"
    R"(<pgp encrypt-to-self="false" always-trust="false" always-sign="false" no-imip-sign="false">)"
    R"(<key-id></key-id></pgp>)"
    R"(<smime encrypt-to-self="false" always-sign="false"/></account>)";

std::string ending(const Target& target) {
  trace_home(target.home);
  const int is_evolution_2 = is_folder(target.home.c_str(), ".evolution");
  std::printf("is_evolution_2::%d\n", is_evolution_2);
  return is_evolution_2 != 0 ? ending_2 : fill(ending_1, {{"home", target.home}});
}

// GConf would write such a character into its file as it writes every other, and could not read the file any
// more: neither the accounts in it nor what else the person has set there.
std::string without_what_no_file_holds(std::string description) {
  std::erase_if(description, [](char c) {
    return static_cast<unsigned char>(c) < ' ' && c != '\t' && c != '\n' && c != '\r';
  });
  for (const char* no_character : {"\xEF\xBF\xBE", "\xEF\xBF\xBF"})
    for (std::size_t at = 0; (at = description.find(no_character, at)) != std::string::npos;)
      description.erase(at, std::strlen(no_character));
  return description;
}

std::optional<std::string> describe(const Target& target, const std::string& account_path) {
  const std::optional<MailAccount> account = read_account(account_path, Fallbacks::none, target.locale);
  if (!account) return std::nullopt;
  const Flags flags = flags_of(*account);
  std::string description = "<?xml version=\"1.0\"?>\n";
  description += identity(*account, new_uid(target));
  description += source(*account, flags);
  description += transport(*account, flags);
  description += ending(target);
  return without_what_no_file_holds(std::move(description));
}

// ---- All accounts, stored where their user's Evolution looks for them --------------------------------

using Descriptions = std::vector<std::string>;

std::optional<Descriptions> describe_all(const Target& target) {
  const auto files = account_files(target.root);
  // The commands that are asked for a name and a time leave a file in the home for a moment.
  if (!files || !keep::before_change(target.home)) return std::nullopt;
  Descriptions descriptions;
  for (const std::string& account_path : *files) {
    dos_to_unix(account_path.c_str());
    std::printf("Extracting from account path::%s\n", account_path.c_str());
    if (auto description = describe(target, account_path)) descriptions.push_back(std::move(*description));
  }
  return descriptions;
}

// Deliberate: part of the format. The time-stamps and the signature's uid are fixed. The opening of the
// accounts has no newline, each account begins with one.
constexpr const char* accounts_head = R"(<?xml version="1.0"?>
<gconf>
<entry name="signatures" mtime="1114538174" type="list" ltype="string">
<li type="string">
<stringvalue>&lt;?xml version=&quot;1.0&quot;?&gt;&lt;signature name=&quot;Autogenerated&quot; uid=&quot;1114538174.6370.0@linux&quot; auto=&quot;true&quot; format=&quot;text/html&quot;/&gt;</stringvalue>
</li>
</entry>
<entry name="accounts" mtime="1114538159" type="list" ltype="string">)";

constexpr const char* accounts_item = R"(
<li type="string">
<stringvalue>@description@</stringvalue>
</li>)";

constexpr const char* accounts_tail = R"(
</entry>
</gconf>)";

// Deliberate: part of the format. The ampersand stays as it is, although this file is XML as well.
std::string escaped(const std::string& description) {
  std::string text;
  for (const char c : description) {
    switch (c) {
      case '"':
        text += "&quot;";
        break;
      case '<':
        text += "&lt;";
        break;
      case '>':
        text += "&gt;";
        break;
      default:
        text += c;
    }
  }
  return text;
}

SettingsFile accounts_file(const Descriptions& descriptions) {
  std::string text = accounts_head;
  for (const std::string& description : descriptions)
    text += fill(accounts_item, {{"description", escaped(description)}});
  return {.folder = "apps/evolution/mail",
          .new_folders = {"apps/evolution", "apps/evolution/mail"},
          .text = text + accounts_tail,
          .announced = true};
}

Stored store(const Target& target, const Descriptions& descriptions, const SettingsFile& file) {
  return store_settings(target, {{"/apps/evolution/mail/accounts", descriptions}}, file);
}

void store_for_running_user(const Target& target, const Descriptions& descriptions) {
  std::printf("before mail accounts");
  // Not looked at: a client that fails has said so, and all else is migrated without the accounts.
  static_cast<void>(store(target, descriptions, accounts_file(descriptions)));
  std::printf("after mail accounts");
  store_time_zone(target);
}

// Deliberate: part of the output. A profile's time zone is not set.
bool store_for_profile(const Target& target, const Descriptions& descriptions) {
  trace_home(target.home);
  const SettingsFile file = accounts_file(descriptions);
  // Not looked at: where a folder cannot be made, the file cannot be.
  static_cast<void>(make_settings_folder(target.home, "apps"));
  if (store(target, descriptions, file) == Stored::not_in_file) return false;
  static_cast<void>(
      make_settings_folder(target.home, "apps/evolution"));  // made by a command without its file
  std::printf("Header Written.");
  std::printf("freeing");
  std::printf("freeing complete.");
  std::printf("after mail accounts::%s\n", path_of(file, target).c_str());
  return true;
}

bool store_accounts(const Target& target, const Descriptions& descriptions) {
  if (!target.is_running_user) return store_for_profile(target, descriptions);
  store_for_running_user(target, descriptions);
  return true;
}

// ---- Folders, calendar, contacts, tasks --------------------------------------------------------------

Folders migrate_folders(const Target& target) {
  if (is_folder(target.root.c_str(), layout::mail_folders) == 0) return Folders::copied;
  const std::string folder = target.root + "/" + layout::mail_folders;
  std::printf("Popping Mail::%s\n", folder.c_str());
  return migrate_mail_folders(target, folder);
}

// Deliberate: part of the output. Calendar and tasks come with the contacts or not at all.
int migrate_personal_data(const Target& target, std::FILE* log) {
  const std::string folder = target.root + "/" + layout::mail;
  if (is_folder(folder.c_str(), layout::contacts) == 0) return 0;
  write_log("before calendar contacts tasks", log);
  const int result = copy_personal_data(target, folder);
  write_log("after calendar contacts tasks", log);
  return result;
}

}  // namespace

int mail_account(const char* path) {
  const Target target = target_of(path);
  const std::optional<Descriptions> descriptions = describe_all(target);
  if (!descriptions) return -1;
  if (!store_accounts(target, *descriptions)) return -1;
  const Folders folders = migrate_folders(target);
  if (folders == Folders::not_kept) return -1;
  const int result = migrate_personal_data(target, fp_log);
  std::printf("Returning from Mail Account.");
  return folders == Folders::copied ? result : -1;
}

int extract_from_account_path(const char* account_path, char* data) {
  const Target target = target_of("");  // the file is named whole
  const std::optional<std::string> description = describe(target, account_path);
  const bool fits = description && description->size() < account_description_size;
  std::strcpy(data, fits ? description->c_str() : "");
  return fits ? 0 : -1;
}
