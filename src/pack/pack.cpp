#include "pack/pack.h"

#include <sys/statvfs.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>

#include "pack/disk/folder_tree.h"
#include "pack/disk/nameless.h"
#include "pack/parcel/zip.h"
#include "pack/progress.h"
#include "pack/register.h"
#include "process/archive/layout.h"

namespace pack {

namespace {

std::unique_ptr<Tree> opened(const std::string& source) {
  try {
    return folder_tree(source);
  } catch (const std::system_error& error) {
    throw Impossible(source + " cannot be read: " + error.code().message());
  }
}

bool is_meant(const Person& person, const std::string& name) {
  return is_same_name(person.shown, name) || person.login == name;
}

std::string folder_for(const Person& person, bool is_one_of_several) {
  const std::string root = layout::root;
  return is_one_of_several ? root + "/" + layout::profiles + "/" + person.login : root;
}

// Lines end as on Windows, where such files come from.
std::string control_file(const std::vector<Person>& people) {
  return "Default=" + people.front().login + "\r\nMultiUser Migration=" + (people.size() > 1 ? "1" : "0") +
         "\r\n";
}

void add_folders(Parcel& parcel, const std::vector<Person>& people) {
  parcel.add_folder(layout::root, 0);
  if (people.size() == 1) return;
  parcel.add_folder(std::string(layout::root) + "/" + layout::profiles, 0);
  for (const Person& person : people) parcel.add_folder(folder_for(person, true), 0);
}

void pack_person(Parcel& parcel, const Machine& machine, Packed& packed, const std::string& folder,
                 const Options& options) {
  const auto hive_file = find(*packed.person.home.tree, packed.person.home.path, "NTUSER.DAT");
  const auto hive = hive_file ? Hive::open(*packed.person.home.tree, hive_file->path) : std::nullopt;
  packed.has_registry = hive.has_value();
  packed.is_registry_dirty = hive && hive->is_dirty();
  if (hive_file && !hive) packed.tally.note(Kind::others, Cause::registry_unreadable, hive_file->path);
  if (packed.is_registry_dirty) packed.tally.note(Kind::others, Cause::registry_dirty, hive_file->path);
  Packing packing(parcel, packed.tally, folder, options.without);
  for (const Source& source : sources())
    source.pack(packing, machine, packed.person, hive ? &*hive : nullptr);
  if (hive && hive->is_damaged()) packed.tally.note(Kind::others, Cause::registry_damaged, hive_file->path);
}

// The folder that a new file of that name would lie in.
std::filesystem::path folder_of(const std::string& file) {
  return std::filesystem::weakly_canonical(std::filesystem::absolute(file)).parent_path();
}

bool lies_within(const std::string& folder, const std::string& source) {
  return folder == source || folder.starts_with(source == "/" ? source : source + "/");
}

// Nothing of ours comes to lie on a disk that is packed, not even for a while.
void refuse_within_disks(const Options& options) {
  std::vector<std::string> disks{options.source};
  for (const auto& [letter, folder] : options.drives) disks.push_back(folder);
  for (const std::string& disk : disks) {
    const std::string place = std::filesystem::canonical(disk);
    if (!options.out.empty() && lies_within(folder_of(options.out), place))
      throw Impossible(options.out + " lies on the disk that is to be packed; nothing is written there");
    const std::string copies = folder_for_copies();
    if (lies_within(std::filesystem::canonical(copies), place))
      throw Impossible(copies +
                       " lies on the disk that is to be packed; nothing is written there. Another folder for "
                       "copies is named by TMPDIR");
  }
}

void refuse_too_large(const Options& options, std::uint64_t bytes) {
  struct statvfs room {};
  if (statvfs(folder_of(options.out).c_str(), &room) != 0)
    throw Impossible(options.out + " cannot be written: " + std::generic_category().message(errno));
  const std::uint64_t free = std::uint64_t{room.f_bavail} * room.f_frsize;
  if (bytes > free)
    throw Impossible("the archive may take " + std::to_string(bytes) + " bytes and " + options.out +
                     " has room for " + std::to_string(free) + "; --without leaves kinds of data out");
}

// The numbers, and what is left out, which may be long.
void add_tables(Parcel& parcel, const std::vector<Packed>& packed) {
  const std::string root = std::string(layout::root) + "/";
  parcel.add_text(root + layout::packed_counts, table_of_counts(packed));
  std::uint64_t size = 0;
  write_table_of_remarks([&](std::string_view line) { size += line.size(); }, packed);
  parcel.add_stream(root + layout::packed_remarks, size,
                    [&](const Writer& write) { write_table_of_remarks(write, packed); });
}

Survey surveyed(const Disk& disk, const std::vector<Person>& people, const Options& options,
                Progress& progress) {
  Sum sum(options.list, [&] { progress.find(); });
  Survey survey{.people = pack_all(sum, disk, people, options)};
  add_tables(sum, survey.people);
  survey.bytes = sum.bytes();
  return survey;
}

}  // namespace

Disk disk_of(const Options& options) {
  Disk disk(opened(options.source));
  for (const auto& [letter, folder] : options.drives) disk.add(letter, opened(folder));
  refuse_within_disks(options);
  return disk;
}

std::vector<Person> chosen_people(const Disk& disk, const Options& options) {
  std::vector<Person> people = people_on(disk);
  if (people.empty())
    throw Impossible(options.source + " has no folder of a person, neither in Users nor elsewhere");
  for (const std::string& name : options.users)
    if (std::ranges::none_of(people, [&](const Person& person) { return is_meant(person, name); }))
      throw Impossible("there is nobody called '" + name + "' on the disk");
  if (!options.users.empty())
    std::erase_if(people, [&](const Person& person) {
      return std::ranges::none_of(options.users,
                                  [&](const std::string& name) { return is_meant(person, name); });
    });
  for (const auto& [old_login, login] : options.logins) {
    const auto person =
        std::ranges::find_if(people, [&](const Person& one) { return is_meant(one, old_login); });
    if (person == people.end()) throw Impossible("there is nobody called '" + old_login + "' to be packed");
    person->login = login;
  }
  std::set<std::string> logins;
  for (const Person& person : people)
    if (!logins.insert(person.login).second)
      throw Impossible("two people would have the account " + person.login);
  return people;
}

std::vector<Packed> pack_all(Parcel& parcel, const Disk& disk, const std::vector<Person>& people,
                             const Options& options) {
  add_folders(parcel, people);
  parcel.add_text(std::string(layout::root) + "/" + layout::users, control_file(people));
  const Machine machine{.disk = disk, .people = people};
  std::vector<Packed> all;
  for (const Person& person : people) {
    Packed& packed = all.emplace_back();
    packed.person = person;
    pack_person(parcel, machine, packed, folder_for(person, people.size() > 1), options);
  }
  if (people.size() > 1) all.emplace_back().person.shown = "This computer";
  Packing shared(parcel, all.back().tally, layout::root, options.without);
  for (const SharedSource& source : shared_sources()) source.pack(shared, machine);
  return all;
}

Survey look_at(const Disk& disk, const std::vector<Person>& people, const Options& options) {
  Progress progress;
  return surveyed(disk, people, options, progress);
}

std::vector<Packed> write_archive(const Disk& disk, const std::vector<Person>& people,
                                  const Options& options) {
  Progress progress;
  const std::uint64_t bytes = surveyed(disk, people, options, progress).bytes;
  refuse_too_large(options, bytes);
  progress.begin(bytes);
  Zip zip(options.out, {.store = options.store, .progress = [&](std::uint64_t more) { progress.add(more); }});
  auto packed = pack_all(zip, disk, people, options);
  add_tables(zip, packed);
  zip.finish();
  return packed;
}

}  // namespace pack
