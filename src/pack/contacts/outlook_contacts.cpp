#include "pack/contacts/outlook_contacts.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <optional>
#include <set>

#include "pack/disk/bytes.h"
#include "pack/disk/utc.h"
#include "pack/outlook/outlook.h"
#include "pack/outlook/plain_text.h"
#include "pack/outlook/times.h"

namespace pack {

namespace {

struct Line {
  const char* property;
  std::uint16_t id;
};
constexpr std::array numbers{Line{"TEL;TYPE=WORK;TYPE=VOICE", 0x3A08},
                             Line{"TEL;TYPE=WORK;TYPE=VOICE", 0x3A1B},
                             Line{"TEL;TYPE=HOME;TYPE=VOICE", 0x3A09},
                             Line{"TEL;TYPE=HOME;TYPE=VOICE", 0x3A2F},
                             Line{"TEL;TYPE=CELL", 0x3A1C},
                             Line{"TEL;TYPE=WORK;TYPE=FAX", 0x3A24},
                             Line{"TEL;TYPE=HOME;TYPE=FAX", 0x3A25},
                             Line{"TEL;TYPE=FAX", 0x3A23},
                             Line{"TEL;TYPE=PAGER", 0x3A21},
                             Line{"TEL;TYPE=PREF;TYPE=VOICE", 0x3A1A},
                             Line{"TEL;TYPE=VOICE", 0x3A1F},
                             Line{"TEL;TYPE=WORK;TYPE=VOICE", 0x3A57},
                             Line{"TEL;TYPE=VOICE", 0x3A02},
                             Line{"TEL;TYPE=VOICE", 0x3A1E},
                             Line{"TEL;TYPE=VOICE", 0x3A1D},
                             Line{"TEL;TYPE=VOICE", 0x3A2D},
                             Line{"TEL;TYPE=VOICE", 0x3A2E},
                             Line{"TEL;TYPE=VOICE", 0x3A4B}};

// Box, street, city, state, code, country.
using Address = std::array<std::uint16_t, 6>;
using Parts = std::array<std::string, 6>;
constexpr Address home{0x3A5E, 0x3A5D, 0x3A59, 0x3A5C, 0x3A5B, 0x3A5A};
constexpr Address other{0x3A64, 0x3A63, 0x3A5F, 0x3A62, 0x3A61, 0x3A60};
constexpr Address postal{0x3A2B, 0x3A29, 0x3A27, 0x3A28, 0x3A2A, 0x3A26};
constexpr std::array<std::uint32_t, 6> work{0x804A, 0x8045, 0x8046, 0x8047, 0x8048, 0x8049};  // of a set

bool is_nowhere(const Parts& parts) { return std::ranges::all_of(parts, &std::string::empty); }

// One that Outlook could not take apart stands in one piece.
Parts parts_of(const Properties& contact, const Address& ids, std::uint16_t in_one_piece) {
  constexpr std::size_t street = 1;
  Parts parts;
  std::ranges::transform(ids, parts.begin(), [&](std::uint16_t id) { return contact.text(id); });
  if (is_nowhere(parts)) parts.at(street) = contact.text(in_one_piece);
  return parts;
}

void add_place(Vcard& card, const char* type, const Parts& parts) {
  const auto& [box, street, city, state, code, country] = parts;
  card.add(std::string("ADR;TYPE=") + type,
           std::vector{box, std::string(), street, city, state, code, country});
}

// Whether one says nothing else than another.
bool is_in(const Parts& one, const Parts& whole) {
  return std::ranges::equal(one, whole, [](const std::string& part, const std::string& same) {
    return part.empty() || part == same;
  });
}

// The one for mail is most often a copy of one of the others.
void add_places(Vcard& card, Store& store, const Properties& contact) {
  constexpr std::uint16_t postal_in_one_piece = 0x3A15;
  const auto of_set = [&](std::uint32_t number) { return store.id_of(PropertySet::contact, number); };
  Address work_ids{};
  std::ranges::transform(work, work_ids.begin(), of_set);
  const Parts at_home = parts_of(contact, home, of_set(0x801A));
  const Parts at_work = parts_of(contact, work_ids, of_set(0x801B));
  const Parts elsewhere = parts_of(contact, other, of_set(0x801C));
  const Parts for_mail = parts_of(contact, postal, postal_in_one_piece);
  const bool is_copy = is_in(for_mail, at_home) || is_in(for_mail, at_work) || is_in(for_mail, elsewhere);
  const bool is_at_work = is_nowhere(at_work) && !is_copy;
  add_place(card, "HOME", at_home);
  add_place(card, "WORK", is_at_work ? for_mail : at_work);
  add_place(card, "OTHER", elsewhere);
  if (!is_copy && !is_at_work) card.drop("Mailing address");
}

bool is_address(const std::string& text) { return text.find('@') != std::string::npos; }

// Of three, each with the address and what Outlook shows for it, which is the address where the other is
// Exchange's; and one that other programs write.
void add_addresses(Vcard& card, Store& store, const Properties& contact) {
  constexpr std::array<std::uint32_t, 3> first_ids{0x8080, 0x8090, 0x80A0};
  constexpr std::uint16_t plain_address = 0x3003;
  std::set<std::string> known;
  const auto add = [&](const std::string& address) {
    if (known.insert(address).second) card.add("EMAIL;TYPE=INTERNET", address);
  };
  for (const std::uint32_t first : first_ids) {
    const auto text = [&](std::uint32_t number) {
      return contact.text(store.id_of(PropertySet::contact, first + number));
    };
    const std::array texts{text(3), text(4), text(0)};
    const auto address = std::ranges::find_if(texts, is_address);
    if (address != texts.end()) {
      add(*address);
    } else if (!text(3).empty()) {
      card.drop("E-mail address without \"@\"");
    }
  }
  if (const std::string address = contact.text(plain_address); is_address(address)) add(address);
}

// No value of a day that is not given, which stands there as one in the year 4501.
std::optional<std::uint64_t> time_said(std::optional<std::uint64_t> time) {
  constexpr std::uint64_t none = 0x0CB34557A3DD4000;
  return time && *time != none && *time != 0 ? time : std::nullopt;
}

// The day is kept as its first moment where the person was, by the clock of UTC: at most half a day from
// there.
std::string birthday(Store& store, const Properties& contact) {
  constexpr std::uint16_t by_utc = 0x3A42;
  constexpr std::uint32_t by_the_wall = 0x80DE;
  constexpr std::int64_t half_a_day = 43200;
  const auto on_wall = contact.time(store.id_of(PropertySet::contact, by_the_wall));
  const auto time = time_said(on_wall ? on_wall : contact.time(by_utc));
  if (!time) return "";
  const std::tm parts = utc_parts(unix_time(*time) + (on_wall ? 0 : half_a_day));
  char text[48];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d", parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday);
  return text;
}

// ---- What has no place

struct Field {
  const char* name;  // in Outlook
  std::uint32_t id;
};
constexpr std::array fields{Field{"Account", 0x3A00},
                            Field{"Government ID number", 0x3A07},
                            Field{"Language", 0x3A0C},
                            Field{"Location", 0x3A0D},
                            Field{"Organizational ID number", 0x3A10},
                            Field{"Telex", 0x3A2C},
                            Field{"Assistant's name", 0x3A30},
                            Field{"Anniversary", 0x3A41},
                            Field{"Hobbies", 0x3A43},
                            Field{"Referred by", 0x3A47},
                            Field{"Spouse", 0x3A48},
                            Field{"Computer network name", 0x3A49},
                            Field{"Customer ID", 0x3A4A},
                            Field{"FTP site", 0x3A4C},
                            Field{"Gender", 0x3A4D},
                            Field{"Manager's name", 0x3A4E},
                            Field{"Children", 0x3A58},
                            Field{"Certificates", 0x3A70},
                            Field{"Private", 0x0036},
                            Field{"Follow up", 0x1090}};
constexpr std::array fields_of_contacts{
    Field{"Phonetic name", 0x802C}, Field{"Phonetic name", 0x802D}, Field{"Phonetic company", 0x802E},
    Field{"User field 1", 0x804F},  Field{"User field 2", 0x8050},  Field{"User field 3", 0x8051},
    Field{"User field 4", 0x8052},  Field{"IM address", 0x8062},    Field{"Free/busy address", 0x80D8}};
constexpr std::array fields_of_all{Field{"Reminder", 0x8503}, Field{"Mileage", 0x8534},
                                   Field{"Billing information", 0x8535}, Field{"Companies", 0x8539},
                                   Field{"Linked contacts", 0x853A}};

bool says_something(const Properties& contact, std::uint16_t id) {
  if (!contact.has(id)) return false;
  if (const auto number = contact.number(id)) return *number != 0;
  const Form form = contact.form(id);
  if (form == Form::time) return time_said(contact.time(id)).has_value();
  const auto bytes = contact.bytes(id);
  if (bytes && (form == Form::text || form == Form::bytes_text)) return !contact.text(id).empty();
  return !bytes || bytes->find_first_not_of('\0') != std::string::npos;
}

// Fields that somebody has made: their number stands behind a version.
bool has_own_fields(Store& store, const Properties& contact) {
  constexpr std::uint32_t definitions = 0x8540;
  const auto bytes = contact.bytes(store.id_of(PropertySet::common, definitions));
  return bytes && long_at(*bytes, 2) > 0;
}

void drop_rest(Vcard& card, Store& store, const Properties& contact) {
  for (const auto& [name, id] : fields)
    if (says_something(contact, static_cast<std::uint16_t>(id))) card.drop(name);
  for (const auto& [name, id] : fields_of_contacts)
    if (says_something(contact, store.id_of(PropertySet::contact, id))) card.drop(name);
  for (const auto& [name, id] : fields_of_all)
    if (says_something(contact, store.id_of(PropertySet::common, id))) card.drop(name);
  if (has_own_fields(store, contact)) card.drop("Fields of one's own");
  // What people choose themselves; otherwise Outlook makes it of the name.
  constexpr std::uint32_t file_as = 0x8005;
  constexpr std::uint32_t file_as_kind = 0x8006;
  constexpr std::int32_t chosen = -1;
  if (contact.number(store.id_of(PropertySet::contact, file_as_kind)) == chosen &&
      says_something(contact, store.id_of(PropertySet::contact, file_as)))
    card.drop("File as");
}

Vcard card_of(Store& store, const Properties& contact) {
  const auto text = [&](std::uint16_t id) { return contact.text(id); };
  const auto text_of_set = [&](std::uint32_t number) {
    return contact.text(store.id_of(PropertySet::contact, number));
  };
  Vcard card;
  card.add("FN", text(0x3001));
  card.add("N", std::vector{text(0x3A11), text(0x3A06), text(0x3A44), text(0x3A45), text(0x3A05)});
  card.add("NICKNAME", text(0x3A4F));
  add_addresses(card, store, contact);
  for (const auto& [property, id] : numbers) card.add(property, text(id));
  add_places(card, store, contact);
  card.add("ORG", std::vector{text(0x3A16), text(0x3A18), text(0x3A19)});
  card.add("TITLE", text(0x3A17));
  card.add("ROLE", text(0x3A46));
  std::string shown_page;
  for (const std::string& page : {text_of_set(0x802B), text(0x3A51), text(0x3A50)}) {
    if (shown_page.empty()) shown_page = page;
    if (!page.empty() && page != shown_page) card.drop("Second web page");
  }
  card.add("URL", shown_page);
  card.add("BDAY", birthday(store, contact));
  const PlainText notes = plain_text_of(contact);
  card.add("NOTE", notes.text);
  if (!notes.is_whole) card.drop("Notes");
  card.add_list("CATEGORIES", contact.texts(store.id_of(PropertySet::strings, "Keywords")));
  drop_rest(card, store, contact);
  return card;
}

}  // namespace

void each_outlook_contact(Packing& packing, const Machine& machine, const Person& person, const Hive* hive,
                          const std::function<void(const Vcard& card, const std::string& from)>& take) {
  constexpr std::array kinds{Kind::contacts};
  each_outlook_item(packing, machine, person, hive, kinds,
                    [&](Store& store, ItemKind kind, const Properties& item, const std::string& from) {
                      if (kind == ItemKind::list_of_contacts) {
                        packing.leave_out(Kind::contacts, Cause::no_place, from + ": " + item.text(0x3001));
                        return false;
                      }
                      const Vcard card = card_of(store, item);
                      take(card, from);
                      const bool has_picture = item.has_attachments();
                      if (has_picture)
                        packing.tell_of(Kind::contacts, Cause::no_place,
                                        from + ": picture of " + item.text(0x3001));
                      return card.dropped().empty() && !has_picture;
                    });
}

}  // namespace pack
