#include "process/archive/tree.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <cerrno>
#include <cstdio>
#include <string_view>
#include <utility>

#include "place/beneath.h"
#include "shell/files.h"

namespace {

constexpr int folder_flags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr std::size_t piece_size = 64 * 1024;

std::string name_in(const std::string& path) { return path.substr(path.rfind('/') + 1); }

std::string folder_of(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "" : path.substr(0, slash);
}

// Splits the first name off `rest`.
std::string_view next_name(std::string_view& rest) {
  const std::size_t slash = rest.find('/');
  const std::string_view name = rest.substr(0, slash);
  rest.remove_prefix(slash == std::string_view::npos ? rest.size() : slash + 1);
  return name;
}

bool may_be_entered(std::string_view name) { return !name.empty() && name != "." && name != ".."; }

bool leads_down(std::string_view path) {
  while (!path.empty())
    if (!may_be_entered(next_name(path))) return false;
  return true;
}

}  // namespace

Tree::Tree(const std::string& folder) : folder_(folder), root_(open(folder.c_str(), folder_flags)) {}

Tree::Contents Tree::contents() const {
  Contents found;
  std::vector<std::string> waiting = {""};
  while (!waiting.empty()) {
    const std::string parent = std::move(waiting.back());
    waiting.pop_back();
    const auto names = list_folder(folder_ + "/" + parent);
    if (!names) continue;
    for (const std::string& name : *names) {
      std::string path = parent.empty() ? name : parent + "/" + name;
      struct stat status {};
      if (lstat((folder_ + "/" + path).c_str(), &status) != 0) continue;
      if (S_ISREG(status.st_mode)) found.files.push_back({path, static_cast<std::uint64_t>(status.st_size)});
      if (!S_ISDIR(status.st_mode)) continue;
      found.folders.push_back(path);
      waiting.push_back(std::move(path));
    }
  }
  return found;
}

Descriptor Tree::open_folder(const std::string& path, bool make) const {
  if (!leads_down(path)) {
    errno = EINVAL;
    return Descriptor();
  }
  Descriptor there = place::open_beneath(root_.number(), path, folder_flags);
  if (there || !make) return there;
  Descriptor folder = place::open_beneath(root_.number(), "", folder_flags);
  for (std::string_view rest = path; folder && !rest.empty();) {
    const std::string name(next_name(rest));
    if (mkdirat(folder.number(), name.c_str(), 0777) != 0 && errno != EEXIST) return Descriptor();
    folder = Descriptor(openat(folder.number(), name.c_str(), folder_flags));
  }
  return folder;
}

Descriptor Tree::open_parent(const std::string& path, bool make) const {
  if (may_be_entered(name_in(path))) return open_folder(folder_of(path), make);
  errno = EINVAL;
  return Descriptor();
}

std::optional<std::uint32_t> Tree::checksum(const std::string& path) const {
  const Descriptor folder = open_parent(path, false);
  const Descriptor file(openat(folder.number(), name_in(path).c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
  if (!file) return std::nullopt;
  std::vector<unsigned char> piece(piece_size);
  uLong sum = crc32(0, nullptr, 0);
  ssize_t size = 0;
  while ((size = read(file.number(), piece.data(), piece.size())) > 0)
    sum = crc32(sum, piece.data(), static_cast<uInt>(size));
  if (size < 0) return std::nullopt;
  return static_cast<std::uint32_t>(sum);
}

bool Tree::make_folder(const std::string& path) const { return static_cast<bool>(open_folder(path, true)); }

bool Tree::move(const std::string& from, const std::string& to) const {
  const Descriptor source = open_parent(from, false);
  const Descriptor target = open_parent(to, true);
  if (!source || !target) return false;
  return renameat(source.number(), name_in(from).c_str(), target.number(), name_in(to).c_str()) == 0;
}

Descriptor Tree::create(const std::string& path) const {
  const Descriptor folder = open_parent(path, true);
  if (!folder) return Descriptor();
  constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  return Descriptor(openat(folder.number(), name_in(path).c_str(), flags, 0666));
}

void Tree::remove_file(const std::string& path) const {
  const Descriptor folder = open_parent(path, false);
  if (folder) unlinkat(folder.number(), name_in(path).c_str(), 0);
}

void Tree::remove_folder(const std::string& path) const {
  const Descriptor folder = open_parent(path, false);
  if (folder) unlinkat(folder.number(), name_in(path).c_str(), AT_REMOVEDIR);
}
