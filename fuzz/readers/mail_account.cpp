// The settings of one mail account.
#include "process/mail/account.h"

#include "shell/files.h"
#include "support/commands.h"
#include "support/harness.h"
#include "system/windows_text.h"

namespace {

constexpr const char* locales[] = {"C", "de_DE.UTF-8", "zh_CN", "zh_TW", "ja_JP", "vi_VN", "th_TH", "ru_RU"};
constexpr std::size_t line_limit = 127;
constexpr std::size_t most_bytes_for_one = 12;  // a byte of Vietnamese becomes a letter with two accents

void check(const MailAccount& account) {
  for (const std::string* text :
       {&account.name, &account.display_name, &account.address, &account.reply_to, &account.organization,
        &account.host, &account.user, &account.port, &account.smtp_host}) {
    fuzz::require(is_utf8(*text), "a text of an account is UTF-8");
    fuzz::require(text->find_first_of(std::string("\n\0", 2)) == std::string::npos,
                  "a text of an account holds neither a line end nor a NUL");
    fuzz::require(text->size() <= most_bytes_for_one * line_limit,
                  "a text does not grow when it is converted");
  }
  fuzz::require(!account.port.empty(), "an account has a port");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::Input input(data, size);
  const std::string file = fuzz::empty_home() + "/account.txt";
  fuzz::write_file(file, input.text());
  convert_line_ends(file);
  fuzz::commands_run();
  for (const Fallbacks fallbacks : {Fallbacks::none, Fallbacks::second}) {
    const auto account = read_account(file, fallbacks, locales[input.choice(std::size(locales))]);
    fuzz::require(account.has_value(), "any file is the file of an account");
    check(*account);
  }
  return 0;
}
