#include "process/mail/account.h"

#include <cerrno>

#include "process/archive/settings.h"
#include "shell/files.h"
#include "system/windows_text.h"

namespace {

// A folder among the account files opens like a file, but nothing in it can be read.
bool is_readable(std::FILE* file) {
  errno = 0;
  std::getc(file);
  return std::ferror(file) == 0;
}

/// The texts of an account file.
class Texts {
 public:
  Texts(std::FILE* file, const std::string& locale) : file_(file), locale_(locale) {}

  std::optional<std::string> find(const char* key) const {
    std::optional<std::string> value = setting(file_, key);
    if (value) *value = as_utf8(*value, locale_);
    return value;
  }
  std::string of(const char* key) const { return find(key).value_or(""); }
  // The primary key is always asked first: keys match anywhere in a line, so "Display Name" would find the
  // line of "SMTP Display Name".
  std::string of(const char* key, const char* fallback) const {
    const std::optional<std::string> value = find(key);
    return value ? *value : of(fallback);
  }

 private:
  std::FILE* file_;
  const std::string& locale_;
};

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

void read_sender(const Texts& texts, Fallbacks fallbacks, MailAccount& account) {
  const bool second = fallbacks == Fallbacks::second;
  account.name = texts.of("Account Name");
  account.display_name = texts.of("SMTP Display Name", "Display Name");
  account.address = texts.of("SMTP Email Address", "Email");
  account.reply_to = second ? texts.of("SMTP Reply To Email Address", "Reply Email")
                            : texts.of("SMTP Reply To Email Address");
  account.organization =
      second ? texts.of("SMTP Organization Name", "Organization") : texts.of("SMTP Organization Name");
}

// Deliberate: part of the format. POP3's port for an IMAP account as well.
std::string port_or_default(const std::string& port) { return port.empty() ? "110" : port; }

void read_incoming(std::FILE* file, const Texts& texts, MailAccount& account) {
  const std::optional<std::string> pop3_server = texts.find("POP3 Server");
  account.imap = !pop3_server;
  account.host = pop3_server ? *pop3_server : texts.of("IMAP Server");
  const IncomingKeys& keys = account.imap ? imap : pop3;
  account.prompt = flag(file, keys.prompt);
  account.user = texts.of(keys.user, keys.user_fallback);
  account.port = port_or_default(texts.of(keys.port));
  account.secure = flag(file, keys.secure, keys.secure_fallback);
  const bool leave_mail = flag(file, "Leave Mail On Server");
  account.keep_on_server = flag(file, "Leave on Server") || leave_mail;
}

void read_outgoing(std::FILE* file, const Texts& texts, MailAccount& account) {
  // Deliberate: part of the format. Sicily alone says yes with "2".
  const bool sicily = get_char(file, "SMTP Use Sicily") == '2';
  account.smtp_auth = flag(file, "SMTP Use Auth") || sicily;
  account.smtp_prompt = flag(file, "SMTP Prompt for Password");
  account.smtp_host = texts.of("SMTP Server");
  account.smtp_secure = flag(file, "SMTP Secure Connection");
}

}  // namespace

std::optional<MailAccount> read_account(const std::string& path, Fallbacks fallbacks,
                                        const std::string& locale) {
  const File file = open_file(path, "r");
  if (!file || !is_readable(file.get())) {
    const int error = errno;
    std::perror(path.c_str());
    errno = error;
    return std::nullopt;
  }
  const Texts texts(file.get(), locale);
  MailAccount account;
  read_sender(texts, fallbacks, account);
  read_incoming(file.get(), texts, account);
  read_outgoing(file.get(), texts, account);
  return account;
}
