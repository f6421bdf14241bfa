#include "pack/mail/internet_account.h"

#include <algorithm>
#include <charconv>

#include "pack/xml/xml.h"

namespace pack {

namespace {

// For "SMTP Use Sicily": the kinds of login for sending.
constexpr const char* no_login = "0";
constexpr const char* login_by_spa = "1";
constexpr const char* login_as_for_reading = "2";

bool is_set(const std::string& number) { return !number.empty() && number != "0"; }

// Numbers are written in hexadecimal digits.
std::string decimal(const std::string& digits) {
  unsigned number = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number, 16);
  return error == std::errc() && stop == end ? std::to_string(number) : "";
}

// Another kind than the one from the start begins after a plain start. Both are packed as the former, which
// sends nothing in the clear.
Encryption encryption_of(const std::string& kind) {
  if (!is_set(kind)) return Encryption::none;
  return kind == "1" ? Encryption::from_the_start : Encryption::after_a_plain_start;
}

void note_lost(const AccountValue& value, const std::string& protocol, MailAccount& account) {
  if (encryption_of(value(protocol + " Secure Connection")) == Encryption::after_a_plain_start)
    account.lost.push_back("STARTTLS for " + account.server);
  if (is_set(value(protocol + " Use Sicily"))) account.lost.push_back("SPA for " + account.server);
  const std::string login = value("SMTP Use Sicily");
  note_lost_sending(account, encryption_of(value("SMTP Secure Connection")),
                    is_set(value("SMTP Port")) ? value("SMTP Port") : "",
                    login == login_as_for_reading ? "" : value("SMTP User Name"));
  if (login == login_by_spa && !account.smtp_server.empty())
    account.lost.push_back("SPA for " + account.smtp_server);
}

}  // namespace

InternetAccount internet_account(const AccountValue& value) {
  const bool is_imap = !value("IMAP Server").empty();
  const std::string protocol = is_imap ? "IMAP" : "POP3";
  const std::string server = value(protocol + " Server");
  if (server.empty())
    return {.account = {},
            .is_other_mail = !value("HTTPMail Server").empty() || !value("NNTP Server").empty()};
  const std::string login = value("SMTP Use Sicily");
  MailAccount account{.is_imap = is_imap,
                      .name = value("Account Name"),
                      .full_name = value("SMTP Display Name"),
                      .address = value("SMTP Email Address"),
                      .reply_address = value("SMTP Reply To Email Address"),
                      .organization = value("SMTP Organization Name"),
                      .server = server,
                      .user = value(protocol + " User Name"),
                      .port = is_set(value(protocol + " Port")) ? value(protocol + " Port") : "",
                      .is_secure = is_set(value(protocol + " Secure Connection")),
                      .leaves_on_server = is_set(value("Leave Mail On Server")),
                      .smtp_server = value("SMTP Server"),
                      .smtp_wants_login = !login.empty() && login != no_login,
                      .smtp_is_secure = is_set(value("SMTP Secure Connection"))};
  note_lost(value, protocol, account);
  return {.account = std::move(account)};
}

std::optional<InternetAccount> account_in(std::string_view oeaccount) {
  const auto top = read_xml(oeaccount);
  if (!top || top->name != "MessageAccount") return std::nullopt;
  return internet_account([&](std::string name) {
    std::ranges::replace(name, ' ', '_');
    const XmlElement* const found = top->child(name);
    if (found == nullptr) return std::string();
    return found->attribute("type") == "DWORD" ? decimal(found->text) : found->text;
  });
}

}  // namespace pack
