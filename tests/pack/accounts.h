// Files of mail accounts as an archive has them.
#ifndef BRINDLE_TESTS_PACK_ACCOUNTS_H
#define BRINDLE_TESTS_PACK_ACCOUNTS_H

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace accounts {

/// Where they lie.
inline const std::string folder = "Brindle/ImapMail/brindle-email-accounts/";

/// Ann's account at home, of a program that says everything.
inline const std::string at_home =
    "POP3 Secure Connection=1\r\n"
    "POP3 Prompt for Password=0\r\n"
    "Leave Mail On Server=1\r\n"
    "SMTP Secure Connection=1\r\n"
    "SMTP Use Sicily=2\r\n"
    "SMTP Prompt for Password=0\r\n"
    "POP3 Port=995\r\n"
    "POP3 Server=pop.home.example\r\n"
    "SMTP Server=smtp.home.example\r\n"
    "POP3 User Name=ann\r\n"
    "SMTP Email Address=ann@home.example\r\n"
    "SMTP Reply To Email Address=reply@home.example\r\n"
    "SMTP Organization Name=Lee & Sons\r\n"
    "SMTP Display Name=Ann Lée\r\n"
    "Account Name=At Home\r\n";

/// The one at work, with the least that a program says.
inline const std::string at_work =
    "IMAP Secure Connection=0\r\n"
    "IMAP Prompt for Password=0\r\n"
    "Leave Mail On Server=0\r\n"
    "SMTP Secure Connection=0\r\n"
    "SMTP Use Sicily=0\r\n"
    "SMTP Prompt for Password=0\r\n"
    "IMAP Port=143\r\n"
    "IMAP Server=imap.work.example\r\n"
    "SMTP Server=smtp.work.example\r\n"
    "IMAP User Name=a.lee\r\n"
    "SMTP Email Address=a.lee@work.example\r\n"
    "SMTP Reply To Email Address=\r\n"
    "SMTP Organization Name=\r\n"
    "SMTP Display Name=A. Lee\r\n"
    "Account Name=Work\r\n";

/// A file that differs in these lines: "Account Name=Home" stands there in place of the one with that key,
/// and "IMAP Port" says that there is none. Fails the test when the file has no line with a key.
inline std::string but_for(const std::string& file, const std::vector<std::string>& lines) {
  std::string text = "\n" + file;
  for (const std::string& line : lines) {
    const std::size_t begin = text.find("\n" + line.substr(0, line.find('=')) + "=") + 1;
    if (begin == 0) {
      ADD_FAILURE() << line;
      continue;
    }
    const bool is_there = line.find('=') != std::string::npos;
    text.replace(begin, text.find('\n', begin) + 1 - begin, is_there ? line + "\r\n" : "");
  }
  return text.substr(1);
}

}  // namespace accounts

#endif
