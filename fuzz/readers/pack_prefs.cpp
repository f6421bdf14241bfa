// The settings of Mozilla's programs on a Windows disk.
#include "pack/mail/prefs.h"
#include "support/harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(fuzz::Input(data, size).text());
  const pack::Prefs prefs = pack::read_prefs(text);
  fuzz::require(prefs.size() <= fuzz::count_of(text, "user_pref("), "a setting stands in its line");
  std::size_t bytes = 0;
  for (const auto& [name, value] : prefs) bytes += name.size() + value.size();
  fuzz::require(bytes <= 8 * size + 1024, "settings do not grow");
  const pack::Prefs more = pack::read_prefs(text + "\nuser_pref(\"one.more\", \"a\\\"b\");\r\n");
  fuzz::require(pack::pref(more, "one.more") == "a\"b", "a line is read whatever stands in front of it");
  fuzz::require(more.size() == prefs.size() + (prefs.contains("one.more") ? 0 : 1),
                "and what stands in front of it as before");
  return 0;
}
