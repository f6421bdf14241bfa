#include "account/readers/message_name.h"

#include <gmime/gmime.h>

#include <memory>

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

Owned<GMimeMessage> parse(std::string_view head, const char* charset) {
  start_gmime();
  const std::string whole = std::string(head) + "\n";
  const Owned<GMimeStream> stream(g_mime_stream_mem_new_with_buffer(whole.data(), whole.size()));
  const Owned<GMimeParser> parser(g_mime_parser_new_with_stream(stream.get()));
  const Owned<GMimeParserOptions> options(g_mime_parser_options_new());
  const char* charsets[] = {"utf-8", charset, nullptr};
  g_mime_parser_options_set_fallback_charsets(options.get(), charsets);
  return Owned<GMimeMessage>(g_mime_parser_construct_message(parser.get(), options.get()));
}

std::string sender_of(GMimeMessage* message) {
  InternetAddressList* const senders = g_mime_message_get_from(message);
  const Owned<char> text(senders == nullptr ? nullptr
                                            : internet_address_list_to_string(senders, nullptr, FALSE));
  return text == nullptr ? "" : text.get();
}

std::string date_of(GMimeMessage* message) {
  GDateTime* const date = g_mime_message_get_date(message);
  const Owned<char> text(date == nullptr ? nullptr : g_date_time_format(date, "%Y-%m-%d %H:%M"));
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
  const Owned<GMimeMessage> message = parse(head, charset);
  std::string subject, sender, date;
  if (message != nullptr) {
    const char* const text = g_mime_message_get_subject(message.get());
    subject = as_title(text == nullptr ? "" : text, charset);
    sender = as_title(sender_of(message.get()), charset);
    date = date_of(message.get());
  }
  std::string name = subject.empty() ? sender : subject;
  if (name.empty()) name = as_title(std::string(head.substr(0, head.find('\n'))), charset);
  return name + (name.empty() ? "(" : " (") + std::string(folder) + (date.empty() ? "" : ", " + date) + ")";
}

}  // namespace account
