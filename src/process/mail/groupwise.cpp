#include "process/mail/groupwise.h"

#include <string>
#include <string_view>

#include "process/archive/layout.h"
#include "shell/files.h"
#include "shell/fill.h"
#include "shell/home.h"
#include "shell/pieces.h"
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

// `to` is only opened, and so emptied, once its copy `from` could be.
void write_settings(const std::string& from, const std::string& to, const std::string& home) {
  const File in = open_file(from, "r");
  const File out = in ? open_file(to, "w") : nullptr;
  if (!out) return;
  PieceReader reader(in.get(), line_limit);
  std::string_view line;
  while (reader.next(line)) write_text(out, pointed_to_home(line, home));
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
  write_settings(copy, settings, target.home);
  SYSTEM(compose("cp -a %s %s/", settings, target.home));
  SYSTEM(compose("cp -a %s/%s %s", folder, layout::groupwise_mailbox, target.home));
  return 0;
}
