#include "account/readers/message_name.h"

#include <gmime/gmime.h>

#include <algorithm>
#include <memory>
#include <optional>

#include "account/archive/charset.h"

namespace account {
namespace {

constexpr std::size_t longest_title = 200;

struct Release {
  void operator()(void* object) const { g_object_unref(object); }
  void operator()(char* text) const { g_free(text); }
  void operator()(GMimeParserOptions* options) const { g_mime_parser_options_free(options); }
};

template <typename Object>
using Owned = std::unique_ptr<Object, Release>;

void start_gmime() {
  static const bool started = [] {
    g_mime_init();
    return true;
  }();
  static_cast<void>(started);
}

// With the character set of what is in no encoding, as one of them has it that is no UTF-8.
Owned<GMimeParserOptions> options_for(const char* charset) {
  Owned<GMimeParserOptions> options(g_mime_parser_options_new());
  const char* charsets[] = {"utf-8", charset, nullptr};
  g_mime_parser_options_set_fallback_charsets(options.get(), charsets);
  return options;
}

bool is_field(std::string_view line, std::string_view name) {
  return line.size() > name.size() && line[name.size()] == ':' &&
         g_ascii_strncasecmp(line.data(), name.data(), name.size()) == 0;
}

// The value of the first field of that name, with the lines that it is folded into; no value without one. Not
// by GMime's parser, which makes a whole message each time, and takes far longer than unpacking does.
std::optional<std::string> field_of(std::string_view head, std::string_view name) {
  std::optional<std::string> value;
  while (!head.empty()) {
    const std::size_t end = std::min(head.find('\n'), head.size() - 1) + 1;
    const std::string_view line = head.substr(0, end);
    head.remove_prefix(end);
    const bool goes_on = line.starts_with(' ') || line.starts_with('\t');
    if (value && !goes_on) break;
    if (value) {
      *value += line;
    } else if (is_field(line, name)) {
      value = line.substr(name.size() + 1);
    }
  }
  return value;
}

std::string text_of(const std::optional<std::string>& value, GMimeParserOptions* options) {
  if (!value) return "";
  const Owned<char> line(g_mime_utils_header_unfold(value->c_str()));
  const Owned<char> text(g_mime_utils_header_decode_text(options, line.get()));
  return text == nullptr ? "" : text.get();
}

std::string senders_of(const std::optional<std::string>& value, GMimeParserOptions* options) {
  if (!value) return "";
  const Owned<InternetAddressList> senders(internet_address_list_parse(options, value->c_str()));
  if (senders == nullptr) return "";
  const Owned<char> text(internet_address_list_to_string(senders.get(), nullptr, FALSE));
  return text == nullptr ? "" : text.get();
}

std::string date_in(const std::optional<std::string>& value) {
  if (!value) return "";
  const std::unique_ptr<GDateTime, decltype(&g_date_time_unref)> date(
      g_mime_utils_header_decode_date(value->c_str()), g_date_time_unref);
  const Owned<char> text(date == nullptr ? nullptr : g_date_time_format(date.get(), "%Y-%m-%d %H:%M"));
  return text == nullptr ? "" : text.get();
}

// On one line, and no longer than a person reads.
std::string as_title(const std::string& text, const char* charset) {
  std::string title;
  for (const char character : readable(text, charset)) {
    const bool blank = static_cast<unsigned char>(character) <= ' ' || character == '\x7f';
    if (!blank) title += character;
    if (blank && !title.empty() && !title.ends_with(' ')) title += ' ';
  }
  if (title.ends_with(' ')) title.pop_back();
  if (title.size() <= longest_title) return title;
  std::size_t end = longest_title;
  while ((static_cast<unsigned char>(title[end]) & 0xC0U) == 0x80U) --end;
  return title.substr(0, end) + "...";
}

}  // namespace

std::string message_name(std::string_view head, std::string_view folder, const char* charset) {
  start_gmime();
  const Owned<GMimeParserOptions> options = options_for(likely_charset(head, charset));
  const std::string date = date_in(field_of(head, "Date"));
  std::string name = as_title(text_of(field_of(head, "Subject"), options.get()), charset);
  if (name.empty()) name = as_title(senders_of(field_of(head, "From"), options.get()), charset);
  if (name.empty()) name = as_title(std::string(head.substr(0, head.find('\n'))), charset);
  return name + (name.empty() ? "(" : " (") + std::string(folder) + (date.empty() ? "" : ", " + date) + ")";
}

}  // namespace account
