#include "process/mail/evolution/accounts.h"

#include <glib.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "error/log.h"
#include "gconf/client.h"
#include "process/mail/account.h"
#include "process/mail/evolution/gconf_file.h"
#include "process/mail/evolution/personal.h"
#include "process/mail/evolution/time_zone.h"
#include "process/mail/folders/evolution.h"
#include "shell/files.h"
#include "shell/fill.h"
#include "shell/home.h"
#include "shell/run.h"
#include "state/state.h"

namespace {

// Never reset: the uids stay apart from each other over all profiles of a run.
int seqno = 0;

using Descriptions = std::vector<std::string>;

// --- One account as Evolution describes it. Nothing in it is escaped: Evolution's own reader takes an
// ampersand as it is.

std::string host_name() {
  std::string line;
  shell::execute_first(compose("hostname"), current_owner().home, line);
  if (!line.empty()) line.pop_back();
  return line;
}

std::string new_uid() {
  const std::string host = host_name();
  return std::to_string(std::time(nullptr)) + ".170." + std::to_string(seqno++) + "@" + host;
}

constexpr const char* identity_text =
    R"(<account name="@name@" uid="@uid@" enabled="true"><identity><name>@display_name@</name>)"
    R"(<addr-spec>@address@</addr-spec><reply-to>@reply_to@</reply-to>)"
    R"(<organization>@organization@</organization><signature uid=""/></identity>)";

std::string identity(const MailAccount& account) {
  return fill(identity_text, {{"name", account.name},
                              {"uid", new_uid()},
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

// ";use_lsub;check_all" for POP3 as well, and between the other two options: kept, Evolution takes them in
// any order.
std::string source(const MailAccount& account, const Flags& flags) {
  const std::string url = std::string(flags.pop3_imap) + "://" + account.user + "@" + account.host + "/" +
                          flags.POP3_keep_on_server_string + ";use_lsub;check_all" + flags.POP3_use_ssl;
  return fill(source_text,
              {{"save", flags.POP3_save_passwd}, {"keep", flags.POP3_keep_on_server}, {"url", url}});
}

constexpr const char* transport_text = R"(<transport save-passwd="@save@"><url>@url@</url></transport>)";

// The login for sending is always the incoming one.
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

std::string ending() {
  const std::string home = user_home();
  const int is_evolution_2 = is_folder(home.c_str(), ".evolution");
  std::printf("is_evolution_2::%d\n", is_evolution_2);
  return is_evolution_2 != 0 ? ending_2 : fill(ending_1, {{"home", home}});
}

std::optional<std::string> description_of(const std::string& account_path) {
  const std::optional<MailAccount> account = read_account(account_path, Fallbacks::none);
  if (!account) return std::nullopt;
  const Flags flags = flags_of(*account);
  std::string description = "<?xml version=\"1.0\"?>\n";
  description += identity(*account);
  description += source(*account, flags);
  description += transport(*account, flags);
  description += ending();
  return description;
}

// --- All accounts, stored where their user's Evolution looks for them.

std::optional<Descriptions> all_descriptions(const std::string& folder) {
  const auto names = list_folder(folder);
  if (!names) return std::nullopt;
  Descriptions descriptions;
  for (const std::string& name : *names) {
    const std::string account_path = folder + "/" + name;
    dos_to_unix(account_path.c_str());
    std::printf("Extracting from account path::%s\n", account_path.c_str());
    if (auto description = description_of(account_path)) descriptions.push_back(std::move(*description));
  }
  return descriptions;
}

void store_for_running_user(Descriptions& descriptions) {
  std::printf("before mail accounts");
  GSList* list = nullptr;
  const std::size_t listcount = descriptions.size();
  for (std::size_t at = listcount; at > 0; --at) list = g_slist_prepend(list, descriptions[at - 1].data());
  set_gconf_list("/apps/evolution/mail/accounts", list);
  std::printf("after mail accounts");
  g_slist_free(list);
  set_time_zone();
}

// The time-stamps and the signature's uid are fixed, whatever the day and the host: GConf and Evolution
// take any. The opening of the accounts has no newline, each account begins with one.
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

// Not an XML escape: the ampersand stays, kept as profiles have always got it.
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

bool store_for_profile(const Descriptions& descriptions) {
  const std::string evolution = user_home() + "/.gconf/apps/evolution";
  const std::string folder = evolution + "/mail";
  for (const auto& command : {compose("mkdir %s", evolution), compose("mkdir %s", folder)}) {
    SYSTEM(command);
    std::printf("Command::%s\n", command.c_str());
  }
  const std::string path = folder + "/%gconf.xml";
  std::printf("GConfPath::%s\n", path.c_str());
  std::string text = accounts_head;
  for (const std::string& description : descriptions)
    text += fill(accounts_item, {{"description", escaped(description)}});
  text += accounts_tail;
  if (!write_gconf_file(folder, text)) return false;
  std::printf("Header Written.");
  std::printf("freeing");
  std::printf("freeing complete.");
  std::printf("after mail accounts::%s\n", path.c_str());
  return true;
}

void migrate_folders(const std::string& path) {
  if (is_folder(path.c_str(), "Mail") == 0) return;
  const std::string mail = path + "/Mail";
  std::printf("Popping Mail::%s\n", mail.c_str());
  mails_pop(mail.c_str());
}

// Calendar and tasks come with the contacts or not at all: kept, a full export always has contacts.
void migrate_personal_data(const std::string& path) {
  const std::string folder = path + "/ImapMail";
  if (is_folder(folder.c_str(), "Contacts") == 0) return;
  write_log("before calendar contacts tasks", fp_log);
  calendar_contacts_tasks(folder.c_str());
  write_log("after calendar contacts tasks", fp_log);
}

}  // namespace

int mail_account(const char* path) {
  const std::string root = path;
  std::optional<Descriptions> descriptions = all_descriptions(root + "/ImapMail/brindle-email-accounts");
  if (!descriptions) {
    std::perror("In mail_account() opendir: ");
    return -1;
  }
  if (isDefaultUser == 1) {
    store_for_running_user(*descriptions);
  } else if (!store_for_profile(*descriptions)) {
    return -1;
  }
  migrate_folders(root);
  migrate_personal_data(root);
  std::printf("Returning from Mail Account.");
  return 0;
}

int extract_from_account_path(const char* account_path, char* data) {
  const std::optional<std::string> description = description_of(account_path);
  const bool fits = description && description->size() < account_description_size;
  std::strcpy(data, fits ? description->c_str() : "");
  return fits ? 0 : -1;
}
