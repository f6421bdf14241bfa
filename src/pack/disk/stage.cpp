#include "pack/disk/stage.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace pack {

namespace {

constexpr std::size_t block_size = std::size_t{1} << 16;

}  // namespace

Stage::Stage() : folder_(std::filesystem::temp_directory_path() / "brindle-pack-XXXXXX") {
  if (mkdtemp(folder_.data()) == nullptr) throw std::system_error(errno, std::generic_category(), folder_);
}

Stage::~Stage() {
  std::error_code error;
  std::filesystem::remove_all(folder_, error);
}

std::optional<std::string> Stage::copy(const Place& file, const std::string& name) const {
  const std::string path = this->path(name);
  try {
    const auto content = file.tree->open(file.path);
    std::ofstream to(path, std::ios::binary | std::ios::trunc);
    std::string block(block_size, '\0');
    while (const std::size_t count = content->read(block.data(), block.size()))
      to.write(block.data(), static_cast<std::streamsize>(count));
    to.close();
    return to ? std::optional(path) : std::nullopt;
  } catch (const std::system_error&) {
    return std::nullopt;
  }
}

std::optional<std::string> whole(const Place& file, std::size_t most) {
  std::string text;
  try {
    const auto content = file.tree->open(file.path);
    std::string block(block_size, '\0');
    while (const std::size_t count = content->read(block.data(), block.size())) {
      if (text.size() + count > most) return std::nullopt;
      text.append(block, 0, count);
    }
  } catch (const std::system_error&) {
    return std::nullopt;
  }
  return text;
}

}  // namespace pack
