#include "pack/outlook/message.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <span>
#include <utility>

#include "pack/disk/bytes.h"
#include "pack/outlook/charsets.h"
#include "pack/outlook/compressed_rtf.h"
#include "pack/outlook/mime.h"
#include "pack/outlook/recipients.h"
#include "pack/outlook/times.h"

namespace pack {

namespace {

constexpr int deepest = 8;  // messages in messages
constexpr int marked = 2;   // of a message that is to be answered or done

namespace id {
constexpr std::uint16_t importance = 0x0017;
constexpr std::uint16_t message_class = 0x001A;
constexpr std::uint16_t reply_until = 0x0030;
constexpr std::uint16_t sensitivity = 0x0036;
constexpr std::uint16_t sent_at = 0x0039;
constexpr std::uint16_t for_name = 0x0042;
constexpr std::uint16_t reply_names = 0x0050;
constexpr std::uint16_t for_address = 0x0065;
constexpr std::uint16_t headers = 0x007D;
constexpr std::uint16_t sender_name = 0x0C1A;
constexpr std::uint16_t sender_address = 0x0C1F;
constexpr std::uint16_t shown_to = 0x0E04;
constexpr std::uint16_t shown_cc = 0x0E03;
constexpr std::uint16_t shown_bcc = 0x0E02;
constexpr std::uint16_t came_at = 0x0E06;
constexpr std::uint16_t flags = 0x0E07;
constexpr std::uint16_t body = 0x1000;
constexpr std::uint16_t report = 0x1001;
constexpr std::uint16_t rtf = 0x1009;
constexpr std::uint16_t html = 0x1013;
constexpr std::uint16_t message_id = 0x1035;
constexpr std::uint16_t references = 0x1039;
constexpr std::uint16_t in_reply_to = 0x1042;
constexpr std::uint16_t last_answer = 0x1081;
constexpr std::uint16_t flag_status = 0x1090;
constexpr std::uint16_t display_name = 0x3001;
constexpr std::uint16_t made_at = 0x3007;
constexpr std::uint16_t search_key = 0x300B;
constexpr std::uint16_t data = 0x3701;
constexpr std::uint16_t short_name = 0x3704;
constexpr std::uint16_t method = 0x3705;
constexpr std::uint16_t long_name = 0x3707;
constexpr std::uint16_t path = 0x3708;
constexpr std::uint16_t long_path = 0x370D;
constexpr std::uint16_t media_type = 0x370E;
constexpr std::uint16_t content_id = 0x3712;
constexpr std::uint16_t internet_code_page = 0x3FDE;
constexpr std::uint16_t sender_smtp = 0x5D01;
constexpr std::uint16_t for_smtp = 0x5D02;
}  // namespace id

// ---- Addresses

struct Recipients {
  std::array<std::string, 3> lists;  // To, Cc, Bcc

  void add(std::size_t kind, const std::string& mailbox) {
    if (!lists.at(kind).empty()) lists.at(kind) += ",\n ";
    lists.at(kind) += mailbox;
  }
};

// "Ann Lee; bob@home.example", as Outlook shows it.
void add_shown(Recipients& recipients, std::size_t kind, const std::string& names) {
  for (std::size_t begin = 0; begin < names.size();) {
    const std::size_t end = std::min(names.find(';', begin), names.size());
    std::string name = names.substr(begin, end - begin);
    begin = end + 1;
    const auto is_around = [](char c) { return c == ' ' || c == '\''; };
    while (!name.empty() && is_around(name.front())) name.erase(0, 1);
    while (!name.empty() && is_around(name.back())) name.pop_back();
    if (!name.empty()) recipients.add(kind, mailbox(name, address_of({name})));
  }
}

Recipients lists_of(Blocks& blocks, const Properties& message, bool* is_whole) {
  Recipients lists;
  for (const Recipient& recipient : recipients_of(blocks, message, is_whole))
    lists.add(static_cast<std::size_t>(recipient.kind - 1), mailbox(recipient.name, recipient.address));
  const std::array shown{id::shown_to, id::shown_cc, id::shown_bcc};
  for (std::size_t kind = 0; kind < shown.size(); ++kind)
    if (lists.lists.at(kind).empty()) add_shown(lists, kind, message.text(shown.at(kind)));
  return lists;
}

// ---- The header

struct Field {
  std::string name;
  std::string value;  // with its folds
};

bool is_field_name(std::string_view text) {
  return !text.empty() && std::ranges::all_of(text, [](char c) { return c > ' ' && c < '\x7f'; });
}

// Those with which the message came; lines that are none are passed over.
std::vector<Field> fields_of(std::string_view text) {
  std::vector<Field> fields;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    while (line.ends_with('\r')) line.remove_suffix(1);
    if (line.find('\r') != std::string_view::npos) continue;  // the end of one that is none
    const bool is_folded = line.starts_with(' ') || line.starts_with('\t');
    if (line.find_first_not_of(" \t") == std::string_view::npos) {
      if (is_folded || fields.empty()) continue;
      break;
    }
    if (is_folded && !fields.empty()) {
      fields.back().value += "\n" + std::string(line);
      continue;
    }
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos || !is_field_name(line.substr(0, colon))) continue;
    const std::size_t begin = std::min(line.find_first_not_of(" \t", colon + 1), line.size());
    fields.push_back({.name = std::string(line.substr(0, colon)), .value = std::string(line.substr(begin))});
  }
  return fields;
}

bool begins(std::string_view text, std::string_view with) {
  return is_same_name(text.substr(0, with.size()), with);
}

// Of the form in which the message came, not of the one that it has now.
bool is_stale(std::string_view name) {
  return begins(name, "Content-") || begins(name, "X-Mozilla-") || is_same_name(name, "MIME-Version");
}

std::optional<std::int64_t> date_of(const Properties& message) {
  for (const std::uint16_t property : {id::sent_at, id::came_at, id::made_at})
    if (const auto time = message.time(property); time && *time != 0) return unix_time(*time);
  return std::nullopt;
}

class Header {
 public:
  explicit Header(const Properties& message) : fields_(fields_of(message.text(id::headers))) {
    for (const Field& field : fields_)
      if (!is_stale(field.name)) text_ += raw_field(field.name, field.value);
  }

  bool has(std::string_view name) const {
    return std::ranges::any_of(fields_, [&](const Field& field) { return is_same_name(field.name, name); });
  }
  // What the header has already stays as it is.
  void add(const char* name, const std::string& value) {
    if (!value.empty() && !has(name)) text_ += raw_field(name, value);
  }
  void add_text(const char* name, const std::string& value) {
    if (!value.empty() && !has(name)) text_ += text_field(name, value);
  }
  // Beside one of that name with other words.
  void add_another(const char* name, const std::string& value) {
    const bool is_there = std::ranges::any_of(
        fields_, [&](const Field& field) { return is_same_name(field.name, name) && field.value == value; });
    if (!value.empty() && !is_there) text_ += text_field(name, value);
  }
  bool came_with_one() const { return !fields_.empty(); }
  const std::string& text() const { return text_; }

 private:
  std::vector<Field> fields_;
  std::string text_;
};

void add_sender(Header& header, const Properties& message) {
  const std::string by =
      mailbox(message.text(id::sender_name),
              address_of({message.text(id::sender_smtp), message.text(id::sender_address)}));
  const bool has_other = message.has(id::for_address) || message.has(id::for_smtp);
  const std::string from =
      has_other ? mailbox(message.text(id::for_name),
                          address_of({message.text(id::for_smtp), message.text(id::for_address)}))
                : by;
  const bool is_known = has_other || message.has(id::sender_address) || message.has(id::sender_name);
  if (is_known) header.add("From", from);
  if (message.has(id::sender_address) && by.substr(by.rfind('<')) != from.substr(from.rfind('<')))
    header.add("Sender", by);
}

std::string on_one_line(std::string text) {
  std::ranges::replace_if(
      text, [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
  return text;
}

// What its owner has noted on it: categories, and until when something is to be done.
void add_notes(Header& header, Store& store, const Properties& message) {
  constexpr std::array<const char*, 4> sensitivities{"", "Personal", "Private", "Company-Confidential"};
  const auto sensitivity = static_cast<std::size_t>(message.number(id::sensitivity).value_or(0));
  if (sensitivity < sensitivities.size()) header.add("Sensitivity", sensitivities.at(sensitivity));
  std::string categories;
  for (const std::string& one : message.texts(store.id_of(PropertySet::strings, "Keywords")))
    categories += (categories.empty() ? "" : ", ") + one;
  header.add_another("Keywords", categories);
  if (message.number(id::flag_status) != marked) return;
  constexpr std::uint32_t flag_text = 0x8530;
  constexpr std::uint32_t due = 0x8105;
  header.add_text("X-Message-Flag", message.text(store.id_of(PropertySet::common, flag_text)));
  for (const std::uint16_t property : {store.id_of(PropertySet::task, due), id::reply_until})
    if (const auto time = message.time(property); time && *time != 0)
      return header.add("Reply-By", date_in_mail(unix_time(*time)));
}

std::string header_of(Store& store, const Properties& message, bool* is_whole) {
  Header header(message);
  const bool came_with_one = header.came_with_one();
  if (!came_with_one || !header.has("From")) add_sender(header, message);
  const Recipients recipients = lists_of(store.blocks(), message, is_whole);
  const bool has_recipients = header.has("To") || header.has("Cc");
  if (!has_recipients) {
    header.add("To", recipients.lists[0]);
    header.add("Cc", recipients.lists[1]);
  }
  header.add("Bcc", recipients.lists[2]);
  header.add_text("Subject", message.subject());
  if (const auto date = date_of(message)) header.add("Date", date_in_mail(*date));
  header.add("Message-ID", on_one_line(message.text(id::message_id)));
  if (const auto key = message.bytes(id::search_key, 256); key && !message.has(id::message_id))
    header.add("Message-ID", key->empty() ? "" : "<" + hex(*key) + "@outlook.invalid>");
  add_notes(header, store, message);
  if (came_with_one) return header.text();
  header.add("In-Reply-To", on_one_line(message.text(id::in_reply_to)));
  header.add("References", on_one_line(message.text(id::references)));
  Recipients reply;
  add_shown(reply, 0, message.text(id::reply_names));
  if (reply.lists[0].find(".invalid>") == std::string::npos) header.add("Reply-To", reply.lists[0]);
  constexpr int high = 2;
  const int importance = message.number(id::importance).value_or(1);
  if (importance != 1) header.add("Importance", importance == high ? "high" : "low");
  return header.text();
}

// ---- What it is

// A class, or one that is made of it.
bool is_of(const Properties& item, std::string_view message_class) {
  const std::string own = item.text(id::message_class);
  return is_same_name(own.substr(0, message_class.size()), message_class) &&
         (own.size() == message_class.size() || own[message_class.size()] == '.');
}

// Invitations, tasks and contacts that were sent have more than mail does: times, places, numbers.
bool has_the_class_of_mail(const Properties& item) {
  return item.text(id::message_class).empty() || is_of(item, "IPM.Note") || is_of(item, "IPM.Post") ||
         is_of(item, "REPORT");
}

// Of what such an item has beside the fields of mail, that which people look for first, a line each.
std::string facts_of(Store& store, const Properties& item) {
  struct Fact {
    const char* name;
    std::optional<PropertySet> set;  // in which its number is; else that is the property's
    std::uint16_t number;
  };
  constexpr auto appointment = PropertySet::appointment;
  constexpr auto contact = PropertySet::contact;
  constexpr std::array facts{
      Fact{"Start", appointment, 0x820D},       Fact{"End", appointment, 0x820E},
      Fact{"Location", appointment, 0x8208},    Fact{"Due", PropertySet::task, 0x8105},
      Fact{"E-mail", contact, 0x8083},          Fact{"E-mail 2", contact, 0x8093},
      Fact{"E-mail 3", contact, 0x80A3},        Fact{"Mobile phone", std::nullopt, 0x3A1C},
      Fact{"Home phone", std::nullopt, 0x3A09}, Fact{"Business phone", std::nullopt, 0x3A08},
      Fact{"Company", std::nullopt, 0x3A16},    Fact{"Home address", contact, 0x801A},
      Fact{"Business address", contact, 0x801B}};
  std::string text;
  for (const auto& [name, set, number] : facts) {
    const std::uint16_t property = set ? store.id_of(*set, number) : number;
    const auto time = item.time(property);
    const std::string value = time ? date_in_mail(unix_time(*time)) : on_one_line(item.text(property));
    if (!value.empty()) text += std::string(name) + ": " + value + "\n";
  }
  return text;
}

// ---- The body

// One part of a message, its head without the empty line behind it.
struct Part {
  std::string head;
  std::function<void(const Writer& write)> write;
};

class Body {
 public:
  /// `is_whole` becomes false when something cannot be read, `is_mail` when something is there that mail does
  /// not have.
  Body(Store& store, bool* is_whole, bool* is_mail) : store_(store), is_whole_(is_whole), is_mail_(is_mail) {}

  Part part_of(const std::shared_ptr<const Properties>& message, int depth);

 private:
  using Message = std::shared_ptr<const Properties>;
  using Parts = std::vector<Part>;

  std::string next_boundary();
  Part joined(const std::string& type, Parts parts);
  static Part of_text(const std::string& type, const std::string& charset, std::string text);
  Part of_bytes(const std::string& head, const Message& owner, std::uint16_t property);
  Part of_utf16(const std::string& type, const Message& owner, std::uint16_t property);
  std::optional<Part> text(const Message& message, std::uint16_t property);
  std::optional<Part> html(const Message& message);
  std::optional<Part> rtf(const Message& message);
  Parts forms_of(const Message& message);
  std::vector<Message> attachments_of(const Message& message);
  std::optional<Part> sealed(const Message& message, const Message& attachment, bool has_text);
  std::optional<Part> entity(const Message& message, const Message& attachment);
  Part attachment(const Message& attachment, int depth);
  Part message_within(const NodeBlocks& node, const std::string& disposition, std::uint32_t code_page,
                      int depth);

  Store& store_;
  bool* is_whole_;
  bool* is_mail_;
  int boundaries_ = 0;
};

// In no text: "=_" makes one be encoded.
std::string Body::next_boundary() {
  char text[32];
  std::snprintf(text, sizeof text, "=_brindle_%06d_=", ++boundaries_);
  return text;
}

Part Body::joined(const std::string& type, Parts parts) {
  const std::string boundary = next_boundary();
  return {.head = "Content-Type: multipart/" + type + ";\n boundary=\"" + boundary + "\"\n",
          .write = [boundary, all = std::move(parts)](const Writer& write) {
            for (const Part& part : all) {
              write("--" + boundary + "\n" + part.head + "\n");
              part.write(write);
              write("\n");
            }
            write("--" + boundary + "--\n");
          }};
}

// Quoted-printable can be read as it is; of a long text in letters that are none of ASCII it makes thrice as
// much.
bool is_shorter_in_base64(std::string_view text) {
  constexpr std::size_t short_text = 4096;
  const auto is_quoted = [](char c) {
    return c == '=' || c >= '\x7f' || (c < ' ' && c != '\n' && c != '\t');
  };
  return text.size() > short_text &&
         static_cast<std::size_t>(std::ranges::count_if(text, is_quoted)) > text.size() / 3;
}

Part Body::of_text(const std::string& type, const std::string& charset, std::string text) {
  std::erase(text, '\r');
  const bool is_plain_text = is_plain(text);
  if (is_shorter_in_base64(text))
    return {
        .head = "Content-Type: " + type + "; charset=" + charset + "\nContent-Transfer-Encoding: base64\n",
        .write = [body = std::move(text)](const Writer& write) {
          Base64 base64(write);
          base64.take(body);
          base64.finish();
        }};
  return {.head = "Content-Type: " + type + "; charset=" + charset +
                  "\nContent-Transfer-Encoding: " + (is_plain_text ? "7bit" : "quoted-printable") + "\n",
          .write = [is_plain_text, body = std::move(text)](const Writer& write) {
            if (!is_plain_text) return write_quoted_printable(body, write);
            if (!body.empty()) write(body);
            if (!body.ends_with('\n')) write("\n");
          }};
}

Part Body::of_bytes(const std::string& head, const Message& owner, std::uint16_t property) {
  return {.head = head + "Content-Transfer-Encoding: base64\n",
          .write = [owner, property, is_whole = is_whole_](const Writer& write) {
            Base64 base64(write);
            *is_whole &= owner->each(property, [&](std::string_view bytes) { base64.take(bytes); });
            base64.finish();
          }};
}

// Mail has no texts in UTF-16. A piece ends before a pair whose other half comes with the next one.
Part Body::of_utf16(const std::string& type, const Message& owner, std::uint16_t property) {
  return {.head = "Content-Type: " + type + "; charset=utf-8\nContent-Transfer-Encoding: base64\n",
          .write = [owner, property, is_whole = is_whole_](const Writer& write) {
            Base64 base64(write);
            std::string rest;
            *is_whole &= owner->each(property, [&](std::string_view bytes) {
              rest += bytes;
              std::size_t end = rest.size() / 2 * 2;
              const auto is_high = [](char c) { return (static_cast<unsigned char>(c) & 0xFC) == 0xD8; };
              if (end >= 2 && is_high(rest[end - 1])) end -= 2;
              base64.take(text_of_utf16(std::string_view(rest).substr(0, end)));
              rest.erase(0, end);
            });
            base64.take(text_of_utf16(rest));
            base64.finish();
          }};
}

std::string known_charset(std::uint32_t code_page) {
  std::string charset = charset_of(code_page);
  return charset.empty() ? "windows-1252" : charset;
}

// Those in a code page that is not known are read as Western.
bool has_unknown_letters(const Properties& message) {
  if (has_code_page(message.code_page())) return false;
  constexpr std::uint16_t subject = 0x0037;
  constexpr std::array texts{subject,      id::sender_name, id::for_name, id::shown_to,
                             id::shown_cc, id::body,        id::report};
  return std::ranges::any_of(texts, [&](std::uint16_t property) {
    if (message.form(property) != Form::bytes_text) return false;
    bool is_ascii = true;
    message.each(property, [&](std::string_view bytes) {
      is_ascii &= std::ranges::all_of(bytes, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    });
    return !is_ascii;
  });
}

// One that does not fit into memory, or is damaged, goes by as it is.
std::optional<Part> Body::text(const Message& message, std::uint16_t property) {
  if (!message->has(property)) return std::nullopt;
  const auto bytes = message->bytes(property);
  const bool is_utf16 = message->form(property) == Form::text;
  if (bytes && bytes->empty()) return std::nullopt;
  if (bytes) return of_text("text/plain", "utf-8", message->text(property));
  if (is_utf16) return of_utf16("text/plain", message, property);
  return of_bytes("Content-Type: text/plain; charset=" + known_charset(message->code_page()) + "\n", message,
                  property);
}

std::optional<Part> Body::html(const Message& message) {
  if (!message->has(id::html)) return std::nullopt;
  const auto bytes = message->bytes(id::html);
  if (bytes && bytes->empty()) return std::nullopt;
  constexpr std::uint32_t utf16 = 1200;
  const auto page = static_cast<std::uint32_t>(message->number(id::internet_code_page).value_or(0));
  const bool is_utf16 = message->form(id::html) == Form::text || page == utf16;
  if (!bytes) {
    if (is_utf16) return of_utf16("text/html", message, id::html);
    if (page != 0 && charset_of(page).empty()) *is_whole_ = false;
    return of_bytes("Content-Type: text/html; charset=" + known_charset(page) + "\n", message, id::html);
  }
  if (is_utf16) return of_text("text/html", "utf-8", text_of_utf16(*bytes));
  if (const std::string charset = charset_of(page); !charset.empty())
    return of_text("text/html", charset, *bytes);
  if (has_code_page(page)) return of_text("text/html", "utf-8", text_of_code_page(*bytes, page));
  if (is_utf8(*bytes)) return of_text("text/html", "utf-8", *bytes);
  if (page != 0) *is_whole_ = false;
  return of_text("text/html", known_charset(page), *bytes);
}

std::optional<Part> Body::rtf(const Message& message) {
  if (!message->has(id::rtf)) return std::nullopt;
  const auto packed = message->bytes(id::rtf);
  if (packed && packed->empty()) return std::nullopt;
  auto plain = packed ? plain_rtf(*packed) : std::nullopt;
  if (!plain) {
    *is_whole_ = false;
    return std::nullopt;
  }
  if (const auto html = html_in_rtf(*plain)) return of_text("text/html", "utf-8", *html);
  return Part{.head = "Content-Type: application/rtf\nContent-Transfer-Encoding: base64\n",
              .write = [text = std::move(*plain)](const Writer& write) {
                Base64 base64(write);
                base64.take(text);
                base64.finish();
              }};
}

bool is_media_type(std::string_view text) {
  const std::size_t slash = text.find('/');
  const auto is_token = [](std::string_view token) {
    return !token.empty() && std::ranges::all_of(token, [](char c) {
      return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '.' ||
             c == '-' || c == '+' || c == '_';
    });
  };
  return slash != std::string_view::npos && text.size() < 128 && is_token(text.substr(0, slash)) &&
         is_token(text.substr(slash + 1));
}

std::string name_of_attachment(const Properties& attachment) {
  for (const std::uint16_t property : {id::long_name, id::short_name, id::display_name})
    if (std::string name = attachment.text(property); !name.empty()) return name;
  return "attachment";
}

std::string disposition_of(const Properties& attachment) {
  std::string content_id = on_one_line(attachment.text(id::content_id));
  std::erase_if(content_id, [](char c) { return c == '<' || c == '>' || c == ' '; });
  const bool is_inline = !content_id.empty();
  return std::string("Content-Disposition: ") + (is_inline ? "inline" : "attachment") +
         parameter("filename", name_of_attachment(attachment)) + "\n" +
         (is_inline ? "Content-ID: <" + content_id + ">\n" : "");
}

Part Body::attachment(const Message& attachment, int depth) {
  constexpr int message_within = 5;
  const std::string disposition = disposition_of(*attachment);
  const int method = attachment->number(id::method).value_or(1);
  const auto object = attachment->object(id::data);
  if (method == message_within && object && depth < deepest)
    return this->message_within(*object, disposition, attachment->code_page(), depth + 1);
  if (attachment->form(id::data) == Form::object && object && method != message_within)
    return {.head = "Content-Type: application/octet-stream\n" + disposition +
                    "Content-Transfer-Encoding: base64\n",
            .write = [this, node = *object](const Writer& write) {
              Base64 base64(write);
              *is_whole_ &=
                  Data(store_.blocks(), node.data).each([&](std::string_view bytes) { base64.take(bytes); });
              base64.finish();
            }};
  if (!attachment->has(id::data)) {
    std::string path = attachment->text(id::long_path);
    if (path.empty()) path = attachment->text(id::path);
    if (path.empty()) *is_whole_ = false;
    Part part = of_text("text/plain", "utf-8",
                        path.empty() ? "This attachment could not be read.\n"
                                     : "The attachment is a link to a file: " + path + "\n");
    part.head += disposition;
    return part;
  }
  if (method == message_within) *is_whole_ = false;
  std::string type = attachment->text(id::media_type);
  if (!is_media_type(type) || type.starts_with("multipart/") || type.starts_with("message/"))
    type = "application/octet-stream";
  return of_bytes("Content-Type: " + type + "\n" + disposition, attachment, id::data);
}

Part Body::message_within(const NodeBlocks& node, const std::string& disposition, std::uint32_t code_page,
                          int depth) {
  return {.head = "Content-Type: message/rfc822\n" + disposition,
          .write = [this, node, code_page, depth](const Writer& write) {
            const auto message = std::make_shared<const Properties>(store_.blocks(), node, code_page);
            if (!message->is_whole()) *is_whole_ = false;
            const Part part = part_of(message, depth);
            write(header_of(store_, *message, is_whole_) + "MIME-Version: 1.0\n" + part.head + "\n");
            part.write(write);
          }};
}

// Bytes that are an entity of MIME: its head, and where its body begins.
struct Entity {
  std::vector<Field> fields;
  std::size_t body = 0;
};

Entity entity_in(std::string_view bytes) {
  for (std::size_t line = 0; line < bytes.size();) {
    const std::size_t end = std::min(bytes.find('\n', line), bytes.size() - 1) + 1;
    const bool is_empty = bytes.substr(line, end - line).find_first_not_of("\r\n") == std::string_view::npos;
    if (is_empty && line > 0)
      return {.fields = fields_of(text_of_code_page(bytes.substr(0, line), 65001)), .body = end};
    line = end;
  }
  return {};
}

std::string value_of(const std::vector<Field>& fields, std::string_view name) {
  const auto found =
      std::ranges::find_if(fields, [&](const Field& field) { return is_same_name(field.name, name); });
  return found == fields.end() ? "" : found->value;
}

// Of a type "multipart/...; boundary=x"; empty when it has none.
std::string boundary_in(std::string_view type) {
  constexpr std::string_view name = "boundary=";
  while (!type.empty() && !begins(type, name)) type.remove_prefix(1);
  type.remove_prefix(std::min(name.size(), type.size()));
  const bool is_quoted = type.starts_with('"');
  if (is_quoted) type.remove_prefix(1);
  return std::string(type.substr(0, type.find_first_of(is_quoted ? "\"" : "; \t\n")));
}

// Signed and encrypted mail has all of itself in its one attachment: nothing can look into it anywhere but at
// the top of the message.
std::optional<Part> Body::sealed(const Message& message, const Message& attachment, bool has_text) {
  const std::string type = attachment->text(id::media_type);
  if (begins(type, "multipart/signed") && (!has_text || is_of(*message, "IPM.Note.SMIME"))) {
    auto part = entity(message, attachment);
    if (!part) *is_mail_ = false;
    return part;
  }
  const auto is_sealed = [](std::string_view text) {
    return begins(text, "application/pkcs7-mime") || begins(text, "application/x-pkcs7-mime");
  };
  if (has_text || !is_sealed(type) || !attachment->has(id::data)) return std::nullopt;
  const std::string as_it_came = value_of(fields_of(message->text(id::headers)), "Content-Type");
  const std::string head = is_sealed(as_it_came)
                               ? raw_field("Content-Type", as_it_came)
                               : "Content-Type: application/pkcs7-mime" +
                                     parameter("name", name_of_attachment(*attachment)) + "\n";
  return of_bytes(head + disposition_of(*attachment), attachment, id::data);
}

// The attachment's bytes have the head of their MIME, or begin with the first boundary of that with which the
// message came. No value when they have neither.
std::optional<Part> Body::entity(const Message& message, const Message& attachment) {
  constexpr std::size_t longest_head = std::size_t{64} << 10;
  constexpr std::string_view signed_mail = "multipart/signed";
  std::string beginning;
  attachment->each(id::data, [&](std::string_view bytes) {
    beginning += bytes.substr(0, longest_head - beginning.size());
  });
  const bool begins_inside = beginning.starts_with("--");
  const Entity found =
      begins_inside ? Entity{.fields = fields_of(message->text(id::headers))} : entity_in(beginning);
  const std::string type = value_of(found.fields, "Content-Type");
  const std::string first_line = beginning.substr(0, beginning.find_first_of("\r\n"));
  if (!begins(type, signed_mail)) return std::nullopt;
  const std::string boundary = boundary_in(type);
  if (begins_inside && (boundary.empty() || first_line != "--" + boundary)) return std::nullopt;
  std::string head;
  for (const Field& field : found.fields)
    if (begins(field.name, "Content-") && !is_same_name(field.name, "Content-Length"))
      head += raw_field(field.name, field.value);
  return Part{.head = head,
              .write = [attachment, left = found.body, is_whole = is_whole_](const Writer& write) {
                MailboxLines lines(write);
                std::size_t skipped = left;
                *is_whole &= attachment->each(id::data, [&](std::string_view bytes) {
                  const std::size_t count = std::min(skipped, bytes.size());
                  skipped -= count;
                  lines.take(bytes.substr(count));
                });
                lines.finish();
              }};
}

Body::Parts Body::forms_of(const Message& message) {
  Parts forms;
  for (const std::uint16_t property : {id::body, id::report})
    if (forms.empty())
      if (auto part = text(message, property)) forms.push_back(std::move(*part));
  auto other = html(message);
  if (!other) other = rtf(message);
  if (other) forms.push_back(std::move(*other));
  return forms;
}

std::vector<Body::Message> Body::attachments_of(const Message& message) {
  std::vector<Message> attachments;
  for (const auto& [node, blocks] : message->subnodes()) {
    if (!is_attachment(node)) continue;
    attachments.push_back(std::make_shared<const Properties>(store_.blocks(), blocks, message->code_page()));
    if (!attachments.back()->is_whole()) *is_whole_ = false;
  }
  return attachments;
}

Part Body::part_of(const Message& message, int depth) {
  const bool has_class = has_the_class_of_mail(*message);
  if (!has_class) *is_mail_ = false;
  if (has_unknown_letters(*message)) *is_whole_ = false;
  const std::vector<Message> attachments = attachments_of(message);
  Parts forms = forms_of(message);
  if (attachments.size() == 1)
    if (auto part = sealed(message, attachments.front(), !forms.empty())) return std::move(*part);
  if (forms.empty()) forms.push_back(of_text("text/plain", "utf-8", ""));
  Part body = forms.size() > 1 ? joined("alternative", std::move(forms)) : std::move(forms.front());
  Parts shown_within{body};
  Parts attached;
  for (const Message& attachment : attachments) {
    const bool is_within = !attachment->text(id::content_id).empty() && message->has(id::html);
    (is_within ? shown_within : attached).push_back(this->attachment(attachment, depth));
  }
  if (shown_within.size() > 1) body = joined("related", std::move(shown_within));
  if (!has_class)
    if (const std::string facts = facts_of(store_, *message); !facts.empty())
      attached.push_back(of_text("text/plain", "utf-8", facts));
  if (attached.empty()) return body;
  attached.insert(attached.begin(), std::move(body));
  return joined("mixed", std::move(attached));
}

// The marks that Mozilla's programs read.
std::string mozilla_status(const Properties& message) {
  constexpr int read_in_outlook = 1;
  constexpr int answered = 102;
  constexpr int answered_to_all = 103;
  constexpr int forwarded_in_outlook = 104;
  const int answer = message.number(id::last_answer).value_or(0);
  unsigned bits = 0;
  if ((message.number(id::flags).value_or(0) & read_in_outlook) != 0) bits |= 0x0001;
  if (answer == answered || answer == answered_to_all) bits |= 0x0002;
  if (message.number(id::flag_status).value_or(0) == marked) bits |= 0x0004;
  if (answer == forwarded_in_outlook) bits |= 0x1000;
  char text[64];
  std::snprintf(text, sizeof text, "X-Mozilla-Status: %04x\n", bits);
  return text;
}

// The list of its own nodes is gone, and with it what it says to have.
bool lacks_attachments(const Properties& message) {
  constexpr int has_attachments = 0x10;
  return (message.number(id::flags).value_or(0) & has_attachments) != 0 && message.subnodes().empty();
}

}  // namespace

Rebuilt write_message(Store& store, std::uint32_t item, const TakeHead& take) {
  const auto message = std::make_shared<const Properties>(store.item(item));
  if (message->is_empty()) return Rebuilt::lost;
  bool is_whole = message->is_whole() && !lacks_attachments(*message);
  bool is_mail = true;
  Body body(store, &is_whole, &is_mail);
  const Part part = body.part_of(message, 0);
  const Writer write =
      take("From - " + date_in_mailbox(date_of(*message).value_or(0)) + "\n" + mozilla_status(*message) +
           header_of(store, *message, &is_whole) + "MIME-Version: 1.0\n" + part.head + "\n");
  part.write([&](std::string_view text) {
    if (!text.empty()) write(text);
  });
  if (!is_whole) return Rebuilt::cut;
  return is_mail ? Rebuilt::whole : Rebuilt::simplified;
}

std::string subject_of_message(Store& store, std::uint32_t item) { return store.item(item).subject(); }

// A Chinese letter has two bytes in a file, three as mail, and four in base64. In the old form, where texts
// are in a code page, a Thai one has but one byte. Of compressed RTF it can only be guessed.
std::uint64_t most_of_message(std::uint32_t size, Blocks::Form form) {
  constexpr std::uint64_t room_for_heads = 16384;
  return std::uint64_t{size} * (form == Blocks::Form::ansi ? 4 : 2) + size / 4 + room_for_heads;
}

}  // namespace pack
