#include "account/kinds/mail_accounts.h"

#include <algorithm>
#include <array>
#include <span>
#include <vector>

#include "account/archive/charset.h"
#include "account/kinds/account_file.h"
#include "account/kinds/entries.h"
#include "account/kinds/mail_programs.h"
#include "account/kinds/personal.h"
#include "process/archive/layout.h"

namespace account {
namespace {

constexpr std::size_t largest_settings_file = 1 << 20;

// ---- The archive's accounts -----------------------------------------------------------------------------

struct Archived {
  ArchivedAccount account;
  MailAccount written;  // before its text is converted
  std::string title;
  bool is_all_utf8 = false;
  bool is_done = false;
};

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
  } else {
    archived.account =
        read_account_file(text, has_evolution(of.system) ? SecondKeys::unused : SecondKeys::used);
  }
  archived.written = read_account_file(text, SecondKeys::used).values;
  archived.is_all_utf8 = is_utf8(text);
  archived.title = title_of(of, archived.written);
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
  // The wizard reads such a value in the character set of its language, whatever letters a person would see
  // in it.
  return readable(wanted, of.charset.c_str()) == there || to_utf8(wanted, of.charset.c_str()) == there;
}

// The first value that differs.
std::optional<Field> difference(const Case& of, const MailProgram& program, const MailAccount& wanted,
                                const MailAccount& there) {
  for (const Field field : program.fields)
    if (!agree(of, field, value(wanted, field), value(there, field))) return field;
  return std::nullopt;
}

bool take(const Case& of, const MailProgram& program, const MailAccount& wanted,
          std::vector<MailAccount>& from) {
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
bool leaves_out(const MailProgram& program, const ArchivedAccount& archived) {
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

// True when letters that the program has a place for are moved as others.
bool is_mistaken(const MailProgram& program, const Archived& archived) {
  return program.format == MailFormat::kmail && std::ranges::any_of(program.fields, [&](Field field) {
           const std::string& text = value(archived.written, field);
           return !is_ascii(text) && (archived.is_all_utf8 || !to_utf8(text, Letters::taken_for));
         });
}

std::optional<Reason> loss(const MailProgram& program, const ArchivedAccount& archived) {
  for (const Field field : program.fields)
    if (const auto found = archived.losses.find(field); found != archived.losses.end())
      return Reason{found->second == Loss::cut ? Cause::value_cut : Cause::value_hidden, words(field)};
  return std::nullopt;
}

// A difference to the account that is most like it, by its name or by its server and login.
std::optional<Field> nearest_difference(const Case& of, const MailProgram& program,
                                        const MailAccount& wanted) {
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
std::optional<Reason> refusal(const Case& of, const MailProgram& program, const MailAccount& wanted) {
  const std::string bare = bare_character(program, wanted);
  if (program.format == MailFormat::mozilla && !bare.empty()) return Reason{Cause::mozilla_refuses, bare};
  const std::string name = readable(value(wanted, Field::name), of.charset.c_str());
  const bool is_refused = std::ranges::find(program.refused, name) != program.refused.end();
  if (!is_refused && (!program.is_broken || bare.empty())) return std::nullopt;
  return Reason{Cause::evolution_refuses, bare.empty() ? mark_of(Text::characters) : bare};
}

// Evolution's addresses are LOGIN@SERVER: the sign of the login that ends it too early. Empty for a
// difference that this does not explain.
std::string misread_sign(const MailProgram& program, const MailAccount& wanted, Field different) {
  constexpr std::array addressed = {Field::host, Field::user, Field::smtp_host, Field::smtp_user};
  const std::string& login = value(wanted, Field::user);
  const std::size_t place = login.find_first_of("@/");
  if (program.format != MailFormat::evolution || place == std::string::npos ||
      std::ranges::find(addressed, different) == addressed.end())
    return "";
  return std::string("`") + login[place] + "`";
}

Reason reason_of(const Case& of, MailProgram& program, const Archived& archived) {
  const MailAccount& wanted = archived.account.values;
  if (const auto refused = refusal(of, program, wanted)) return *refused;
  if (program.unreachable) return *program.unreachable;
  if (take(of, program, wanted, program.behind)) return {Cause::evolution_stops, program.refused.front()};
  const auto field = nearest_difference(of, program, wanted);
  if (!field) return {Cause::not_there, {}};
  const std::string sign = misread_sign(program, wanted, *field);
  if (!sign.empty()) return {Cause::login_misread, sign};
  return {Cause::value_differs, words(*field)};
}

// One account that breaks the file is why GConf has nothing of the others.
void name_the_breaker(MailProgram& program, std::span<const Archived> accounts) {
  for (const Archived& archived : accounts) {
    if (bare_character(program, archived.account.values).empty()) continue;
    program.unreachable = {Cause::evolution_stops, archived.title};
    return;
  }
}

}  // namespace

void compare_mail_accounts(const Case& of, Tally& tally) {
  std::vector<Archived> accounts = archived_accounts(of, tally);
  MailProgram program = mail_program(of);
  if (program.is_broken) name_the_breaker(program, accounts);
  for (Archived& archived : accounts) {
    if (program.unreachable || loss(program, archived.account)) continue;
    const bool mistaken = is_mistaken(program, archived);
    // Somebody may have corrected the letters since.
    const bool is_right = mistaken && take(of, program, archived.written, program.accounts);
    archived.is_done = is_right || take(of, program, archived.account.values, program.accounts);
    if (!archived.is_done) continue;
    if (mistaken && !is_right) {
      tally.miss(archived.title, Cause::other_letters, Letters::taken_for);
    } else if (leaves_out(program, archived.account)) {
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
