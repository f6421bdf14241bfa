// A Windows volume in memory, for harnesses and tests.
#ifndef BRINDLE_FUZZ_SUPPORT_VOLUME_H
#define BRINDLE_FUZZ_SUPPORT_VOLUME_H

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "pack/disk/tree.h"

namespace fuzz {

/// What a file holds, handed out at most so many bytes at a time.
class Bytes : public pack::Content {
 public:
  explicit Bytes(std::string bytes, std::size_t most = std::string::npos)
      : bytes_(std::move(bytes)), most_(most) {}

  std::size_t read(char* to, std::size_t most) override {
    const std::size_t count = bytes_.copy(to, std::min(most, most_), at_);
    at_ += count;
    return count;
  }

 private:
  std::string bytes_;
  std::size_t most_;
  std::size_t at_ = 0;
};

/// Files by their paths.
class Volume : public pack::Tree {
 public:
  explicit Volume(std::map<std::string, std::string> files) : files_(std::move(files)) {}

  std::vector<pack::Entry> list(const std::string& folder) const override {
    const std::string above = folder.empty() ? "" : folder + "/";
    std::vector<pack::Entry> entries;
    for (const auto& [path, bytes] : files_) {
      if (!path.starts_with(above)) continue;
      const std::string rest = path.substr(above.size());
      const std::string name = rest.substr(0, rest.find('/'));
      if (!entries.empty() && entries.back().name == name) continue;
      pack::Entry& entry = entries.emplace_back();
      entry.name = name;
      entry.size = name == rest ? bytes.size() : 0;
      entry.what = name == rest ? pack::What::file : pack::What::folder;
    }
    return entries;
  }

  std::unique_ptr<pack::Content> open(const std::string& file) const override {
    const auto found = files_.find(file);
    if (found == files_.end())
      throw std::system_error(std::make_error_code(std::errc::no_such_file_or_directory));
    return std::make_unique<Bytes>(found->second, std::size_t{1} << 16);
  }

 private:
  std::map<std::string, std::string> files_;
};

}  // namespace fuzz

#endif
