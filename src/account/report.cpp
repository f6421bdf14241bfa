#include "account/report.h"

#include <algorithm>
#include <array>

#include "account/before/before.h"
#include "account/columns.h"
#include "account/model/field.h"
#include "account/shown.h"
#include "process/archive/layout.h"

namespace account {
namespace {

constexpr std::size_t most_names = 15;

using Counts = std::array<std::size_t, 5>;

Counts counts_of(const Tally& tally) {
  return {tally.found(), tally.unchanged(), tally.changed(), tally.elsewhere(), tally.missing().size()};
}

// ---- The parts of the text ------------------------------------------------------------------------------

bool is_told(const Line& line) { return line.tally.found() > 0 || !line.tally.certain(); }

void write_heading(std::ostream& out, const PersonAccount& person, const Texts& texts) {
  out << "\n" << shown(texts(Text::for_person, name_of(person.person))) << "\n";
}

void write_counts(std::ostream& out, const PersonAccount& person, const Texts& texts) {
  write_heading(out, person, texts);
  if (person.had_account) out << "  " << shown(texts(Text::account_was_there)) << "\n";
  if (has_nothing(person)) {
    out << "  " << shown(texts(Text::nothing)) << "\n";
    return;
  }
  std::vector<Words> rows = {{}};
  for (const Text head :
       {Text::kind, Text::found, Text::unchanged, Text::changed, Text::elsewhere, Text::missing})
    rows.front().push_back(shown(texts(head)));
  for (const Line& line : person.lines) {
    if (!is_told(line)) continue;
    Words& row = rows.emplace_back();
    row.push_back(shown(texts(line.kind)));
    for (const std::size_t count : counts_of(line.tally)) row.push_back(std::to_string(count));
  }
  write_columns(out, rows);
}

void write_more(std::ostream& out, const char* margin, std::size_t count, const Texts& texts) {
  if (count > 0) out << margin << shown(texts(Text::and_more, std::to_string(count))) << "\n";
}

void write_names(std::ostream& out, const Line& line, const Texts& texts) {
  const std::vector<Missing>& missing = line.tally.missing();
  if (missing.empty()) return;
  out << "  " << shown(texts(line.kind)) << "\n";
  const std::size_t count = std::min(missing.size(), most_names);
  for (const Missing& thing : std::span(missing).first(count))
    out << "    " << shown(thing.name) << ": " << shown(texts(thing.cause, thing.detail)) << "\n";
  write_more(out, "    ", missing.size() - count, texts);
}

bool misses_something(const PersonAccount& person) {
  return std::ranges::any_of(person.lines, [](const Line& line) { return !line.tally.missing().empty(); });
}

void write_replaced(std::ostream& out, const Replaced& replaced, const Texts& texts) {
  const KeptList& list = replaced.list;
  const bool unreadable = list.state == KeptList::State::unreadable;
  if (!unreadable && list.things.empty()) return;
  out << "\n" << shown(texts(Text::for_person, replaced.login)) << "\n";
  if (unreadable) out << "  " << shown(texts(Text::list_unreadable, replaced.path)) << "\n";
  if (list.state == KeptList::State::unfinished) out << "  " << shown(texts(Text::list_unfinished)) << "\n";
  const std::size_t count = std::min(list.things.size(), most_names);
  for (const KeptThing& thing : std::span(list.things).first(count))
    out << "  " << shown(name_of(thing, texts)) << ": " << shown(told(replaced, thing, texts)) << "\n";
  write_more(out, "  ", list.things.size() - count, texts);
}

// The counts of one person after the other, each with its heading.
void write_disk(std::ostream& out, const std::vector<DiskCount>& counts, const Texts& texts) {
  if (counts.empty()) return;
  out << "\n" << shown(texts(Text::disk_title)) << "\n";
  for (auto first = counts.begin(); first != counts.end();) {
    const auto end = std::find_if(first, counts.end(), [&](const DiskCount& count) {
      return owner_shown(count) != owner_shown(*first);
    });
    out << "\n" << shown(owner_shown(*first)) << "\n";
    std::vector<Words> rows = {{}};
    for (const Text head : {Text::kind, Text::disk_found, Text::disk_packed, Text::disk_left_out})
      rows.front().push_back(shown(texts(head)));
    for (; first != end; ++first)
      rows.push_back({shown(kind_shown(*first, texts)), std::to_string(first->found),
                      std::to_string(first->packed), std::to_string(first->left_out)});
    write_columns(out, rows);
  }
  if (leave_something_out(counts))
    out << "\n" << shown(texts(Text::disk_note, layout::packed_remarks)) << "\n";
}

}  // namespace

void write_table_of_counts(std::ostream& out, const std::vector<PersonAccount>& people) {
  out << "person\tkind\tfound\tarrived\tadapted\tno-place\tmissing\n";
  for (const PersonAccount& person : people) {
    for (const Line& line : person.lines) {
      out << field(name_of(person.person)) << "\t" << name_of(line.kind).table;
      for (const std::size_t count : counts_of(line.tally)) out << "\t" << count;
      out << "\n";
    }
  }
}

void write_table_of_missing(std::ostream& out, const std::vector<PersonAccount>& people, const Texts& texts) {
  out << "person\tkind\tname\tcause\n";
  for (const PersonAccount& person : people)
    for (const Line& line : person.lines)
      for (const Missing& thing : line.tally.missing())
        out << field(name_of(person.person)) << "\t" << name_of(line.kind).table << "\t" << field(thing.name)
            << "\t" << field(texts(thing.cause, thing.detail)) << "\n";
}

void write_plain_text(std::ostream& out, const Account& account, const Texts& texts) {
  const Verdict verdict = verdict_of(account);
  out << shown(texts(Text::title)) << "\n" << shown(texts(Text::archive_line, account.archive)) << "\n";
  if (const auto warning = warning_of(account.ending)) out << shown(texts(*warning)) << "\n";
  if (!account.fault.empty()) out << shown(texts(Text::archive_fault, account.fault)) << "\n";
  if (!account.has_root) out << shown(text_of(texts, Foresight::no_root, layout::root)) << "\n";
  for (const PersonAccount& person : account.people) write_counts(out, person, texts);
  write_disk(out, account.disk, texts);
  if (std::ranges::any_of(account.people, misses_something))
    out << "\n" << shown(texts(Text::what_is_missing)) << "\n";
  for (const PersonAccount& person : account.people) {
    if (!misses_something(person)) continue;
    write_heading(out, person, texts);
    for (const Line& line : person.lines) write_names(out, line, texts);
  }
  if (has_names(account.replaced)) out << "\n" << shown(texts(Text::what_was_replaced)) << "\n";
  for (const Replaced& replaced : account.replaced) write_replaced(out, replaced, texts);
  out << "\n" << shown(texts(sentence_of(verdict))) << "\n";
  for (const std::string& line : way_back(account.replaced, account.of_family, texts))
    out << shown(line) << "\n";
}

}  // namespace account
