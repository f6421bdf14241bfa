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

/// The lines of its file.
std::string account_file(const MailAccount& account);

/// Packs it as the next one of the person's. What an earlier one has the same server and user for is there
/// already; `from` names it then, and in front of what it loses.
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
