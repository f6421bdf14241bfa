#include "pack/mail/internet_account.h"

#include <algorithm>
#include <charconv>

#include "pack/xml/xml.h"

namespace pack {

namespace {

// For "SMTP Use Sicily".
constexpr const char* no_login = "0";

bool is_set(const std::string& number) { return !number.empty() && number != "0"; }

// Numbers are written in hexadecimal digits.
std::string decimal(const std::string& digits) {
  unsigned number = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number, 16);
  return error == std::errc() && stop == end ? std::to_string(number) : "";
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
  return {.account = MailAccount{.is_imap = is_imap,
                                 .name = value("Account Name"),
                                 .full_name = value("SMTP Display Name"),
                                 .address = value("SMTP Email Address"),
                                 .reply_address = value("SMTP Reply To Email Address"),
                                 .organization = value("SMTP Organization Name"),
                                 .server = server,
                                 .user = value(protocol + " User Name"),
                                 .port = value(protocol + " Port"),
                                 .is_secure = is_set(value(protocol + " Secure Connection")),
                                 .leaves_on_server = is_set(value("Leave Mail On Server")),
                                 .smtp_server = value("SMTP Server"),
                                 .smtp_wants_login = !login.empty() && login != no_login,
                                 .smtp_is_secure = is_set(value("SMTP Secure Connection"))}};
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
