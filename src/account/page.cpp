#include "account/page.h"

#include <algorithm>
#include <map>
#include <utility>

#include "account/before/before.h"
#include "account/shown.h"
#include "process/archive/layout.h"

namespace account {
namespace {

constexpr const char* style = R"(
@page { margin: 18mm 20mm; }
html { background: #fff; }
body { max-width: 46em; margin: 3.5em auto 5em; padding: 0 1.5em; color: #222; background: #fff;
  font: 16px/1.5 "DejaVu Serif", Georgia, "Noto Serif", serif; overflow-wrap: anywhere; }
h1 { font-size: 1.9em; font-weight: normal; margin: 0 0 .35em; }
h2 { font-size: 1.3em; font-weight: normal; margin: 2.4em 0 .7em; }
h3 { font-size: 1em; margin: 1.9em 0 .2em; break-after: avoid; }
h1, h2 { break-after: avoid; }
p { margin: .45em 0; }
.about { color: #666; font-size: .85em; margin: 0; }
.verdict { font-size: 1.1em; margin: 1.5em 0 0; padding: .7em 1em; border-left: 4px solid #5b7f4f; background: #f3f6f1; }
.verdict.some { border-color: #b5803a; background: #f9f5ee; }
.verdict.unknown, .warning { border-color: #a34a3f; background: #faf2f0; }
.warning { margin: 1.5em 0 0; padding: .7em 1em; border-left: 4px solid #a34a3f; }
table { width: 100%; table-layout: fixed; border-collapse: collapse; font-variant-numeric: tabular-nums; }
th, td { padding: .38em 0 .38em 1em; text-align: right; vertical-align: bottom; border-bottom: 1px solid #ddd; }
thead th { color: #666; font-size: .78em; font-weight: normal; line-height: 1.3; border-bottom: 1px solid #999; }
th:first-child { width: 30%; padding-left: 0; text-align: left; font-weight: normal; }
td.none { color: #aaa; }
td.some { color: #8a5a16; font-weight: bold; }
tr { break-inside: avoid; }
.note { color: #666; font-size: .85em; }
.cause { margin: .8em 0 .1em; break-after: avoid; }
.advice { color: #666; }
ul { margin: .2em 0 .2em 1.2em; padding: 0; list-style: none; font-size: .92em; }
li { padding-left: 1em; text-indent: -1em; break-inside: avoid; }
li::before { content: "\2013\00a0"; color: #999; }
@media (max-width: 34em) { body { margin: 1.5em auto; padding: 0 .8em; font-size: 14px; }
  th, td { padding-left: .5em; } }
@media print { body { max-width: none; margin: 0; padding: 0; font-size: 10.5pt; color: #000; }
  .about, .note, .advice, thead th { color: #444; }
  .verdict, .verdict.some, .verdict.unknown, .warning { background: none; } }
)";

// A row's numbers; what is 0 steps back.
void write_number(std::ostream& out, std::size_t count, bool is_missing = false) {
  if (count == 0) {
    out << "<td class=\"none\">&#8211;</td>";
  } else {
    out << (is_missing ? "<td class=\"some\">" : "<td>") << count << "</td>";
  }
}

void write_row(std::ostream& out, const Line& line, const Texts& texts) {
  const Tally& tally = line.tally;
  out << "<tr><th scope=\"row\">" << escaped(texts(line.kind)) << "</th>";
  for (const std::size_t count : {tally.found(), tally.unchanged(), tally.changed(), tally.elsewhere()})
    write_number(out, count);
  write_number(out, tally.missing().size(), true);
  out << "</tr>\n";
}

void write_paragraph(std::ostream& out, const char* kind, const std::string& text) {
  out << "<p class=\"" << kind << "\">" << escaped(text) << "</p>\n";
}

template <typename Count>
bool any_line(const PersonAccount& person, Count count) {
  return std::ranges::any_of(person.lines, [count](const Line& line) { return count(line.tally) > 0; });
}

void write_counts(std::ostream& out, const PersonAccount& person, const Texts& texts) {
  out << "<h2>" << escaped(texts(Text::for_person, name_of(person.person))) << "</h2>\n";
  if (person.had_account) write_paragraph(out, "note", texts(Text::account_was_there));
  if (has_nothing(person)) return write_paragraph(out, "note", texts(Text::nothing));
  out << "<table>\n<thead><tr>";
  for (const Text head :
       {Text::kind, Text::found, Text::unchanged, Text::changed, Text::elsewhere, Text::missing})
    out << "<th scope=\"col\">" << escaped(texts(head)) << "</th>";
  out << "</tr></thead>\n<tbody>\n";
  for (const Line& line : person.lines)
    if (line.tally.found() > 0 || !line.tally.certain()) write_row(out, line, texts);
  out << "</tbody>\n</table>\n";
  if (any_line(person, [](const Tally& tally) { return tally.changed(); }))
    write_paragraph(out, "note", texts(Text::adapted_note));
  if (any_line(person, [](const Tally& tally) { return tally.elsewhere(); }))
    write_paragraph(out, "note", texts(Text::no_place_note));
}

// ---- What is missing ------------------------------------------------------------------------------------

using Reason = std::pair<Cause, std::string_view>;

// The things of one kind under each cause, causes in the order in which they first come.
std::vector<std::pair<Reason, std::vector<const Missing*>>> by_cause(const std::vector<Missing>& missing) {
  std::vector<std::pair<Reason, std::vector<const Missing*>>> groups;
  std::map<Reason, std::size_t> places;
  for (const Missing& thing : missing) {
    const Reason reason(thing.cause, thing.detail);
    const auto [place, is_new] = places.try_emplace(reason, groups.size());
    if (is_new) groups.push_back({reason, {}});
    groups[place->second].second.push_back(&thing);
  }
  return groups;
}

void write_missing(std::ostream& out, const Line& line, const std::string& heading, const Texts& texts) {
  if (line.tally.missing().empty()) return;
  out << "<h3>" << escaped(heading) << "</h3>\n";
  for (const auto& [reason, things] : by_cause(line.tally.missing())) {
    out << "<p class=\"cause\">" << escaped(texts(reason.first, reason.second));
    const std::string advice = texts.advice(reason.first);
    if (!advice.empty()) out << " <span class=\"advice\">" << escaped(advice) << "</span>";
    out << "</p>\n<ul>\n";
    for (const Missing* thing : things) out << "<li>" << escaped(thing->name) << "</li>\n";
    out << "</ul>\n";
  }
}

void write_all_missing(std::ostream& out, const Account& account, const Texts& texts) {
  out << "<h2>" << escaped(texts(Text::what_is_missing)) << "</h2>\n";
  out << "<p>" << escaped(texts(Text::what_to_do)) << "</p>\n";
  const bool several = account.people.size() > 1;
  for (const PersonAccount& person : account.people) {
    const std::string whose = several ? name_of(person.person) + " \u2013 " : "";
    for (const Line& line : person.lines) write_missing(out, line, whose + texts(line.kind), texts);
  }
}

// ---- What was replaced ----------------------------------------------------------------------------------

void write_replaced(std::ostream& out, const Replaced& replaced, const Texts& texts) {
  const KeptList& list = replaced.list;
  const bool unreadable = list.state == KeptList::State::unreadable;
  if (!unreadable && list.things.empty()) return;
  out << "<h3>" << escaped(texts(Text::for_person, replaced.login)) << "</h3>\n";
  if (unreadable) return write_paragraph(out, "note", texts(Text::list_unreadable, replaced.path));
  if (list.state == KeptList::State::unfinished) write_paragraph(out, "note", texts(Text::list_unfinished));
  out << "<ul>\n";
  for (const KeptThing& thing : list.things)
    out << "<li>" << escaped(name_of(thing, texts)) << " <span class=\"advice\">"
        << escaped(told(replaced, thing, texts)) << "</span></li>\n";
  out << "</ul>\n";
}

void write_all_replaced(std::ostream& out, const Account& account, const Texts& texts) {
  if (has_names(account.replaced)) out << "<h2>" << escaped(texts(Text::what_was_replaced)) << "</h2>\n";
  for (const Replaced& replaced : account.replaced) write_replaced(out, replaced, texts);
  const std::vector<std::string> lines = way_back(account.replaced, account.of_family, texts);
  if (!lines.empty()) out << "<h2>" << escaped(texts(Text::going_back)) << "</h2>\n";
  for (const std::string& line : lines) out << "<p>" << escaped(line) << "</p>\n";
}

bool misses_something(const Account& account) {
  return std::ranges::any_of(account.people, [](const PersonAccount& person) {
    return any_line(person, [](const Tally& tally) { return tally.missing().size(); });
  });
}

// ---- On the disk ----------------------------------------------------------------------------------------

void write_disk(std::ostream& out, const std::vector<DiskCount>& counts, const Texts& texts) {
  if (counts.empty()) return;
  out << "<h2>" << escaped(texts(Text::disk_title)) << "</h2>\n";
  for (auto first = counts.begin(); first != counts.end();) {
    const auto end = std::find_if(first, counts.end(), [&](const DiskCount& count) {
      return owner_shown(count) != owner_shown(*first);
    });
    out << "<h3>" << escaped(owner_shown(*first)) << "</h3>\n<table>\n<thead><tr>";
    for (const Text head : {Text::kind, Text::disk_found, Text::disk_packed, Text::disk_left_out})
      out << "<th scope=\"col\">" << escaped(texts(head)) << "</th>";
    out << "</tr></thead>\n<tbody>\n";
    for (; first != end; ++first) {
      out << "<tr><th scope=\"row\">" << escaped(kind_shown(*first, texts)) << "</th>";
      write_number(out, first->found);
      write_number(out, first->packed);
      write_number(out, first->left_out, true);
      out << "</tr>\n";
    }
    out << "</tbody>\n</table>\n";
  }
  if (leave_something_out(counts))
    write_paragraph(out, "note", texts(Text::disk_note, layout::packed_remarks));
}

// ---- The top --------------------------------------------------------------------------------------------

const char* class_of(Verdict verdict) {
  switch (verdict) {
    case Verdict::all_arrived:
      return "verdict";
    case Verdict::something_missing:
      return "verdict some";
    case Verdict::cannot_be_told:
      break;
  }
  return "verdict unknown";
}

std::string local_time(std::time_t time) {
  std::tm parts = {};
  char text[32];
  if (localtime_r(&time, &parts) == nullptr) return "";
  return {text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M", &parts)};
}

void write_top(std::ostream& out, const Account& account, const Texts& texts) {
  out << "<h1>" << escaped(texts(Text::title)) << "</h1>\n";
  write_paragraph(out, "about", texts(Text::archive_line, account.archive));
  if (account.begun != 0) write_paragraph(out, "about", texts(Text::moved_on, local_time(account.begun)));
  if (const auto warning = warning_of(account.ending)) write_paragraph(out, "warning", texts(*warning));
  if (!account.fault.empty()) write_paragraph(out, "warning", texts(Text::archive_fault, account.fault));
  if (!account.has_root) write_paragraph(out, "warning", text_of(texts, Foresight::no_root, layout::root));
  const Verdict verdict = verdict_of(account);
  write_paragraph(out, class_of(verdict), texts(sentence_of(verdict)));
}

bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

}  // namespace

std::string page_language(std::string_view code) {
  const bool language = code.size() >= 2 && is_letter(code[0]) && is_letter(code[1]);
  if (!language || (code.size() > 2 && code[2] != '_')) return "en";
  const bool country = code.size() >= 5 && is_letter(code[3]) && is_letter(code[4]);
  return std::string(code.substr(0, 2)) + (country ? "-" + std::string(code.substr(3, 2)) : "");
}

void write_page(std::ostream& out, const Account& account, const Texts& texts, std::string_view language) {
  out << "<!DOCTYPE html>\n<html lang=\"" << page_language(language)
      << "\">\n<head>\n<meta charset=\"utf-8\">\n"
         "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src "
         "'unsafe-inline'\">\n<meta name=\"viewport\" content=\"width=device-width\">\n<title>"
      << escaped(texts(Text::title)) << "</title>\n<style>" << style << "</style>\n</head>\n<body>\n";
  write_top(out, account, texts);
  for (const PersonAccount& person : account.people) write_counts(out, person, texts);
  write_disk(out, account.disk, texts);
  if (misses_something(account)) write_all_missing(out, account, texts);
  write_all_replaced(out, account, texts);
  out << "</body>\n</html>\n";
}

}  // namespace account
