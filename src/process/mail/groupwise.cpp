#include "process/mail/groupwise.h"

#include <cstdio>
#include <string>
#include <string_view>

#include "keep/keep.h"
#include "process/archive/layout.h"
#include "process/mail/old_file.h"
#include "shell/files.h"
#include "shell/fill.h"
#include "shell/home.h"
#include "shell/pieces.h"
#include "shell/replace.h"
#include "shell/run.h"
#include "system/target.h"

namespace {

// Deliberate: part of the output. A longer line comes in pieces, and each is judged as a line of its own.
constexpr std::size_t line_limit = 1023;

// In both lines below the name stands in the text.
static_assert(std::string_view(layout::groupwise_mailbox) == "gwremote");

constexpr std::string_view relative_mailbox = "<_default reg='sz'>gwremote</_default>";

// Deliberate: part of the output. In double quotes, where the line it takes the place of has single ones, and
// without that line's indentation.
constexpr const char* mailbox_in_home = R"(<_default reg="sz">@home@/gwremote</_default>
)";

std::string pointed_to_home(std::string_view line, const std::string& home) {
  const bool names_mailbox = line.find(relative_mailbox) != line.npos;
  return names_mailbox ? fill(mailbox_in_home, {{"home", home}}) : std::string(line);
}

// False when `to` stays as it was: its copy `from` is not whole, or there is no room.
bool rewrite_settings(const std::string& from, const std::string& to, const std::string& home) {
  const File in = same_content(from, to) ? open_file(from, "r") : nullptr;
  if (!in) return false;
  PieceReader reader(in.get(), line_limit);
  std::string text;
  std::string_view line;
  while (reader.next(line)) text += pointed_to_home(line, home);
  return replace_file(to, text);
}

// The old file stays unless the new one is whole.
void copy_settings(const std::string& settings, const std::string& home) {
  const std::string own = home + "/" + layout::groupwise_settings;
  OldFile old = OldFile::copy_of(own);
  if (!old.is_safe()) return;
  SYSTEM(compose("cp -a %s %s/", settings, home));
  if (!same_content(settings, own)) old.put_back();
}

}  // namespace

int groupwise(const char* args) {
  const Target target = target_of(args);
  const std::string folder = target.root + "/" + layout::groupwise;
  if (is_folder(folder.c_str(), layout::groupwise_settings) == 0) return 0;
  const std::string settings = folder + "/" + layout::groupwise_settings;
  const std::string copy = folder + "/.gwusertemp.xml";
  SYSTEM(compose("cp %s %s", settings, copy));
  trace_home(target.home);
  if (target.home.empty()) return 0;
  if (!rewrite_settings(copy, settings, target.home))
    std::fprintf(stderr, "Could not be pointed to the mailbox in the home: %s\n", settings.c_str());
  if (!keep::before_change(target.home + "/" + layout::groupwise_settings)) return 0;
  const std::string mailbox = std::string("/") + layout::groupwise_mailbox;
  if (!keep::before_copy_as(folder + mailbox, target.home + mailbox)) return 0;
  copy_settings(settings, target.home);
  SYSTEM(compose("cp -a %s/%s %s", folder, layout::groupwise_mailbox, target.home));
  return 0;
}
