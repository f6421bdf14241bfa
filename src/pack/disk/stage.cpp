#include "pack/disk/stage.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "pack/disk/nameless.h"

namespace pack {

namespace {

constexpr std::size_t block_size = std::size_t{1} << 16;

std::string new_folder() {
  std::string folder = folder_for_copies() + "/brindle-pack-XXXXXX";
  if (mkdtemp(folder.data()) == nullptr) throw std::system_error(errno, std::generic_category(), folder);
  return folder;
}

// A file that is written once.
class Copy {
 public:
  explicit Copy(const std::string& path)
      : path_(path), file_(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600)) {
    if (file_ < 0) fail();
  }
  Copy(const Copy&) = delete;
  Copy& operator=(const Copy&) = delete;
  ~Copy() { close(file_); }

  void append(std::string_view bytes) const {
    while (!bytes.empty()) {
      const ssize_t count = write(file_, bytes.data(), bytes.size());
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) fail();
      bytes.remove_prefix(static_cast<std::size_t>(count));
    }
  }

 private:
  // Not a std::system_error, which is about the disk that is packed.
  [[noreturn]] void fail() const {
    throw std::runtime_error("a copy cannot be kept at " + path_ + ": " +
                             std::generic_category().message(errno) +
                             "; TMPDIR names another folder for such");
  }

  std::string path_;
  int file_;
};

// 0 when the disk does not give them, and `is_good` false then.
std::size_t read_some(Content& content, std::string& block, bool& is_good) {
  try {
    return content.read(block.data(), block.size());
  } catch (const std::system_error&) {
    is_good = false;
    return 0;
  }
}

}  // namespace

Stage::Stage() : folder_(new_folder()), trace_(folder_) {}

Stage::~Stage() {
  std::error_code error;
  std::filesystem::remove_all(folder_, error);
}

std::optional<std::string> Stage::copy(const Place& file, const std::string& name) const {
  const auto found = find(*file.tree, "", file.path);
  if (!found) return std::nullopt;
  if (!has_room(folder_, found->entry.size))
    throw std::runtime_error(
        "there is no room for a copy of " + file.path + " in " + folder_for_copies() +
        ", which is needed to read it; TMPDIR names another folder, and --without leaves a "
        "kind of data out");
  std::unique_ptr<Content> content;
  try {
    content = file.tree->open(file.path);
  } catch (const std::system_error&) {
    return std::nullopt;
  }
  const Copy copy(path(name));
  std::string block(block_size, '\0');
  bool is_good = true;
  while (const std::size_t count = read_some(*content, block, is_good))
    copy.append(std::string_view(block).substr(0, count));
  return is_good ? std::optional(path(name)) : std::nullopt;
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
