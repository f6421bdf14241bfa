// Descriptions of mail accounts of Windows Mail.
#include "pack/mail/internet_account.h"
#include "support/harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto found = pack::account_in(fuzz::Input(data, size).text());
  if (!found || !found->account) return 0;
  const pack::MailAccount& account = *found->account;
  fuzz::require(!found->is_other_mail && !account.server.empty(), "an account has a server");
  const std::string text = pack::account_file(account);
  std::string_view rest = text;
  while (!rest.empty()) {
    const std::size_t end = rest.find("\r\n");
    fuzz::require(end != std::string_view::npos && end + 2 <= 126, "a line is short enough to be read whole");
    fuzz::require(rest.substr(0, end).find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos,
                  "and one line");
    rest.remove_prefix(end + 2);
  }
  return 0;
}
