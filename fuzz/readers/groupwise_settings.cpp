// GroupWise's settings on their way into a home: the line that names the mailbox, and nothing else.
#include "process/mail/groupwise.h"

#include "support/commands.h"
#include "support/harness.h"

namespace {

constexpr std::string_view mailbox = "<_default reg='sz'>gwremote</_default>";
constexpr std::size_t piece_limit = 1023;

std::string expected(std::string_view text, const std::string& home) {
  std::string result;
  for (const std::string& piece : fuzz::pieces_of(text, piece_limit))
    result +=
        fuzz::contains(piece, mailbox) ? "<_default reg=\"sz\">" + home + "/gwremote</_default>\n" : piece;
  return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::Input input(data, size);
  const auto& [home, root] = fuzz::scene_with({{"Groupwise/.gwuser.xml", input.text()}});
  fuzz::require(groupwise(root.c_str()) == 0, "settings are taken over");
  fuzz::commands_run();
  fuzz::require(fuzz::read_file(home + "/.gwuser.xml") == expected(input.text(), home),
                "all other lines stay");
  return 0;
}
