#include "pack/disk/nameless.h"

#include <fcntl.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace pack {

namespace {

[[noreturn]] void fail(const std::string& folder, int error) {
  throw std::runtime_error("a file for the time being cannot be kept in " + folder + ": " +
                           std::generic_category().message(error));
}

// Where files need a name it goes at once.
int opened_in(const std::string& folder) {
  const int file = open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (file >= 0) return file;
  std::string name = folder + "/brindle-pack-XXXXXX";
  const int named = mkostemp(name.data(), O_CLOEXEC);
  if (named < 0) fail(folder, errno);
  unlink(name.c_str());
  return named;
}

}  // namespace

Nameless::Nameless(const std::string& folder) : folder_(folder), file_(opened_in(folder)) {}

Nameless::~Nameless() { close(file_); }

void Nameless::append(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(file_, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) fail(folder_, errno);
    bytes.remove_prefix(static_cast<std::size_t>(count));
    size_ += static_cast<std::uint64_t>(count);
  }
}

std::size_t Nameless::read_at(std::uint64_t place, char* to, std::size_t most) const {
  for (;;) {
    const ssize_t count = pread(file_, to, most, static_cast<off_t>(place));
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EINTR) fail(folder_, errno);
  }
}

std::string Nameless::path() const { return "/proc/self/fd/" + std::to_string(file_); }

std::string folder_for_copies() {
  std::error_code error;
  const std::filesystem::path folder = std::filesystem::temp_directory_path(error);
  if (!error) return folder;
  const char* const named = std::getenv("TMPDIR");
  fail(named == nullptr ? "/tmp" : std::string(named) + ", which TMPDIR names", error.value());
}

bool has_room(const std::string& folder, std::uint64_t bytes) {
  struct statvfs room {};
  if (statvfs(folder.c_str(), &room) != 0) fail(folder, errno);
  return bytes <= std::uint64_t{room.f_bavail} * room.f_frsize;
}

}  // namespace pack
