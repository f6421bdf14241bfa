#include "pack/recorded.h"

#include <gtest/gtest.h>

#include <system_error>

#include "pack/disk/folder_tree.h"
#include "pack/pack.h"

namespace recorded {

void Parcel::add(const std::string& name, std::string bytes) {
  if (!content.try_emplace(name, std::move(bytes)).second) twice.push_back(name);
}

void Parcel::add_folder(const std::string& name, std::int64_t) { add(name + "/", ""); }

pack::Outcome Parcel::add_file(const std::string& name, const pack::Tree& tree, const std::string& path,
                               const pack::Entry&) {
  std::string bytes;
  try {
    const auto file = tree.open(path);
    char block[7];
    while (const std::size_t count = file->read(block, sizeof block)) bytes.append(block, count);
  } catch (const std::system_error&) {
    return {.bytes = 0, .cause = pack::Cause::unreadable};
  }
  add(name, bytes);
  return {.bytes = bytes.size()};
}

void Parcel::add_stream(const std::string& name, std::uint64_t most,
                        const std::function<void(const pack::Writer& write)>& make) {
  std::string bytes;
  make([&](std::string_view more) { bytes += more; });
  EXPECT_LE(bytes.size(), most) << name;
  add(name, bytes);
}

void Parcel::add_text(const std::string& name, std::string_view text) { add(name, std::string(text)); }

std::vector<std::string> Result::files_below(const std::string& folder) const {
  std::vector<std::string> names;
  for (const auto& [name, bytes] : content)
    if (name.starts_with(folder) && !name.ends_with('/')) names.push_back(name.substr(folder.size()));
  return names;
}

namespace {

std::vector<std::string> remarks_of(const pack::Packed& packed) {
  std::vector<std::string> texts;
  packed.tally.each_remark([&](const pack::Tally::Remark& remark) {
    // Most disks of tests are copies of people's folders without a registry.
    if (remark.cause == pack::Cause::registry_not_copied) return;
    texts.push_back(std::string(pack::name_of(remark.cause)) + " " + remark.path);
  });
  return texts;
}

}  // namespace

std::vector<std::string> Result::remarks() const { return remarks_of(people.front()); }

std::vector<std::string> Result::last_remarks() const { return remarks_of(people.back()); }

Result pack_disk(const std::string& path, pack::Options options) {
  options.source = path;
  return pack_disk(pack::disk_of(options), options);
}

Result pack_disk(const pack::Disk& disk, const pack::Options& options) {
  Parcel parcel;
  auto people = pack::pack_all(parcel, disk, pack::chosen_people(disk, options), options);
  EXPECT_TRUE(parcel.twice.empty()) << parcel.twice.front();
  return {.content = std::move(parcel.content), .people = std::move(people)};
}

namespace {

class BadTree : public pack::Tree {
 public:
  BadTree(const std::string& path, std::string bad, std::errc error)
      : tree_(pack::folder_tree(path)), bad_(std::move(bad)), error_(error) {}
  std::vector<pack::Entry> list(const std::string& folder) const override {
    if (folder == bad_) throw std::system_error(std::make_error_code(error_), folder);
    return tree_->list(folder);
  }
  std::unique_ptr<pack::Content> open(const std::string& file) const override { return tree_->open(file); }

 private:
  std::unique_ptr<pack::Tree> tree_;
  std::string bad_;
  std::errc error_;
};

}  // namespace

std::unique_ptr<pack::Tree> tree_with(const std::string& path, const std::string& bad, std::errc error) {
  return std::make_unique<BadTree>(path, bad, error);
}

}  // namespace recorded
