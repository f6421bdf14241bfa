// What the tests of mail migrators share: a mail folder tree as an archive brings it, a stand-in for
// Evolution, and Python's count of the messages in a tree.
#ifndef BRINDLE_TESTS_MAIL_MAIL_FILES_H
#define BRINDLE_TESTS_MAIL_MAIL_FILES_H

#include <string>

#include "support/commands.h"
#include "support/files.h"

/// Puts the recording stand-in for Evolution in its place; it writes /tmp/evolution.calls.
inline void install_evolution() {
  ASSERT_EQ(0, shell_quietly("cp " + test_data("standins/evolution") + " /usr/local/bin/evolution"));
}

/// Takes the account entry of the user who runs the test away, so that there is no home to migrate into.
inline void lose_account_entry() {
  write_file("/etc/passwd", "");
  write_file("/etc/nsswitch.conf", "passwd: files\n");  // others make up an entry for root
}

/// How often the standard error text `errors` complains of that.
inline int complaints_of_no_home(const std::string& errors) {
  int count = 0;
  for (std::size_t at = 0; (at = errors.find("username : ", at)) != std::string::npos; ++at) ++count;
  return count;
}

/// A mailbox of `count` messages in which every line that looks special to a splitter occurs.
inline std::string mailbox_of(int count) {
  std::string text;
  for (int i = 1; i <= count; ++i) {
    const std::string number = std::to_string(i);
    text += "From - Mon Jan 03 10:00:00 2005\nSubject: message " + number +
            "\nContent-Type: multipart/mixed; boundary=\"--=_x\"\n\n----=_x\n"
            "Content-Transfer-Encoding: base64\n\nYQ==\n----=_x--\n>From me\n From you\n\n";
  }
  return text;
}

/// Fills `mail` with mailboxes at three levels and with blanks, quotes and other letters in their names.
inline void make_mail_tree(const std::string& mail) {
  write_file(mail + "/Inbox", mailbox_of(3));
  write_file(mail + "/Inbox.sbd/Sent", mailbox_of(1));
  write_file(mail + "/Inbox.sbd/Work", mailbox_of(2));
  write_file(mail + "/Inbox.sbd/Work.sbd/Old \"bills\"", mailbox_of(4));
  write_file(mail + "/Sent", mailbox_of(5));
  write_file(mail + "/Trash", "");
  write_file(mail + "/M\xc3\xbcll $HOME; it's `id`", mailbox_of(6));
}

/// "FOLDER COUNT" lines of the tree `top`; `kind` is archive, evolution or kmail.
inline std::string counted(const std::string& kind, const std::string& top) {
  return output_of(test_data("mail/count_messages.py") + " " + kind + " " + top);
}

/// The same for the tree of make_mail_tree.
constexpr const char* counted_mail_tree =
    "Inbox 3\nInbox/Sent 1\nInbox/Work 2\nInbox/Work/Old \"bills\" 4\nM\xc3\xbcll $HOME; it's `id` 6\n"
    "Sent 5\nTrash 0\n";

#endif
