// One mail account of the archive, read once into one record that all three account writers share.
#ifndef BRINDLE_PROCESS_MAIL_ACCOUNT_H
#define BRINDLE_PROCESS_MAIL_ACCOUNT_H

#include <optional>
#include <string>

/// A mail account. Its texts are UTF-8: one that is not in the file as UTF-8 was read as a Windows text of
/// the person's language. A text that the file does not have is empty; a flag is only true for its yes value.
struct MailAccount {
  std::string name;          ///< shown in the mail client
  std::string display_name;  ///< the sender's full name
  std::string address;
  std::string reply_to;
  std::string organization;

  bool imap = false;    ///< POP3 when the file has a "POP3 Server" line, even an empty one
  std::string host;     ///< incoming server
  std::string user;     ///< login there, and for sending too
  std::string port;     ///< as text; "110" when missing or empty, for IMAP too
  bool prompt = false;  ///< the incoming password is asked for each time, so it is not to be stored
  bool secure = false;  ///< SSL on the incoming connection
  bool keep_on_server = false;

  std::string smtp_host;
  bool smtp_auth = false;
  bool smtp_prompt = false;
  bool smtp_secure = false;
};

/// Where a missing reply-to address and organisation are looked for.
enum class Fallbacks {
  none,    ///< Evolution: nowhere, they are empty
  second,  ///< KMail and Mozilla: "Reply Email" and "Organization"
};

/// Reads the account settings file at `path` (LF line ends) of a Windows in the language of `locale`.
/// No value, with errno set, when it cannot be opened or is no file.
std::optional<MailAccount> read_account(const std::string& path, Fallbacks fallbacks,
                                        const std::string& locale);

#endif
