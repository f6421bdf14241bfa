#include <sys/stat.h>
#include <sys/statvfs.h>
#include <algorithm>

#include <map>
#include <string>

#include "account/before/before.h"
#include "process/archive/layout.h"

namespace account {
namespace {

// What a file system is asked to take, in its own blocks.
struct Need {
  std::string where;  // a folder on it
  unsigned long long blocks = 0;
  unsigned long long files = 0;
};

using Needs = std::map<dev_t, Need>;

// The folder itself, or the nearest one above it that is there.
std::string existing(std::string folder) {
  struct stat status;
  while (folder.size() > 1 && stat(folder.c_str(), &status) != 0)
    folder.resize(std::max<std::size_t>(1, folder.rfind('/')));
  return folder;
}

void add(Needs& needs, const std::string& folder, std::span<const Entry> entries) {
  const std::string place = existing(folder);
  struct stat status;
  struct statvfs volume;
  if (stat(place.c_str(), &status) != 0 || statvfs(place.c_str(), &volume) != 0) return;
  const unsigned long long block = volume.f_frsize == 0 ? 4096 : volume.f_frsize;
  Need& need = needs[status.st_dev];
  if (need.where.empty()) need.where = place;
  for (const Entry& entry : entries) {
    need.blocks += entry.folder ? 1 : (entry.size + block - 1) / block;
    ++need.files;
  }
}

std::string in_megabytes(unsigned long long blocks, unsigned long long block) {
  const unsigned long long bytes = blocks * block;
  return std::to_string((bytes + 999'999) / 1'000'000) + " MB";
}

void judge(const Need& need, std::vector<Warning>& found) {
  struct statvfs volume;
  if (statvfs(need.where.c_str(), &volume) != 0) return;
  if (need.blocks > volume.f_bavail)
    found.push_back({"",
                     {},
                     need.where,
                     Foresight::little_space,
                     in_megabytes(need.blocks, volume.f_frsize) + " > " +
                         in_megabytes(volume.f_bavail, volume.f_frsize)});
  // Some file systems make room for files as they come, and say 0.
  if (volume.f_files != 0 && need.files > volume.f_favail)
    found.push_back({"",
                     {},
                     need.where,
                     Foresight::few_inodes,
                     std::to_string(need.files) + " > " + std::to_string(volume.f_favail)});
}

}  // namespace

void foresee_space(const Outlook& outlook, std::vector<Warning>& found) {
  Needs needs;
  add(needs, outlook.machine + "/tmp", outlook.archive.entries());
  for (const Person& person : outlook.people) {
    if (!person.runs) {
      add(needs, person.home, outlook.archive.below(person.folder));
      continue;
    }
    // The profiles lie in the same folder, but go to homes of their own.
    const std::string profiles = std::string(layout::root) + "/" + layout::profiles + "/";
    const auto all = outlook.archive.below(person.folder);
    const auto first =
        std::ranges::find_if(all, [&](const Entry& entry) { return entry.name.starts_with(profiles); });
    const auto last =
        std::find_if(first, all.end(), [&](const Entry& entry) { return !entry.name.starts_with(profiles); });
    add(needs, person.home, {all.begin(), first});
    add(needs, person.home, {last, all.end()});
  }
  for (const auto& [device, need] : needs) judge(need, found);
}

}  // namespace account
