#include "pack/calendar/notes.h"

#include <glib.h>
#include <iconv.h>
#include <xxhash.h>

#include <algorithm>
#include <memory>
#include <string_view>

#include "pack/files/texts.h"
#include "process/archive/layout.h"

namespace pack {

namespace {

// Of a title and a file's name, in bytes: a first line that does not fit into 255 goes on in the note.
constexpr std::size_t longest_title = 160;
constexpr std::size_t longest_name = 80;
constexpr std::string_view label = "Subject: ";

std::string valid(const std::string& text) {
  const std::unique_ptr<char, decltype(&g_free)> made(
      g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())), g_free);
  std::string result = made.get();
  std::erase_if(result, [](char c) {
    return (static_cast<unsigned char>(c) < ' ' && c != '\n' && c != '\t') || c == '\x7f';
  });
  return result;
}

std::string trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\n";
  const std::size_t begin = text.find_first_not_of(blanks);
  if (begin == std::string_view::npos) return "";
  return std::string(text.substr(begin, text.find_last_not_of(blanks) + 1 - begin));
}

std::string first_line(const std::string& text) { return trimmed(text.substr(0, text.find('\n'))); }

std::string title_of(const Note& note, const std::string& text) {
  const std::string own = first_line(trimmed(valid(note.title)));
  const std::string title = own.empty() ? first_line(trimmed(text)) : own;
  return trimmed(beginning(title.empty() ? "Note" : title, longest_title));
}

// What Windows and the shell take for something else is a blank.
std::string file_name_of(const std::string& title) {
  std::string name = title;
  constexpr std::string_view others = "/\\:*?\"<>|\t\n";
  std::ranges::replace_if(
      name, [&](char c) { return others.find(c) != std::string_view::npos; }, ' ');
  name = trimmed(beginning(name, longest_name));
  const std::size_t begin = name.find_first_not_of(". -~");
  return begin == std::string::npos ? "Note" : name.substr(begin);
}

// A title of its own stands in front.
std::string with_title(const Note& note, const std::string& text) {
  const std::string title = trimmed(valid(note.title));
  return title.empty() || text.starts_with(title) ? text : title + "\n\n" + text;
}

struct ConverterCloser {
  using pointer = iconv_t;
  void operator()(iconv_t converter) const { iconv_close(converter); }
};

// In GB2312, in which KNotes' part of a run reads it; letters that it has not are spelt in ASCII.
std::string in_gb2312(const std::string& text) {
  const std::unique_ptr<iconv_t, ConverterCloser> converter(iconv_open("GB2312", "UTF-8"));
  if (converter.get() == reinterpret_cast<iconv_t>(-1)) return text;
  std::string result;
  for (const char* next = text.c_str(); *next != '\0'; next = g_utf8_next_char(next)) {
    const std::string character(next, static_cast<const char*>(g_utf8_next_char(next)));
    std::string from = character;
    char* in = from.data();
    std::size_t left = from.size();
    char block[8];
    char* out = block;
    std::size_t room = sizeof block;
    if (iconv(converter.get(), &in, &left, &out, &room) != static_cast<std::size_t>(-1)) {
      result.append(block, out);
      continue;
    }
    const std::unique_ptr<char, decltype(&g_free)> spelt(g_str_to_ascii(character.c_str(), "C"), g_free);
    result += spelt.get();
  }
  return result;
}

}  // namespace

// Names that differ in case alone are one on Windows, where somebody may look at the archive.
std::string Notes::free_name(const std::string& wanted) {
  const auto folded = [](const std::string& name) {
    const std::unique_ptr<char, decltype(&g_free)> made(g_utf8_casefold(name.c_str(), -1), g_free);
    return std::string(made.get());
  };
  std::string name = wanted;
  // Numbers that this name had before stay taken.
  for (int& number = numbers_.try_emplace(folded(wanted), 2).first->second;
       !names_.insert(folded(name)).second; ++number)
    name = wanted + " " + std::to_string(number);
  return name + ".txt";
}

void Notes::add(const Note& note, const std::string& from) {
  if (!packing_.wants(Kind::notes)) return;
  const std::string text = trimmed(valid(note.text)) + "\n";
  if (trimmed(text).empty() && trimmed(note.title).empty()) return;
  const std::string title = title_of(note, text);
  const std::string content = title + "\n" + text;
  const XXH128_hash_t hash = XXH3_128bits(content.data(), content.size());
  if (!known_.emplace(hash.high64, hash.low64).second)
    return packing_.leave_out(Kind::notes, Cause::there_already, from);
  if (folder_.empty()) {
    // Notes are part of what is looked at only with the mail's folder.
    packing_.add_folder(layout::mail);
    packing_.add_folder(layout::mail_accounts);
    packing_.add_folder(layout::notes);
    folder_ = std::string(layout::documents) + "/" + packing_.free_name("Notes");
    packing_.add_folder(layout::documents);
    packing_.add_folder(folder_);
  }
  const std::string name = free_name(file_name_of(title));
  packing_.add_text(Kind::notes, std::string(layout::notes) + "/" + name,
                    in_gb2312(std::string(label) + title + "\n" + text));
  packing_.add_control(folder_ + "/" + name, with_title(note, text));
}

}  // namespace pack
