// brindle-account: says in numbers and names what became of everything in a migration archive.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <span>

#include "account/account.h"
#include "account/archive/charset.h"
#include "account/before/before.h"
#include "account/forecast.h"
#include "account/new_file.h"
#include "account/note.h"
#include "account/options.h"
#include "account/page.h"
#include "account/people.h"
#include "account/replaced.h"
#include "account/report.h"
#include "process/archive/layout.h"

namespace {

using namespace account;

int cannot_tell(const std::string& why) {
  std::cerr << "brindle-account: " << why << "\n";
  return static_cast<int>(Verdict::cannot_be_told);
}

bool complain_of(const std::string& path) {
  std::cerr << "brindle-account: " << path << " could not be written: " << std::strerror(errno) << "\n";
  return false;
}

// False, with the reason on standard error, when it could not be written to the end.
template <typename Write>
bool write_table(const std::string& path, Write write) {
  if (path.empty()) return true;
  errno = 0;
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  write(file);
  file.close();
  return !file.fail() || complain_of(path);
}

bool write_page_to(const std::string& path, const Account& account, const Texts& texts,
                   const std::string& language) {
  if (path.empty()) return true;
  NewFile file(path);
  write_page(file.stream(), account, texts, language);
  return file.commit() || complain_of(path);
}

RunNote take_note(Options& options, Account& account) {
  RunNote note = read_note(options.archive.empty() ? usual_note() : options.archive);
  account.ending = note.ending;
  account.begun = note.begun;
  options.archive = note.archive;
  if (!options.system) options.system = note.system;
  options.login = note.people.front().login;
  options.home = note.people.front().home;
  for (const RunNote::Somebody& person : std::span(note.people).subspan(1))
    if (!names_home_of(options, person.login)) options.homes.try_emplace(person.login, person.home);
  account.of_family = note.people.size() > 1;
  account.replaced = replaced_in(note);
  return note;
}

bool write_all(const Options& options, const Account& account, const Texts& texts,
               const std::string& language) {
  write_plain_text(std::cout, account, texts);
  std::cout << std::flush;
  bool written = static_cast<bool>(std::cout);
  written &= write_table(options.tsv, [&](std::ostream& out) { write_table_of_counts(out, account.people); });
  written &= write_table(options.missing,
                         [&](std::ostream& out) { write_table_of_missing(out, account.people, texts); });
  written &= write_table(options.replaced,
                         [&](std::ostream& out) { write_table_of_replaced(out, account.replaced); });
  written &= write_page_to(options.html, account, texts, language);
  return written;
}

int look_ahead(const Options& options, const Archive& archive, System system, const Texts& texts) {
  const bool several = is_for_several(archive);
  auto people = people_in(archive, options);
  if (!several) people.resize(1);  // nobody else is moved
  const auto warnings = foresee({.archive = archive,
                                 .people = people,
                                 .system = system,
                                 .several = several,
                                 .as_root = getuid() == 0,
                                 .charset = windows_charset(language_of_windows(system)),
                                 .machine = ""});
  write_forecast(std::cout, archive.path(), draw_up(archive, options, system), warnings, texts);
  std::cout << std::flush;
  const bool written =
      write_table(options.tsv, [&](std::ostream& out) { out << table_of_warnings(warnings, texts); });
  if (!written || !std::cout) return static_cast<int>(Verdict::cannot_be_told);
  const auto is_warning = [](const Warning& warning) { return level_of(warning.what) == Level::warning; };
  return std::ranges::any_of(warnings, is_warning) ? 1 : 0;
}

int run(Options options) {
  Account account;
  RunNote note;
  if (options.of_note) note = take_note(options, account);
  const System system = options.system.value_or(system_of_machine());
  const std::string language = language_code(system);
  const Texts texts("/usr/local/brindle/" + language);
  account.archive = options.archive;
  try {
    const Archive archive(options.archive, dos_charset(language_of_windows(system)));
    if (options.before) return look_ahead(options, archive, system, texts);
    account.has_root = archive.has(layout::root);
    account.people = draw_up(archive, options, system);
    account.disk = disk_counts_in(archive);
    take_accounts_before(account.people, note.people);
  } catch (const Unreadable& error) {
    // Said as well where it is looked for: what an earlier run has left there would be taken for this one's.
    account.fault = error.what();
    if (!options.before) write_all(options, account, texts, language);
    throw;
  }
  const bool written = write_all(options, account, texts, language);
  return static_cast<int>(written ? verdict_of(account) : Verdict::cannot_be_told);
}

}  // namespace

int main(int count, char** words) {
  try {
    const Options options = read_options(count, words);
    if (options.help) return std::fputs(usage, stdout), 0;
    return run(options);
  } catch (const UsageError& error) {
    return cannot_tell(std::string(error.what()) + "; brindle-account --help tells more");
  } catch (const NoNote& error) {
    return cannot_tell(error.what());
  } catch (const Unreadable& error) {
    return cannot_tell(std::string("the archive cannot be read: ") + error.what());
  }
}
