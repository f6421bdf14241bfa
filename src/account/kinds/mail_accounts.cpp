#include "account/kinds/mail_accounts.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

#include "account/archive/charset.h"
#include "account/kinds/account_file.h"
#include "account/kinds/entries.h"
#include "account/kinds/mail_places.h"
#include "account/readers/evolution_account.h"
#include "account/readers/gconf.h"
#include "account/readers/kmailrc.h"
#include "account/readers/mozilla_prefs.h"
#include "account/readers/text.h"
#include "process/archive/layout.h"

namespace account {
namespace {

constexpr std::size_t largest_settings_file = 1 << 20;

struct Reason {
  Cause cause;
  std::string detail;
};

const char* words(Field field) {
  switch (field) {
    case Field::name:
      return "its name";
    case Field::display_name:
      return "the sender's name";
    case Field::address:
      return "its address";
    case Field::reply_to:
      return "its reply address";
    case Field::organization:
      return "its organisation";
    case Field::type:
      return "its kind";
    case Field::host:
      return "its incoming server";
    case Field::user:
      return "its login";
    case Field::port:
      return "its port";
    case Field::secure:
      return "its secure connection";
    case Field::keep_on_server:
      return "keeping mail on the server";
    case Field::smtp_host:
      return "its outgoing server";
    case Field::smtp_user:
      return "its outgoing login";
    case Field::smtp_auth:
      return "its outgoing authentication";
    case Field::smtp_secure:
      return "its secure outgoing connection";
  }
  return "";
}

// ---- The archive's accounts -----------------------------------------------------------------------------

struct Archived {
  ArchivedAccount account;
  std::string title;
  bool is_altered = false;  // by the conversion of its text
  bool is_done = false;
};

const std::string& value(const MailAccount& account, Field field) {
  static const std::string none;
  const auto found = account.find(field);
  return found == account.end() ? none : found->second;
}

std::string title_of(const Case& of, const MailAccount& account) {
  const std::string name = readable(value(account, Field::name), of.charset.c_str());
  const std::string address = readable(value(account, Field::address), of.charset.c_str());
  if (name.empty() || address.empty()) return name + address;
  return name + " (" + address + ")";
}

bool is_ascii(std::string_view text) {
  return std::ranges::all_of(text, [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

// KMail's accounts are read as GB2312, whatever they are in.
Archived archived_account(const Case& of, const std::string& text) {
  Archived archived;
  if (has_kmail(of.system)) {
    archived.account = read_account_file(from_gb2312(text), SecondKeys::used);
    archived.is_altered = !is_ascii(text) && (is_utf8(text) || !to_utf8(text, "GB2312"));
  } else {
    archived.account =
        read_account_file(text, has_evolution(of.system) ? SecondKeys::unused : SecondKeys::used);
  }
  archived.title = title_of(of, read_account_file(text, SecondKeys::used).values);
  return archived;
}

// Counts those that cannot be read at once.
std::vector<Archived> archived_accounts(const Case& of, Tally& tally) {
  std::vector<Archived> accounts;
  const std::string folder = of.in_archive(layout::mail_accounts);
  const auto entries = of.archive.below(folder);
  for (const Entry& entry : entries) {
    if (entry.folder || is_overridden(entry, entries)) continue;
    tally.find();
    const std::string name(name_within(entry, folder));
    bool whole = false;
    if (const auto fault = fault_of(entry)) {
      tally.miss(name, *fault);
    } else if (name.find('/') != std::string::npos) {
      tally.miss(name, Cause::folder_left_out);
    } else if (entry.encrypted()) {
      tally.miss(name, Cause::encrypted);
    } else if (const std::string text = of.archive.read(entry, largest_settings_file, &whole); !whole) {
      tally.miss(name, Cause::damaged);
    } else {
      accounts.push_back(archived_account(of, text));
      if (accounts.back().title.empty()) accounts.back().title = name;
    }
  }
  return accounts;
}

// ---- The mail program's accounts ------------------------------------------------------------------------

struct Program {
  std::span<const Field> fields;      // that its format has a place for
  std::vector<MailAccount> accounts;  // that it reads
  std::vector<std::string> refused;   // Evolution's texts that it cannot read
  std::vector<MailAccount> behind;    // and what stands behind the first of them
  std::optional<Reason> unreachable;  // why it has none at all
  bool has_bare_characters = false;   // values are not escaped in its format
  bool is_xml = false;
  bool is_broken = false;  // Evolution's list as a whole
};

constexpr auto evolution_fields =
    std::to_array({Field::name, Field::display_name, Field::address, Field::reply_to, Field::organization,
                   Field::type, Field::host, Field::user, Field::secure, Field::keep_on_server,
                   Field::smtp_host, Field::smtp_user, Field::smtp_auth, Field::smtp_secure});

constexpr auto kmail_fields =
    std::to_array({Field::name, Field::type, Field::host, Field::user, Field::port, Field::secure,
                   Field::keep_on_server, Field::display_name, Field::smtp_host, Field::smtp_secure});

constexpr auto mozilla_fields =
    std::to_array({Field::name, Field::address, Field::reply_to, Field::organization, Field::type,
                   Field::host, Field::user, Field::port, Field::secure, Field::keep_on_server,
                   Field::smtp_host, Field::smtp_user, Field::smtp_secure});

// The accounts up to the first that it cannot read.
void read_list(const std::vector<std::string>& texts, Program& program) {
  for (const std::string& text : texts) {
    const auto account = read_evolution_account(text);
    if (!account) {
      program.refused.push_back(text);
    } else {
      (program.refused.empty() ? program.accounts : program.behind).push_back(*account);
    }
  }
}

Program evolution(const Case& of) {
  Program program;
  program.fields = evolution_fields;
  program.has_bare_characters = program.is_xml = true;
  const auto setting = read_gconf(of.person.home, "/apps/evolution/mail/accounts");
  if (!setting) {
    program.unreachable = {Cause::place_missing, of.target()};
  } else if (setting->damaged) {
    program.unreachable = {Cause::place_unreadable, of.target()};
    program.is_broken = true;
  } else {
    read_list(setting->list(), program);
  }
  return program;
}

bool can_read(const std::string& path) {
  char byte;
  return file_source(path)(std::span(&byte, 1)) == 1;
}

Program of_file(const std::string& path, std::span<const Field> fields,
                std::vector<MailAccount> (*read)(const std::string&)) {
  Program program;
  program.fields = fields;
  program.accounts = read(path);
  if (!can_read(path)) program.unreachable = {Cause::place_missing, path};
  return program;
}

Program program_of(const Case& of) {
  if (has_evolution(of.system)) return evolution(of);
  if (has_kmail(of.system)) return of_file(of.target(), kmail_fields, read_kmail_accounts);
  const std::string profile = mozilla_profile(of);
  Program program =
      of_file((profile.empty() ? of.target() : profile) + "/prefs.js", mozilla_fields, read_mozilla_accounts);
  program.has_bare_characters = true;
  return program;
}

// ---- Comparing ------------------------------------------------------------------------------------------

std::string_view trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(" \t\r");
  return begin == std::string_view::npos ? ""
                                         : text.substr(begin, text.find_last_not_of(" \t\r") - begin + 1);
}

bool agree(const Case& of, Field field, const std::string& wanted, const std::string& there) {
  if (wanted == there) return true;
  // Deliberate: part of the format. Without a port every account has that of POP3.
  if (field == Field::port && wanted.empty()) return there == "110";
  if (has_kmail(of.system) && trimmed(wanted) == there) return true;
  return !is_utf8(wanted) && readable(wanted, of.charset.c_str()) == there;
}

// The first value that differs.
std::optional<Field> difference(const Case& of, const Program& program, const MailAccount& wanted,
                                const MailAccount& there) {
  for (const Field field : program.fields)
    if (!agree(of, field, value(wanted, field), value(there, field))) return field;
  return std::nullopt;
}

bool take(const Case& of, const Program& program, const MailAccount& wanted, std::vector<MailAccount>& from) {
  const auto found = std::ranges::find_if(
      from, [&](const MailAccount& there) { return !difference(of, program, wanted, there); });
  if (found == from.end()) return false;
  from.erase(found);
  return true;
}

// Evolution takes the usual port of a kind of account.
bool has_usual_port(const MailAccount& account) {
  const std::string& port = value(account, Field::port);
  const bool imap = value(account, Field::type) == "imap", secure = value(account, Field::secure) == "yes";
  if (port.empty()) return true;
  return port == (imap ? (secure ? "993" : "143") : (secure ? "995" : "110"));
}

// True when the program's format has no place for something that the file says.
bool leaves_out(const Program& program, const ArchivedAccount& archived) {
  if (!archived.left_aside.empty()) return true;
  for (const auto& [field, text] : archived.values) {
    if (std::ranges::find(program.fields, field) != program.fields.end()) continue;
    const bool says_nothing = text.empty() || text == "no" || field == Field::smtp_user ||
                              (field == Field::port && has_usual_port(archived.values)) ||
                              (field == Field::display_name && text == value(archived.values, Field::name));
    if (!says_nothing) return true;
  }
  return false;
}

std::optional<Reason> loss(const Program& program, const ArchivedAccount& archived) {
  for (const Field field : program.fields)
    if (const auto found = archived.losses.find(field); found != archived.losses.end())
      return Reason{found->second == Loss::cut ? Cause::value_cut : Cause::value_hidden, words(field)};
  return std::nullopt;
}

// True for a reference like "&amp;" or "&#252;" at the begin of `text`.
bool is_reference(std::string_view text) {
  const std::string_view name =
      text.substr(1, text.find(';') == std::string_view::npos ? 0 : text.find(';') - 1);
  if (name.starts_with('#'))
    return name.size() > 1 && name.find_first_not_of("0123456789abcdefABCDEFx", 1) == std::string_view::npos;
  return name == "amp" || name == "lt" || name == "gt" || name == "quot" || name == "apos";
}

// Where in the value of an attribute or an element an XML reader stops, if it does.
std::size_t fault_in_xml(std::string_view text, bool is_attribute) {
  for (std::size_t place = 0; place < text.size(); ++place) {
    if (text[place] == '<' || (text[place] == '"' && is_attribute)) return place;
    if (text[place] == '&' && !is_reference(text.substr(place))) return place;
  }
  return std::string_view::npos;
}

// Where a text in quotes ends too early, or is without an end.
std::size_t fault_in_quotes(std::string_view text) {
  const std::size_t quote = text.find('"');
  return quote == std::string_view::npos && text.ends_with('\\') ? text.size() - 1 : quote;
}

// The first value with a character that the program cannot read where it stands: "`&` in its organisation".
std::string bare_character(const Program& program, const MailAccount& account) {
  for (const Field field : program.fields) {
    const std::string& text = value(account, field);
    const std::size_t place =
        program.is_xml ? fault_in_xml(text, field == Field::name) : fault_in_quotes(text);
    if (place != std::string::npos) return std::string("`") + text[place] + "` in " + words(field);
  }
  return {};
}

// The name of the account that the XML text is of, however broken.
std::string name_in(const Case& of, std::string_view text) {
  const std::string_view before = "<account name=\"", behind = "\" uid=";
  const std::size_t begin = text.find(before);
  if (begin == std::string_view::npos) return {};
  text.remove_prefix(begin + before.size());
  return readable(text.substr(0, text.find(behind)), of.charset.c_str());
}

// A difference to the account that is most like it, by its name or by its server and login.
std::optional<Field> nearest_difference(const Case& of, const Program& program, const MailAccount& wanted) {
  for (const MailAccount& there : program.accounts) {
    const auto same = [&](Field field) {
      return agree(of, field, value(wanted, field), value(there, field));
    };
    if (same(Field::name) || (same(Field::host) && same(Field::user)))
      return difference(of, program, wanted, there);
  }
  return std::nullopt;
}

// Why the program cannot read the account, if it cannot.
std::optional<Reason> refusal(const Case& of, const Program& program, const MailAccount& wanted) {
  const std::string bare = bare_character(program, wanted);
  if (!program.is_xml && bare.empty()) return std::nullopt;
  if (!program.is_xml) return Reason{Cause::mozilla_refuses, bare};
  const std::string name = readable(value(wanted, Field::name), of.charset.c_str());
  const bool is_refused = std::ranges::any_of(
      program.refused, [&](const std::string& text) { return name_in(of, text) == name; });
  if (!bare.empty() && (is_refused || program.is_broken)) return Reason{Cause::evolution_refuses, bare};
  if (is_refused) return Reason{Cause::evolution_refuses, "characters"};
  return std::nullopt;
}

Reason reason_of(const Case& of, Program& program, const Archived& archived) {
  const MailAccount& wanted = archived.account.values;
  if (program.has_bare_characters)
    if (auto refused = refusal(of, program, wanted)) return *refused;
  if (program.unreachable) return *program.unreachable;
  if (take(of, program, wanted, program.behind))
    return {Cause::evolution_stops, name_in(of, program.refused.front())};
  if (const auto field = nearest_difference(of, program, wanted))
    return {Cause::value_differs, words(*field)};
  return {Cause::not_there, {}};
}

// One account that breaks the file is why GConf has nothing of the others.
void name_the_breaker(Program& program, std::span<const Archived> accounts) {
  for (const Archived& archived : accounts) {
    if (bare_character(program, archived.account.values).empty()) continue;
    program.unreachable = {Cause::evolution_stops, archived.title};
    return;
  }
}

}  // namespace

void compare_mail_accounts(const Case& of, Tally& tally) {
  std::vector<Archived> accounts = archived_accounts(of, tally);
  Program program = program_of(of);
  if (program.is_broken) name_the_breaker(program, accounts);
  for (Archived& archived : accounts) {
    if (program.unreachable || loss(program, archived.account)) continue;
    archived.is_done = take(of, program, archived.account.values, program.accounts);
    if (!archived.is_done) continue;
    if (archived.is_altered || leaves_out(program, archived.account)) {
      tally.arrive_changed();
    } else {
      tally.arrive_unchanged();
    }
  }
  for (const Archived& archived : accounts) {
    if (archived.is_done) continue;
    const auto lost = loss(program, archived.account);
    const Reason reason = lost ? *lost : reason_of(of, program, archived);
    tally.miss(archived.title, reason.cause, reason.detail);
  }
}

}  // namespace account
