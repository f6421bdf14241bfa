#include "undo/words.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>

namespace undo {

namespace {

using Names = std::vector<std::string>;

/// How many names a person is shown, and of which run the others can be asked for.
struct Extent {
  std::string run;
  std::size_t most = all;
};

void write_names(std::ostream& out, const char* title, const Names& names, const Extent& extent) {
  const std::size_t most = extent.most;
  if (names.empty()) return;
  out << title << " (" << names.size() << "):\n";
  for (std::size_t at = 0; at < std::min(most, names.size()); ++at) out << "  " << names[at] << "\n";
  if (names.size() > most)
    out << "  and " << names.size() - most << " more, which brindle-undo --list " << extent.run << " shows\n";
}

// What lies in a folder that goes is counted there.
Names names_that_go(const Plan& plan, std::size_t most) {
  std::map<std::string, std::size_t> inside;
  for (const Item& item : plan.items()) {
    if (item.deed != Deed::take_away || !plan.is_covered(item)) continue;
    std::string top = folder_of(item.path);
    while (plan.is_covered(*plan.find(top))) top = folder_of(top);
    ++inside[top];
  }
  Names names;
  for (const Item& item : plan.items()) {
    if (item.deed != Deed::take_away) continue;
    const auto found = inside.find(item.path);
    if (most == all || found == inside.end()) {
      if (most == all || !plan.is_covered(item)) names.push_back(shown(item.path));
    } else {
      names.push_back(shown(item.path) + ", with " + counted(found->second, "thing in it", "things in it"));
    }
  }
  std::ranges::sort(names);
  return names;
}

Names names_with(const Plan& plan, const Matters& matters, Deed deed) {
  Names names;
  for (const Item& item : plan.items())
    if (item.deed == deed) names.push_back(shown(item.path));
  std::ranges::sort(names);
  for (const Matter& matter : matters.all())
    if (matter.deed == deed) names.push_back(shown(name_of(matter)));
  return names;
}

bool is_account_that_stays(const Matter& matter) {
  return matter.kind == keep::Kind::account && matter.deed == Deed::leave;
}

Names names_that_stay(const Matters& matters) {
  Names names;
  for (const Matter& matter : matters.all()) {
    if (!is_account_that_stays(matter)) continue;
    const std::string home = home_of(matter);
    names.push_back(shown(name_of(matter)) + (home.empty() ? "" : ", " + shown(home)) + ": " +
                    shown(matter.why));
  }
  return names;
}

Names names_left(const Plan& plan, const Matters& matters) {
  Names names;
  for (const Item& item : plan.items())
    if (item.deed == Deed::leave && !item.why.empty()) names.push_back(shown(item.path) + ": " + item.why);
  std::ranges::sort(names);
  for (const Matter& matter : matters.all())
    if (matter.deed == Deed::leave && !is_account_that_stays(matter))
      names.push_back(shown(name_of(matter)) + ": " + shown(matter.why));
  return names;
}

void write_left(std::ostream& out, const Plan& plan, const Matters& matters, const Extent& extent) {
  write_names(out, "Left as it is", names_left(plan, matters), extent);
  write_names(out, "Accounts that stay", names_that_stay(matters), extent);
}

}  // namespace

std::string shown(std::string_view name) {
  std::string text;
  for (std::size_t at = 0; at < name.size(); ++at) {
    const auto byte = static_cast<unsigned char>(name[at]);
    const auto next = at + 1 < name.size() ? static_cast<unsigned char>(name[at + 1]) : 0;
    // Control characters, the second lot of them as UTF-8 writes it.
    if (byte >= 0x20 && byte != 0x7f && !(byte == 0xc2 && next >= 0x80 && next < 0xa0)) {
      text += name[at];
      continue;
    }
    std::array<char, 5> octal{};
    std::snprintf(octal.data(), octal.size(), "\\%03o", static_cast<unsigned>(byte));
    text += octal.data();
  }
  return text;
}

std::string counted(std::size_t count, const std::string& one, const std::string& several) {
  return std::to_string(count) + " " + (count == 1 ? one : several);
}

std::string size_in_words(std::uintmax_t bytes) {
  constexpr std::array<const char*, 4> units = {"KB", "MB", "GB", "TB"};
  if (bytes < 1024) return counted(bytes, "byte", "bytes");
  double size = static_cast<double>(bytes) / 1024;
  std::size_t unit = 0;
  for (; size >= 1024 && unit + 1 < units.size(); ++unit) size /= 1024;
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.1f %s", size, units[unit]);
  return text.data();
}

void write_run(std::ostream& out, const keep::Run& run, bool is_undone, std::size_t replaced,
               std::size_t made) {
  out << run.date_time << "  " << (run.is_undo ? "undo of " + shown(run.of) : "migration") << ": " << replaced
      << " replaced or removed, " << made << " made";
  if (!run.over) out << "; it did not come to its end";
  if (is_undone) out << "; already undone";
  out << "\n";
}

void write_plan(std::ostream& out, const Plan& plan, const Matters& matters, const std::string& run,
                std::size_t most) {
  const Extent extent = {run, most};
  write_names(out, "Given back as it was", names_with(plan, matters, Deed::give_back), extent);
  Names removed = names_that_go(plan, most);
  for (const Matter& matter : matters.all())
    if (matter.deed == Deed::take_away) removed.push_back(shown(name_of(matter)));
  write_names(out, "Removed, since the run made it and nobody has changed it", removed, extent);
  write_names(out, "Only rights or time are given back", names_with(plan, matters, Deed::give_rights),
              extent);
  write_left(out, plan, matters, extent);
}

void write_left(std::ostream& out, const Plan& plan, const Matters& matters) {
  write_left(out, plan, matters, Extent());
}

std::size_t count_left(const Plan& plan, const Matters& matters) {
  return names_left(plan, matters).size() + names_that_stay(matters).size();
}

}  // namespace undo
