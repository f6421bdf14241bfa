#include "pack/options.h"

#include <algorithm>

#include "pack/people/people.h"

namespace pack {

namespace {

struct Option {
  const char* name;
  void (*set)(Options& options, const std::string& value);
};

struct Switch {
  const char* name;
  bool Options::*set;
};

// The two sides of "A=B", neither of them empty.
std::pair<std::string, std::string> both_sides(const std::string& option, const std::string& value) {
  const std::size_t equals = value.find('=');
  if (equals == std::string::npos || equals == 0 || equals + 1 == value.size())
    throw UsageError(option + " needs two sides, one=other, and has '" + value + "'");
  return {value.substr(0, equals), value.substr(equals + 1)};
}

void set_login(Options& options, const std::string& value) {
  const auto [old_login, login] = both_sides("--login", value);
  if (!is_login(login)) throw UsageError("'" + login + "' is no login name that useradd takes");
  if (is_login_of_system(login))
    throw UsageError("'" + login + "' is an account of the system itself; a person needs another login name");
  options.logins[old_login] = login;
}

void set_drive(Options& options, const std::string& value) {
  const auto [letter, folder] = both_sides("--drive", value);
  const char upper = static_cast<char>(letter[0] & ~0x20);
  if (letter.size() != 1 || upper < 'A' || upper > 'Z')
    throw UsageError("'" + letter + "' is no drive letter");
  options.drives[upper] = folder;
}

void leave_out(Options& options, const std::string& value) {
  const auto kind = kind_named(value);
  if (!kind) throw UsageError("there is no kind of data '" + value + "'");
  options.without.insert(*kind);
}

void set_charset(Options& options, const std::string& value) {
  options.charset = known_charset(value);
  if (options.charset.empty()) throw UsageError("there is no character set '" + value + "'");
}

constexpr Option options_with_value[] = {
    {"--user", [](Options& options, const std::string& value) { options.users.push_back(value); }},
    {"--login", set_login},
    {"--drive", set_drive},
    {"--without", leave_out},
    {"--charset", set_charset},
};

constexpr Switch switches[] = {
    {"--list", &Options::list},
    {"--estimate", &Options::estimate},
    {"--store", &Options::store},
    {"--help", &Options::help},
};

bool take_switch(Options& options, const std::string& word) {
  const auto* const found = std::ranges::find(switches, word, &Switch::name);
  if (found == std::end(switches)) return false;
  options.*(found->set) = true;
  return true;
}

void take_word(Options& options, const std::string& word) {
  std::string& place = options.source.empty() ? options.source : options.out;
  if (!place.empty()) throw UsageError("'" + word + "' is one word too many");
  if (word.empty()) throw UsageError("a name is empty");
  place = word;
}

void hold_together(const Options& options) {
  if (options.help) return;
  const bool writes = !options.list && !options.estimate;
  if (options.source.empty()) throw UsageError("the disk is missing");
  if (writes && options.out.empty()) throw UsageError("the archive to write is missing");
  if (!writes && !options.out.empty()) throw UsageError("--list and --estimate write no archive");
}

}  // namespace

const char* const usage =
    R"(usage: brindle-pack [options] SOURCE OUT.zip
       brindle-pack --list [options] SOURCE
       brindle-pack --estimate [options] SOURCE

Packs the files of the people on a Windows disk into a migration archive for Brindle. SOURCE is the partition with
Windows (/dev/sdb2), a whole disk (/dev/sdb), an image of either, the folder in which the partition is mounted, or a
copy of it; nothing in it is changed.

  --list               shows who has what; writes nothing
  --estimate           says how large the archive can get; writes nothing
  --user NAME          packs this person only; may be given several times. Everybody is packed without it
  --login OLD=NEW      another login name for the account of a person in an archive of several
  --drive LETTER=DIR   another drive of Windows: its partition, or the folder in which it is mounted
  --without KIND       leaves a kind of data out; may be given several times. Kinds are documents, desktop, pictures,
                       music, videos, downloads, others, shared, accounts, mail, contacts, events, tasks, notes,
                       wallpaper, drives, fonts, printers, bookmarks, cookies and passwords
  --charset NAME       the code page of old programs' texts ("CP1251"), where the disk does not say it
  --store              compresses nothing: faster, and larger
  --help               this text

One person makes an archive for the account that runs Brindle, several make one account each.

Exit status: 0 everything is packed, 1 something is left out, 2 nothing is written.
)";

Options read_options(int count, const char* const* words) {
  Options options;
  for (int i = 1; i < count; ++i) {
    const std::string word = words[i];
    if (take_switch(options, word)) continue;
    const auto* const known = std::ranges::find(options_with_value, word, &Option::name);
    if (known != std::end(options_with_value)) {
      if (++i == count) throw UsageError(word + " needs a value");
      known->set(options, words[i]);
    } else if (word.starts_with('-') && word.size() > 1) {
      throw UsageError("there is no option " + word);
    } else {
      take_word(options, word);
    }
  }
  hold_together(options);
  return options;
}

}  // namespace pack
