// A mail account in an archive's form.
#ifndef BRINDLE_PACK_MAIL_MAIL_ACCOUNT_H
#define BRINDLE_PACK_MAIL_MAIL_ACCOUNT_H

#include <string>
#include <vector>

#include "pack/files/packing.h"

namespace pack {

/// All texts in UTF-8; what is not known is empty.
struct MailAccount {
  bool is_imap = false;
  std::string name;
  std::string full_name;
  std::string address;
  std::string reply_address;
  std::string organization;
  std::string server;
  std::string user;
  std::string port;
  bool is_secure = false;
  bool leaves_on_server = false;
  std::string smtp_server;
  bool smtp_wants_login = false;
  bool smtp_is_secure = false;
  std::vector<std::string> lost{};  ///< settings for which an archive has no word, as people call them
};

/// How the way to a server is encrypted.
enum class Encryption { none, after_a_plain_start, from_the_start };

/// The ports that everybody uses, for reading mail and for sending it.
std::string usual_port(bool is_imap, Encryption encryption);
std::string usual_smtp_port(Encryption encryption);

/// Notes what of the way of sending has no place in an archive: encryption that begins later, a port that is
/// not the usual one (`port`, empty when it is), a login other than that for reading (`user`, empty when it
/// is the same).
void note_lost_sending(MailAccount& account, Encryption encryption, const std::string& port,
                       const std::string& user);

/// The lines of its file. A port that is not known is the usual one.
std::string account_file(const MailAccount& account);

/// Packs it as the next one of the person's. What an earlier one has the same protocol, server, user and
/// address for is there already; `from` names it then, and in front of what it loses.
class MailAccounts {
 public:
  explicit MailAccounts(Packing& packing) : packing_(packing) {}
  void add(const MailAccount& account, const std::string& from);

 private:
  Packing& packing_;
  std::set<std::string> known_;
};

}  // namespace pack

#endif
