// Cookies on their way to the browser: a dot before each, and nothing else.
#include "account/readers/cookies.h"

#include "process/desktop/browser.h"
#include "support/commands.h"
#include "support/harness.h"

namespace {

// Without the dots that were put before cookies, by the rule that comments and empty lines get none.
std::string widened(const std::string& text) {
  std::string result;
  bool at_line_start = true;
  for (const char c : text) {
    if (at_line_start && c != '#' && c != '\n') result += '.';
    result += c;
    at_line_start = c == '\n';
  }
  return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::Input input(data, size);
  const auto& [home, root] = fuzz::scene_with({{"Cookies.txt", input.text()}});
  for (const char* browser : {"/.mozilla/firefox/", "/.mozilla/default/"})
    fuzz::write_file(home + browser + "profile/cookies.txt", "mine");
  fuzz::require(cookies(root.c_str()) == 0, "cookies are taken over");
  fuzz::commands_run();

  std::string found;
  for (const char* browser : {"/.mozilla/firefox/", "/.mozilla/default/"}) {
    const std::string text = fuzz::read_file(home + browser + "profile/cookies.txt").value_or("");
    if (text != "mine") found = text;
  }
  const std::string plain = fuzz::with_plain_line_ends(input.text());
  fuzz::require(found == widened(plain) || plain == "mine",
                "each cookie gets one dot, and all else is as it was");
  fuzz::require(account::read_cookies(found).size() <=
                    account::read_cookies(plain).size() + fuzz::count_of(plain, "\n") + 1,
                "no cookie is added");
  return 0;
}
