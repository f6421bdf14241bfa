#include "process/mail/account.h"

#include <cerrno>

#include "process/archive/settings.h"
#include "shell/files.h"

namespace {

// A folder among the account files opens like a file, but nothing in it can be read.
bool is_readable(std::FILE* file) {
  errno = 0;
  std::getc(file);
  return std::ferror(file) == 0;
}

std::string text(std::FILE* file, const char* key) { return setting(file, key).value_or(""); }

// The primary key is always asked first: keys match anywhere in a line, so "Display Name" would find the
// line of "SMTP Display Name".
std::string text(std::FILE* file, const char* key, const char* fallback) {
  const std::optional<std::string> value = setting(file, key);
  return value ? *value : text(file, fallback);
}

bool flag(std::FILE* file, const char* key) { return get_char(file, key) == '1'; }

// The fallback is for a missing key only; an empty value reads as '=' and means no.
bool flag(std::FILE* file, const char* key, const char* fallback) {
  const char value = get_char(file, key);
  return value == '\0' ? flag(file, fallback) : value == '1';
}

struct IncomingKeys {
  const char* prompt;
  const char* user;
  const char* user_fallback;
  const char* port;
  const char* secure;
  const char* secure_fallback;
};

constexpr IncomingKeys pop3 = {"POP3 Prompt for Password", "POP3 User Name", "POP3 User", "POP3 Port",
                               "POP3 Secure Connection",   "POP3 Use SSL"};
constexpr IncomingKeys imap = {"IMAP Prompt for Password", "IMAP User Name", "IMAP User", "IMAP Port",
                               "IMAP Secure Connection",   "IMAP Use SSL"};

void read_sender(std::FILE* file, Fallbacks fallbacks, MailAccount& account) {
  const bool second = fallbacks == Fallbacks::second;
  account.name = text(file, "Account Name");
  account.display_name = text(file, "SMTP Display Name", "Display Name");
  account.address = text(file, "SMTP Email Address", "Email");
  account.reply_to = second ? text(file, "SMTP Reply To Email Address", "Reply Email")
                            : text(file, "SMTP Reply To Email Address");
  account.organization =
      second ? text(file, "SMTP Organization Name", "Organization") : text(file, "SMTP Organization Name");
}

void read_incoming(std::FILE* file, MailAccount& account) {
  const std::optional<std::string> pop3_server = setting(file, "POP3 Server");
  account.imap = !pop3_server;
  account.host = pop3_server ? *pop3_server : text(file, "IMAP Server");
  const IncomingKeys& keys = account.imap ? imap : pop3;
  account.prompt = flag(file, keys.prompt);
  account.user = text(file, keys.user, keys.user_fallback);
  // Deliberate: part of the format. POP3's port for an IMAP account as well.
  account.port = setting(file, keys.port).value_or("110");
  account.secure = flag(file, keys.secure, keys.secure_fallback);
  const bool leave_mail = flag(file, "Leave Mail On Server");
  account.keep_on_server = flag(file, "Leave on Server") || leave_mail;
}

void read_outgoing(std::FILE* file, MailAccount& account) {
  // Deliberate: part of the format. Sicily alone says yes with "2".
  const bool sicily = get_char(file, "SMTP Use Sicily") == '2';
  account.smtp_auth = flag(file, "SMTP Use Auth") || sicily;
  account.smtp_prompt = flag(file, "SMTP Prompt for Password");
  account.smtp_host = text(file, "SMTP Server");
  account.smtp_secure = flag(file, "SMTP Secure Connection");
}

}  // namespace

std::optional<MailAccount> read_account(const std::string& path, Fallbacks fallbacks) {
  const File file = open_file(path, "r");
  if (!file || !is_readable(file.get())) return std::nullopt;
  MailAccount account;
  read_sender(file.get(), fallbacks, account);
  read_incoming(file.get(), account);
  read_outgoing(file.get(), account);
  return account;
}
