#include "pack/report.h"

#include <glib.h>

#include <algorithm>
#include <iomanip>
#include <sstream>

#include "pack/model/sizes.h"

namespace pack {

namespace {

// So many names are shown for a cause; the table has all.
constexpr std::uint64_t names_shown = 3;

std::string as_field(std::string_view text) {
  std::string field;
  for (const char c : text) {
    switch (c) {
      case '\t':
        field += "\\t";
        break;
      case '\n':
        field += "\\n";
        break;
      case '\r':
        field += "\\r";
        break;
      case '\\':
        field += "\\\\";
        break;
      default:
        field += c;
    }
  }
  return field;
}

// What a terminal takes for an order: control characters of both sets, line and paragraph ends, and marks
// that turn the direction of what stands around them.
bool is_order(gunichar c) {
  const auto is_within = [c](gunichar first, gunichar last) { return first <= c && c <= last; };
  return c < 0x20 || is_within(0x7F, 0x9F) || c == 0x61C || is_within(0x200E, 0x200F) ||
         is_within(0x2028, 0x202E) || is_within(0x2066, 0x2069);
}

// "?" stands for each order, and for bytes that are no UTF-8.
std::string as_shown(std::string_view text) {
  std::string shown;
  while (!text.empty()) {
    const gunichar c = g_utf8_get_char_validated(text.data(), static_cast<gssize>(text.size()));
    const bool is_character = static_cast<gint32>(c) >= 0;
    const std::size_t size = is_character ? g_utf8_skip[static_cast<unsigned char>(text.front())] : 1;
    shown += is_character && !is_order(c) ? text.substr(0, size) : "?";
    text.remove_prefix(size);
  }
  return shown;
}

void write_counts(std::ostream& out, const Tally& tally) {
  out << "  " << std::left << std::setw(36) << "" << std::right << std::setw(9) << "found" << std::setw(9)
      << "packed" << std::setw(9) << "left out" << std::setw(12) << "size" << '\n';
  for (const Kind kind : all_kinds) {
    const Tally::Count count = tally.count(kind);
    if (count.found == 0) continue;
    out << "  " << std::left << std::setw(36) << title_of(kind) << std::right << std::setw(9) << count.found
        << std::setw(9) << count.packed << std::setw(9) << count.left_out << std::setw(12)
        << size_in_words(count.bytes) << '\n';
  }
}

std::vector<std::string> first_names(const Tally& tally, Cause cause) {
  std::vector<std::string> names;
  tally.each_remark([&](const Tally::Remark& remark) {
    if (remark.cause == cause && names.size() < names_shown) names.push_back(remark.path);
  });
  return names;
}

void write_causes(std::ostream& out, const Tally& tally) {
  for (const Cause cause : all_causes) {
    std::uint64_t count = 0;
    for (const Kind kind : all_kinds) count += tally.count(kind, cause);
    if (count == 0) continue;
    out << "\n  " << count << (count == 1 ? " thing " : " things, each of which ") << said_of(cause) << ".\n";
    if (!is_loss(cause)) continue;
    out << "  What to do: " << advice_on(cause) << ".\n";
    for (const std::string& name : first_names(tally, cause)) out << "    " << as_shown(name) << '\n';
    if (count > names_shown) out << "    ... and " << count - names_shown << " more\n";
  }
}

}  // namespace

void write_report(std::ostream& out, const std::vector<Packed>& people) {
  for (const Packed& packed : people) {
    if (packed.tally.total().found == 0 && !packed.tally.has_losses() && packed.person.login.empty())
      continue;
    out << as_shown(packed.person.shown);
    const std::string& on_windows = packed.person.account;
    if (!on_windows.empty() && on_windows != packed.person.shown)
      out << " (on Windows " << as_shown(on_windows) << ")";
    if (!packed.person.login.empty()) out << ", account " << packed.person.login;
    out << "\n\n";
    write_counts(out, packed.tally);
    write_causes(out, packed.tally);
    out << '\n';
  }
}

std::string table_of_counts(const std::vector<Packed>& people) {
  std::ostringstream table;
  table << "person\tlogin\tkind\tfound\tpacked\tleft_out\tbytes\n";
  for (const auto& [person, tally, has_registry, is_dirty] : people) {
    for (const Kind kind : all_kinds) {
      const Tally::Count count = tally.count(kind);
      if (count.found == 0) continue;
      table << as_field(person.shown) << '\t' << person.login << '\t' << name_of(kind) << '\t' << count.found
            << '\t' << count.packed << '\t' << count.left_out << '\t' << count.bytes << '\n';
    }
  }
  return table.str();
}

void write_table_of_remarks(const Writer& write, const std::vector<Packed>& people) {
  write("person\tkind\tpath\tcause\tadvice\n");
  for (const Packed& packed : people)
    packed.tally.each_remark([&](const Tally::Remark& remark) {
      std::string line = as_field(packed.person.shown);
      const std::string path = as_field(remark.path);
      for (const std::string_view field :
           {name_of(remark.kind), std::string_view(path), name_of(remark.cause), advice_on(remark.cause)})
        line.append("\t").append(field);
      write(line + "\n");
    });
}

}  // namespace pack
