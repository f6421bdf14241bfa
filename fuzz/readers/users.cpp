// users.txt: whether an archive is for several people, and who its default user is.
#include <cstdlib>

#include "process/run/accounts.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::Input input(data, size);
  const std::string root = fuzz::scene_with({{"users.txt", input.text()}}).archive;
  isMultiUser = 2;
  fuzz::require(CheckMultiUser(root.c_str()) == 0, "the file can be closed");
  fuzz::commands_run();
  fuzz::require(isMultiUser == 0 || isMultiUser == 1, "an archive is for one person or for several");
  const std::string plain = fuzz::with_plain_line_ends(input.text());
  if (!fuzz::contains(plain, "MultiUser Migration"))
    fuzz::require(isMultiUser == 1, "a file without the line means several users");
  if (default_user != nullptr)
    fuzz::require(fuzz::contains(plain, "Default") && !fuzz::contains(default_user, "\n"),
                  "the default user is the value of its line");
  return 0;
}
