#include "pack/pack.h"

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <system_error>

#include "pack/disk/nameless.h"
#include "pack/files/outside.h"
#include "pack/parcel/zip.h"
#include "pack/progress.h"
#include "pack/register.h"
#include "pack/volumes.h"
#include "process/archive/layout.h"

namespace pack {

namespace {

Volume opened(const std::string& name) {
  try {
    return open_volume(name);
  } catch (const NoVolume& error) {
    throw Impossible(error.what());
  }
}

// The letters that Windows gave to partitions: values "\DosDevices\D:" that hold what identifies each. Where
// damage hides some, the disk has it as a gap.
std::map<std::string, char> letters_of(Disk& disk) {
  constexpr std::string_view key = "MountedDevices";
  constexpr std::string_view begin = R"(\DosDevices\)";
  std::map<std::string, char> letters;
  const auto file = machine_hive(disk.system(), "SYSTEM");
  const auto system = file ? Hive::open(disk.system(), *file) : std::nullopt;
  if (!system) return letters;
  for (const std::string& name : system->values(key))
    if (name.size() == begin.size() + 2 && name.starts_with(begin) && name.back() == ':')
      if (const auto identity = system->bytes(key, name)) letters[*identity] = name[begin.size()];
  if (system->is_damaged()) disk.add_gap(Cause::registry_damaged, *file);
  return letters;
}

// Other partitions of the same disk have the letters that Windows gave them, unless those are taken.
void add_others(Disk& disk, std::vector<OtherPartition> others) {
  if (others.empty()) return;
  const auto letters = letters_of(disk);
  for (OtherPartition& other : others) {
    const auto letter = letters.find(other.identity);
    const bool is_known = letter != letters.end() && letter->second >= 'A' && letter->second <= 'Z';
    if (other.tree && is_known && !disk.has(letter->second)) {
      disk.add(letter->second, std::move(other.tree));
    } else {
      disk.add_gap(other.cause, other.name);
    }
  }
}

bool is_meant(const Person& person, const std::string& name) {
  return is_same_name(person.shown, name) || person.login == name ||
         (!person.account.empty() && is_same_name(person.account, name));
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

// A disk with Windows on it has a registry for everybody; a copy of somebody's folder may be without.
Cause cause_of_missing_hive(const Machine& machine, const Person& person) {
  const bool is_windows = find_folder(machine.disk.system(), "", "Windows/System32") ||
                          find_folder(machine.disk.system(), "", "WINNT/system32");
  return is_windows && !person.home.path.empty() ? Cause::registry_missing : Cause::registry_not_copied;
}

void add_places(Machine& machine, const Person& person, const Hive* hive) {
  for (const Place& place : places_of(machine.disk, person, hive)) machine.places_of_people.push_back(place);
}

std::optional<Hive> hive_of(const Person& person) {
  const auto file = find(*person.home.tree, person.home.path, "NTUSER.DAT");
  return file ? Hive::open(*person.home.tree, file->path) : std::nullopt;
}

void pack_person(Parcel& parcel, Machine& machine, Packed& packed, const std::string& folder,
                 const Options& options) {
  const std::string hive_path = joined(packed.person.home.path, "NTUSER.DAT");
  const auto hive_file = find(*packed.person.home.tree, packed.person.home.path, "NTUSER.DAT");
  const auto hive = hive_file ? Hive::open(*packed.person.home.tree, hive_file->path) : std::nullopt;
  packed.has_registry = hive.has_value();
  packed.is_registry_dirty = hive && hive->is_dirty();
  if (!hive_file) packed.tally.note(Kind::others, cause_of_missing_hive(machine, packed.person), hive_path);
  if (hive_file && !hive) packed.tally.note(Kind::others, Cause::registry_unreadable, hive_file->path);
  if (packed.is_registry_dirty) packed.tally.note(Kind::others, Cause::registry_dirty, hive_file->path);
  add_places(machine, packed.person, hive ? &*hive : nullptr);
  Packing packing(parcel, packed.tally, folder, options.without);
  for (const Source& source : sources())
    source.pack(packing, machine, packed.person, hive ? &*hive : nullptr);
  if (hive && hive->is_damaged()) packed.tally.note(Kind::others, Cause::registry_damaged, hive_file->path);
}

// The folder that a new file of that name would lie in.
std::filesystem::path folder_of(const std::string& file) {
  std::error_code error;
  const auto path = std::filesystem::weakly_canonical(std::filesystem::absolute(file), error);
  if (error) throw Impossible(file + " cannot be written: " + error.message());
  return path.parent_path();
}

// The device that something lies on, as the system shows it: partitions lie below their disk.
std::string device_of(dev_t number) {
  std::error_code error;
  const std::filesystem::path shown =
      "/sys/dev/block/" + std::to_string(major(number)) + ":" + std::to_string(minor(number));
  return std::filesystem::canonical(shown, error);
}

bool lies_below(const std::string& path, const std::string& top) {
  return !top.empty() && (path == top || path.starts_with(top == "/" ? top : top + "/"));
}

// In the folder, or on the device that somebody has mounted meanwhile. What is not there holds nothing.
bool lies_on(const std::string& folder, const std::string& source) {
  struct stat of_source {};
  struct stat of_folder {};
  if (stat(source.c_str(), &of_source) != 0) return false;
  if (S_ISBLK(of_source.st_mode))
    return stat(folder.c_str(), &of_folder) == 0 &&
           (of_folder.st_dev == of_source.st_rdev ||
            lies_below(device_of(of_folder.st_dev), device_of(of_source.st_rdev)));
  return lies_below(folder, std::filesystem::canonical(source));
}

// Nothing of ours comes to lie on a disk that is packed, not even for a while.
void refuse_within_disks(const Options& options) {
  std::vector<std::string> disks{path_of(options.source)};
  for (const auto& [letter, name] : options.drives) disks.push_back(path_of(name));
  const std::string copies = folder_for_copies();
  for (const std::string& disk : disks) {
    if (!options.out.empty() && lies_on(folder_of(options.out), disk))
      throw Impossible(options.out + " lies on the disk that is to be packed; nothing is written there");
    if (lies_on(std::filesystem::canonical(copies), disk))
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

Machine machine_of(const Disk& disk, const std::vector<Person>& people, const Options& options) {
  Machine machine{.disk = disk, .people = people, .registry = machine_registry(disk)};
  Household household = household_of(disk, machine.registry);
  machine.everybody = std::move(household.people);
  std::set<Gap> known;
  const auto add = [&](const std::vector<Gap>& gaps) {
    for (const Gap& gap : gaps)
      if (known.insert(gap).second) machine.gaps.push_back(gap);
  };
  add(disk.gaps());
  add(machine.registry.gaps);
  add(household.gaps);
  for (const Person& person : machine.everybody) {
    const auto is_it = [&](const Person& one) {
      return one.home.tree == person.home.tree && one.home.path == person.home.path;
    };
    if (std::ranges::any_of(people, is_it)) continue;
    const auto hive = hive_of(person);
    add_places(machine, person, hive ? &*hive : nullptr);
  }
  const std::string& charset = machine.registry.charset.empty() ? options.charset : machine.registry.charset;
  if (!charset.empty()) machine.charset = charset;
  return machine;
}

Disk disk_of(const Options& options) {
  refuse_within_disks(options);
  Volume source = opened(options.source);
  Disk disk(std::move(source.tree));
  for (const auto& [letter, name] : options.drives) disk.add(letter, opened(name).tree);
  std::erase_if(source.others, [&](const OtherPartition& other) {
    return std::ranges::any_of(options.drives, [&](const auto& drive) { return drive.second == other.name; });
  });
  add_others(disk, std::move(source.others));
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
  Machine machine = machine_of(disk, people, options);
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
