#include "pack/ntfs/image.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace pack {

namespace {

[[noreturn]] void fail(const std::string& path) {
  throw std::system_error(errno, std::generic_category(), path);
}

}  // namespace

// A pipe would keep us waiting.
Image::Image(const std::string& path) : file_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
  if (file_ < 0) fail(path);
  const off_t end = lseek(file_, 0, SEEK_END);
  if (end >= 0) {
    size_ = static_cast<std::uint64_t>(end);
    return;
  }
  const int error = errno;
  close(file_);
  throw std::system_error(error, std::generic_category(), path);
}

Image::~Image() { close(file_); }

std::size_t Image::read(std::uint64_t at, char* to, std::size_t most) const {
  std::size_t done = 0;
  if (at >= size_) return 0;
  most = static_cast<std::size_t>(std::min<std::uint64_t>(most, size_ - at));
  while (done < most) {
    const ssize_t count = pread(file_, to + done, most - done, static_cast<off_t>(at + done));
    if (count == 0) break;
    if (count > 0) done += static_cast<std::size_t>(count);
    if (count < 0 && errno != EINTR) fail("");
  }
  return done;
}

std::string Image::bytes(std::uint64_t at, std::size_t most) const {
  std::string bytes(most, '\0');
  try {
    bytes.resize(read(at, bytes.data(), most));
  } catch (const std::system_error&) {
    bytes.clear();
  }
  return bytes;
}

}  // namespace pack
