#include "pack/mail/thunderbird_accounts.h"

#include <algorithm>
#include <charconv>
#include <set>

namespace pack {

namespace {

// "account1,account2" in its parts, without blanks.
std::vector<std::string> parts_of(const std::string& list) {
  std::vector<std::string> parts;
  for (std::size_t begin = 0; begin < list.size();) {
    const std::size_t end = std::min(list.find(',', begin), list.size());
    std::string part = list.substr(begin, end - begin);
    std::erase(part, ' ');
    if (!part.empty()) parts.push_back(part);
    begin = end + 1;
  }
  return parts;
}

// "1" starts it where the server offers it, "2" asks for it.
Encryption encryption_of(const std::string& socket_type) {
  if (socket_type == "3") return Encryption::from_the_start;
  return socket_type == "1" || socket_type == "2" ? Encryption::after_a_plain_start : Encryption::none;
}

// Old versions have a truth value alone.
Encryption encryption_of(const Prefs& prefs, const std::string& server) {
  const std::string type = pref(prefs, server + "socketType");
  if (type.empty() && pref(prefs, server + "isSecure") == "true") return Encryption::from_the_start;
  return encryption_of(type);
}

// Thunderbird writes none where it is the usual one.
std::string port_of(const std::string& text, const std::string& usual) {
  constexpr unsigned highest = 65535;
  unsigned port = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  const bool is_one = error == std::errc() && end == text.data() + text.size() && port > 0 && port <= highest;
  return is_one ? text : usual;
}

std::string first_of(const Prefs& prefs, const std::string& name, const std::string& otherwise) {
  const std::string value = pref(prefs, name);
  return value.empty() ? pref(prefs, otherwise) : value;
}

// One profile's settings on their way into accounts.
class Reader {
 public:
  Reader(const Prefs& prefs, std::string from, Packing& packing, MailAccounts& accounts)
      : prefs_(prefs), from_(std::move(from)), packing_(packing), accounts_(accounts) {}

  void add_all() {
    for (const std::string& account : parts_of(get("mail.accountmanager.accounts"))) add(account);
    for (const std::string& key : parts_of(get("mail.smtpservers"))) {
      const std::string server = get("mail.smtpserver." + key + ".hostname");
      if (!server.empty() && !used_.contains(key)) tell("the server " + server + " for sending");
    }
  }

 private:
  std::string get(const std::string& name) const { return pref(prefs_, name); }

  void tell(const std::string& what) {
    packing_.tell_of(Kind::accounts, Cause::partly_kept, from_ + ": " + what);
  }

  void add(const std::string& account) {
    const std::string server = "mail.server." + get("mail.account." + account + ".server") + ".";
    const std::string type = get(server + "type");
    // "none" are the folders on the disk.
    if (type.empty() || type == "none") return;
    if (type == "pop3" || type == "imap") {
      accounts_.add(account_of(account, server), from_);
    } else {
      packing_.leave_out(Kind::accounts, Cause::no_place,
                         from_ + ": " + type + " " + get(server + "hostname"));
    }
  }

  MailAccount account_of(const std::string& account, const std::string& server) {
    const auto identities = parts_of(get("mail.account." + account + ".identities"));
    const std::string identity = identities.empty() ? "" : "mail.identity." + identities.front() + ".";
    MailAccount result;
    result.is_imap = get(server + "type") == "imap";
    result.name = first_of(prefs_, server + "name", identity + "useremail");
    result.full_name = get(identity + "fullName");
    result.address = get(identity + "useremail");
    result.reply_address = get(identity + "reply_to");
    result.organization = get(identity + "organization");
    take_server(server, result);
    take_smtp(identity, result);
    if (has_signature(identity)) result.lost.push_back("the signature");
    for (std::size_t other = 1; other < identities.size(); ++other)
      if (const std::string address = get("mail.identity." + identities[other] + ".useremail");
          !address.empty())
        result.lost.push_back("the address " + address);
    return result;
  }

  // Typed in, or a file.
  bool has_signature(const std::string& identity) const {
    return !get(identity + "htmlSigText").empty() ||
           (get(identity + "attach_signature") == "true" && !get(identity + "sig_file").empty());
  }

  // A server that has got another name keeps the one it had first as its "hostname".
  void take_server(const std::string& server, MailAccount& account) {
    const Encryption encryption = encryption_of(prefs_, server);
    account.server = first_of(prefs_, server + "realhostname", server + "hostname");
    account.user = first_of(prefs_, server + "realuserName", server + "userName");
    account.port = port_of(get(server + "port"), usual_port(account.is_imap, encryption));
    account.is_secure = encryption == Encryption::from_the_start;
    account.leaves_on_server = get(server + "leave_on_server") == "true";
    if (encryption == Encryption::after_a_plain_start)
      account.lost.push_back("STARTTLS for " + account.server);
    if (get(server + "authMethod") == by_browser) account.lost.push_back("OAuth2 for " + account.server);
  }

  // The identity's own, the default one, or the first that there is.
  std::string smtp_key(const std::string& identity) const {
    std::vector<std::string> keys{get(identity + "smtpServer"), get("mail.smtp.defaultserver")};
    for (const std::string& key : parts_of(get("mail.smtpservers"))) keys.push_back(key);
    for (const std::string& key : keys)
      if (!get("mail.smtpserver." + key + ".hostname").empty()) return key;
    return "";
  }

  void take_smtp(const std::string& identity, MailAccount& account) {
    const std::string key = smtp_key(identity);
    if (key.empty()) return;
    used_.insert(key);
    const std::string smtp = "mail.smtpserver." + key + ".";
    const Encryption encryption = encryption_of(get(smtp + "try_ssl"));
    const std::string user = get(smtp + "username");
    const std::string method = get(smtp + "authMethod");
    account.smtp_server = get(smtp + "hostname");
    account.smtp_is_secure = encryption == Encryption::from_the_start;
    // Old versions have another number for the same.
    account.smtp_wants_login =
        !user.empty() && method != no_login && (!method.empty() || get(smtp + "auth_method") != "0");
    note_lost_sending(account, encryption, port_of(get(smtp + "port"), usual_smtp_port(encryption)), user);
    if (method == by_browser) account.lost.push_back("OAuth2 for " + account.smtp_server);
  }

  // Of authMethod.
  static constexpr const char* no_login = "1";
  static constexpr const char* by_browser = "10";

  const Prefs& prefs_;
  std::string from_;
  Packing& packing_;
  MailAccounts& accounts_;
  std::set<std::string> used_;  // servers for sending
};

}  // namespace

void add_thunderbird_accounts(const Prefs& prefs, const std::string& from, Packing& packing,
                              MailAccounts& accounts) {
  Reader(prefs, from, packing, accounts).add_all();
}

}  // namespace pack
