#include "account/kinds/left_over.h"

#include <algorithm>
#include <optional>
#include <span>
#include <string>

#include "process/archive/layout.h"

namespace account {
namespace {

struct Known {
  const char* name;  // in the person's folder
  Kind kind;
};

constexpr Known folders[] = {{layout::documents, Kind::documents},
                             {layout::documents_otherwise, Kind::documents},
                             {layout::desktop, Kind::desktop},
                             {layout::file_extensions, Kind::shared_files},
                             {layout::mail_accounts, Kind::mail_accounts},
                             {layout::mail_folders, Kind::mail},
                             {layout::notes, Kind::notes},
                             {layout::wallpaper, Kind::wallpaper},
                             {layout::mapped_drives, Kind::drives},
                             {layout::printers, Kind::printers},
                             {layout::groupwise, Kind::groupwise}};

constexpr Known files[] = {{layout::bookmarks, Kind::bookmarks}, {layout::cookies, Kind::cookies}};

constexpr const char* files_in_mail[] = {layout::calendar_file, layout::tasks_file, layout::contacts_file};

bool lies_in(std::string_view name, std::string_view folder) {
  return name.starts_with(folder) && name.size() > folder.size() && name[folder.size()] == '/';
}

std::string in_mail(const char* name) { return std::string(layout::mail) + "/" + name; }

// `name`: in the person's folder.
bool is_looked_at(std::string_view name, const Person& person) {
  if (person.runs && (name == layout::users || name == layout::packed_counts ||
                      name == layout::packed_remarks || lies_in(name, layout::fonts)))
    return true;
  return std::ranges::any_of(folders, [name](const Known& folder) { return lies_in(name, folder.name); }) ||
         std::ranges::find(files, name, &Known::name) != std::end(files) ||
         std::ranges::any_of(files_in_mail, [name](const char* file) { return name == in_mail(file); });
}

Kind kind_of(std::string_view name) {
  for (const Known& folder : folders)
    if (lies_in(name, folder.name)) return folder.kind;
  for (const Known& file : files)
    if (name == file.name) return file.kind;
  if (name == layout::konqueror_bookmarks) return Kind::bookmarks;
  if (name == layout::konqueror_cookies) return Kind::cookies;
  if (lies_in(name, layout::fonts)) return Kind::fonts;
  if (lies_in(name, in_mail(layout::calendar))) return Kind::calendar;
  if (lies_in(name, in_mail(layout::tasks))) return Kind::tasks;
  if (lies_in(name, in_mail(layout::contacts))) return Kind::contacts;
  return Kind::shared_files;
}

// A profile's things; a file among the profiles is nobody's.
bool is_of_profile(std::string_view name) {
  const std::string_view profiles = layout::profiles;
  return lies_in(name, profiles) && name.find('/', profiles.size() + 1) != std::string_view::npos;
}

std::optional<LeftOver> judge(const Entry& entry, const Person& person) {
  const std::optional<Cause> fault = fault_of(entry);
  if (!lies_in(entry.name, person.folder)) {
    const bool is_outside = entry.name != person.folder;
    const Reason reason =
        is_outside ? Reason{Cause::outside_root, layout::root} : Reason{Cause::unknown_name, {}};
    return LeftOver{entry.name, Kind::shared_files, fault ? Reason{*fault, {}} : reason};
  }
  const std::string_view name = name_within(entry, person.folder);
  if (is_looked_at(name, person) || (person.runs && is_of_profile(name))) return std::nullopt;
  return LeftOver{name, kind_of(name), {fault.value_or(Cause::unknown_name), {}}};
}

// An earlier entry of a name that comes again, with another content: only the last one is unpacked.
std::optional<LeftOver> judge_overridden(const Entry& entry, const Entry& kept, const Person& person) {
  if (entry.size == kept.size && entry.crc == kept.crc) return std::nullopt;
  if (!lies_in(entry.name, person.folder)) return judge(entry, person);
  const std::string_view name = name_within(entry, person.folder);
  if (person.runs && is_of_profile(name)) return std::nullopt;
  return LeftOver{name, kind_of(name), {Cause::overridden, {}}};
}

const Entry& last_of_name(const Entry& entry, std::span<const Entry> among) {
  const Entry* last = &entry;
  while (is_overridden(*last, among)) ++last;
  return *last;
}

}  // namespace

std::vector<LeftOver> left_over(const Archive& archive, const Person& person) {
  const auto entries = person.runs ? archive.entries() : archive.below(person.folder);
  std::vector<LeftOver> result;
  for (const Entry& entry : entries) {
    if (entry.folder) continue;
    const Entry& kept = last_of_name(entry, entries);
    if (auto one = &kept == &entry ? judge(entry, person) : judge_overridden(entry, kept, person))
      result.push_back(std::move(*one));
  }
  return result;
}

}  // namespace account
