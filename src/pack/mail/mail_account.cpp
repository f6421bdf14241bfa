#include "pack/mail/mail_account.h"

#include <glib.h>

#include <algorithm>
#include <cstdio>

#include "process/archive/layout.h"

namespace pack {

namespace {

// Lines are read in pieces of so many bytes, the end included.
constexpr std::size_t longest_line = 126;

std::size_t room_behind(std::string_view key) { return longest_line - key.size() - 3; }

std::string line(std::string_view key, std::string value) {
  std::ranges::replace_if(
      value, [](char c) { return c == '\r' || c == '\n' || c == '\0'; }, ' ');
  if (value.size() > room_behind(key)) {
    value.resize(room_behind(key));
    // Not within a character.
    const char* end = nullptr;
    if (g_utf8_validate(value.data(), static_cast<gssize>(value.size()), &end) == FALSE)
      value.resize(static_cast<std::size_t>(end - value.data()));
  }
  return std::string(key) + "=" + value + "\r\n";
}

std::string flag(std::string_view key, bool is_set, const char* yes = "1") {
  return line(key, is_set ? yes : "0");
}

/// A text of an account: its key, and what people call it.
struct Text {
  std::string key;
  std::string MailAccount::*value;
  const char* called;
};

// What a person has typed stands last: a name may hold the text of a key, and would hide the lines behind it.
std::vector<Text> texts_of(const MailAccount& account) {
  const std::string protocol = account.is_imap ? "IMAP" : "POP3";
  return {{protocol + " Server", &MailAccount::server, "the server"},
          {"SMTP Server", &MailAccount::smtp_server, "the server for sending"},
          {protocol + " User Name", &MailAccount::user, "the login"},
          {"SMTP Email Address", &MailAccount::address, "the address"},
          {"SMTP Reply To Email Address", &MailAccount::reply_address, "the address for answers"},
          {"SMTP Organization Name", &MailAccount::organization, "the organisation"},
          {"SMTP Display Name", &MailAccount::full_name, "the sender's name"},
          {"Account Name", &MailAccount::name, "the account's name"}};
}

}  // namespace

std::string usual_port(bool is_imap, Encryption encryption) {
  if (encryption == Encryption::from_the_start) return is_imap ? "993" : "995";
  return is_imap ? "143" : "110";
}

std::string usual_smtp_port(Encryption encryption) {
  if (encryption == Encryption::from_the_start) return "465";
  return encryption == Encryption::none ? "25" : "587";
}

void note_lost_sending(MailAccount& account, Encryption encryption, const std::string& port,
                       const std::string& user) {
  if (account.smtp_server.empty()) return;
  const std::string at = " for " + account.smtp_server;
  if (encryption == Encryption::after_a_plain_start) {
    account.lost.push_back("STARTTLS" + (port.empty() ? "" : " and port " + port) + at);
  } else if (!port.empty() && port != usual_smtp_port(encryption)) {
    account.lost.push_back("port " + port + at);
  }
  if (account.smtp_wants_login && !user.empty() && user != account.user)
    account.lost.push_back("the login " + user + at);
}

std::string account_file(const MailAccount& account) {
  const std::string protocol = account.is_imap ? "IMAP" : "POP3";
  std::string text = flag(protocol + " Secure Connection", account.is_secure) +
                     flag(protocol + " Prompt for Password", false) +
                     flag("Leave Mail On Server", account.leaves_on_server) +
                     flag("SMTP Secure Connection", account.smtp_is_secure) +
                     flag("SMTP Use Sicily", account.smtp_wants_login, "2") +
                     flag("SMTP Prompt for Password", false);
  // A run takes a port that is missing for that of POP3, of whatever account it is.
  const auto encryption = account.is_secure ? Encryption::from_the_start : Encryption::none;
  text +=
      line(protocol + " Port", account.port.empty() ? usual_port(account.is_imap, encryption) : account.port);
  for (const auto& [key, value, called] : texts_of(account)) text += line(key, account.*value);
  return text;
}

void MailAccounts::add(const MailAccount& account, const std::string& from) {
  const std::string protocol = account.is_imap ? "IMAP" : "POP3";
  if (!known_.insert(protocol + "\n" + account.server + "\n" + account.user + "\n" + account.address).second)
    return packing_.leave_out(Kind::accounts, Cause::there_already, from);
  packing_.add_folder(layout::mail);
  packing_.add_folder(layout::mail_accounts);
  char name[16];
  std::snprintf(name, sizeof name, "%08zu.txt", known_.size());
  packing_.add_text(Kind::accounts, std::string(layout::mail_accounts) + "/" + name, account_file(account));
  const auto tell = [&](const std::string& lost) {
    packing_.tell_of(Kind::accounts, Cause::partly_kept, from + ": " + account.name + ": " + lost);
  };
  for (const std::string& lost : account.lost) tell(lost);
  for (const auto& [key, value, called] : texts_of(account))
    if ((account.*value).size() > room_behind(key)) tell(std::string("the end of ") + called);
}

}  // namespace pack
