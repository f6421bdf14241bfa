// Settings of mail programs, browsers and the desktop in a home, as lines.
#include <string>

#include "account/readers/cups.h"
#include "account/readers/kconfig.h"
#include "account/readers/kmailrc.h"
#include "account/readers/mozilla_prefs.h"
#include "account/readers/profiles.h"
#include "support/harness.h"

namespace {

constexpr std::size_t most_growth = 2;  // "\u" and four digits are three bytes

void check(const std::vector<account::MailAccount>& accounts, std::size_t size) {
  fuzz::require(accounts.size() <= size, "an account is named in the text");
  for (const account::MailAccount& account : accounts)
    for (const auto& [field, value] : account)
      fuzz::require(value.size() <= most_growth * size + 16, "a value stands in the text");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(fuzz::Input(data, size).text());
  const std::string& home = fuzz::empty_home();
  const std::string file = home + "/settings";
  fuzz::write_file(file, text);
  check(account::read_kmail_accounts(file), size);
  check(account::read_mozilla_accounts(file), size);
  for (const char* key : {"URL", "Icon", "a"})
    if (const auto value = account::read_kconfig(text, "Desktop Entry", key))
      fuzz::require(value->size() <= size, "a value stands in the text");

  fuzz::write_file(home + "/.cups/lpoptions", text);
  fuzz::require(account::default_printer_in(home).size() <= size, "a default printer stands in the text");

  fuzz::write_file(home + "/firefox/profiles.ini", text);
  fuzz::write_file(home + "/firefox/abc.default/prefs.js", "");
  fuzz::require(account::browser_profile(home + "/firefox").has_value(), "a folder with a profile has one");
  return 0;
}
