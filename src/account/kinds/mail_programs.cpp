#include "account/kinds/mail_programs.h"

#include <array>
#include <string_view>

#include "account/archive/charset.h"
#include "account/kinds/evolution_3.h"
#include "account/kinds/mail_places.h"
#include "account/model/texts.h"
#include "account/readers/evolution_account.h"
#include "account/readers/gconf.h"
#include "account/readers/kmailrc.h"
#include "account/readers/mozilla_prefs.h"
#include "account/readers/text.h"

namespace account {
namespace {

// ---- Reading --------------------------------------------------------------------------------------------

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

// The name of the account that the XML text is of, however broken.
std::string name_in(std::string_view xml, const char* charset) {
  const std::string_view before = "<account name=\"", behind = "\" uid=";
  const std::size_t begin = xml.find(before);
  if (begin == std::string_view::npos) return {};
  xml.remove_prefix(begin + before.size());
  return readable(xml.substr(0, xml.find(behind)), charset);
}

MailProgram evolution(const Case& of) {
  MailProgram program = {.format = MailFormat::evolution, .fields = evolution_fields};
  const auto setting = read_gconf(of.person.home, "/apps/evolution/mail/accounts");
  if (!setting) program.unreachable = {Cause::place_missing, of.target()};
  // It empties the list when it takes over what stands there.
  if (!setting || (!setting->damaged && setting->list().empty()))
    if (const auto reason = taken_over(of, Kind::mail_accounts)) program.unreachable = reason;
  if (!setting) return program;
  if (setting->damaged) program.unreachable = {Cause::place_unreadable, of.target()};
  program.is_broken = setting->damaged;
  for (const std::string& text : setting->list()) {
    const auto account = read_evolution_account(text);
    if (!account) program.refused.push_back(name_in(text, of.charset.c_str()));
    // Evolution reads its list no further than to one that it cannot read.
    if (account) (program.refused.empty() ? program.accounts : program.behind).push_back(*account);
  }
  return program;
}

bool can_read(const std::string& path) {
  char byte;
  return file_source(path)(std::span(&byte, 1)) == 1;
}

std::optional<Reason> missing_file(const std::string& path) {
  if (can_read(path)) return std::nullopt;
  return Reason{Cause::place_missing, path};
}

MailProgram kmail(const Case& of) {
  MailProgram program = {.format = MailFormat::kmail, .fields = kmail_fields};
  program.accounts = read_kmail_accounts(of.target());
  program.unreachable = missing_file(of.target());
  return program;
}

MailProgram mozilla(const Case& of) {
  MailProgram program = {.format = MailFormat::mozilla, .fields = mozilla_fields};
  const std::string profile = mozilla_profile(of);
  const std::string file = (profile.empty() ? of.target() : profile) + "/prefs.js";
  program.accounts = read_mozilla_accounts(file);
  program.unreachable = missing_file(file);
  return program;
}

// ---- Bare characters ------------------------------------------------------------------------------------

// True for a reference like "&amp;" or "&#252;" at the begin of `text`.
bool is_reference(std::string_view text) {
  const std::size_t end = text.find(';');
  if (end == std::string_view::npos) return false;
  const std::string_view name = text.substr(1, end - 1);
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

std::size_t fault_in(MailFormat format, Field field, std::string_view text) {
  if (format == MailFormat::evolution) return fault_in_xml(text, field == Field::name);
  return format == MailFormat::mozilla ? fault_in_quotes(text) : std::string_view::npos;
}

}  // namespace

MailProgram mail_program(const Case& of) {
  if (has_evolution(of.system)) return evolution(of);
  return has_kmail(of.system) ? kmail(of) : mozilla(of);
}

std::string words(Field field) {
  switch (field) {
#define FIELD(name) \
  case Field::name: \
    return mark_of(Text::field_##name);
#include "account/readers/mail_account.def"
#undef FIELD
  }
  return "";
}

std::string bare_character(const MailProgram& program, const MailAccount& account) {
  for (const Field field : program.fields) {
    const std::string& text = value(account, field);
    const std::size_t place = fault_in(program.format, field, text);
    if (place != std::string::npos)
      return std::string("`") + text[place] + "` " + mark_of(Text::word_in) + " " + words(field);
  }
  return {};
}

}  // namespace account
