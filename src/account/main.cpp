// brindle-account: says in numbers and names what became of everything in a migration archive.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iostream>

#include "account/account.h"
#include "account/archive/charset.h"
#include "account/before/before.h"
#include "account/options.h"
#include "account/people.h"
#include "account/report.h"

namespace {

using namespace account;

int cannot_tell(const std::string& why) {
  std::cerr << "brindle-account: " << why << "\n";
  return static_cast<int>(Verdict::cannot_be_told);
}

// False, with the reason on standard error, when it could not be written to the end.
bool write(const std::string& path, const std::string& content) {
  if (path.empty()) return true;
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << content;
  file.close();
  if (file.fail()) std::cerr << "brindle-account: " << path << " could not be written\n";
  return !file.fail();
}

int look_ahead(const Options& options, const Archive& archive, System system, const Texts& texts) {
  const auto people = people_in(archive, options);
  const auto warnings = foresee({.archive = archive,
                                 .people = people,
                                 .system = system,
                                 .several = is_for_several(archive),
                                 .as_root = getuid() == 0,
                                 .charset = windows_charset(language_code(system)),
                                 .machine = ""});
  const std::string table = table_of_warnings(warnings, texts);
  std::cout << table << std::flush;
  if (!write(options.tsv, table) || !std::cout) return static_cast<int>(Verdict::cannot_be_told);
  const auto is_warning = [](const Warning& warning) { return level_of(warning.what) == Level::warning; };
  return std::ranges::any_of(warnings, is_warning) ? 1 : 0;
}

int run(const Options& options) {
  const System system = options.system.value_or(system_of_machine());
  const std::string language = language_code(system);
  const Texts texts("/usr/local/brindle/" + language);
  const Archive archive(options.archive, dos_charset(language));
  if (options.before) return look_ahead(options, archive, system, texts);
  const auto people = draw_up(archive, options, system);
  std::cout << plain_text(people, texts) << std::flush;
  const bool written =
      write(options.tsv, table_of_counts(people)) && write(options.missing, table_of_missing(people, texts));
  return static_cast<int>(written && std::cout ? verdict_of(people) : Verdict::cannot_be_told);
}

}  // namespace

int main(int count, char** words) {
  try {
    const Options options = read_options(count, words);
    if (options.help) return std::fputs(usage, stdout), 0;
    return run(options);
  } catch (const UsageError& error) {
    return cannot_tell(std::string(error.what()) + "; brindle-account --help tells more");
  } catch (const Unreadable& error) {
    return cannot_tell(std::string("the archive cannot be read: ") + error.what());
  }
}
