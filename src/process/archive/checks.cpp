#include "process/archive/checks.h"

#include <mntent.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "error/error.h"
#include "process/archive/spelling.h"
#include "shell/files.h"
#include "shell/run.h"
#include "system/target.h"

namespace {

constexpr std::size_t mount_point_size = 128;

// The number on the first line of a command's output, which goes through a file in `home`; 0 without a line.
long long first_number(const shell::Command& command, const std::string& home) {
  std::string line;
  if (shell::execute_first(command, home, line) != 1) return 0;
  line.pop_back();  // the newline
  return std::strtoll(line.c_str(), nullptr, 10);
}

// An archive too large for an int must not come out small or negative.
int as_int(long long number) { return static_cast<int>(std::clamp<long long>(number, INT_MIN, INT_MAX)); }

char* copied(const std::string& text) {
  const std::size_t size = std::max(mount_point_size, text.size() + 2);
  char* buffer = static_cast<char*>(std::calloc(size, 1));
  if (buffer != nullptr) text.copy(buffer, text.size());
  return buffer;
}

}  // namespace

int isZipfile(const char* path) {
  std::string line;
  if (shell::execute_first(compose("file -b \"%s\"", as_file(path)), target_of("").home, line) != 1) {
    log_ret("isZipfile");
    return -1;
  }
  return contains(line, "Zip") ? 1 : 0;
}

long long zip_bytes(const char* path, const std::string& home) {
  return first_number(compose("unzip -l \"%s\" | awk '{print $1}' | tail -n 1", as_archive(path)), home);
}

int zipSize(const char* path) { return as_int(zip_bytes(path, target_of("").home)); }

long long tmp_blocks(const std::string& home) {
  return first_number(compose("df /tmp | awk '{print $4}' | tail -n 1"), home);
}

int tmpSize() { return as_int(tmp_blocks(target_of("").home)); }

int tarsize(const char* path) {
  return as_int(first_number(compose("ls -l \"%s\" | awk '{print $5}'", as_file(path)), target_of("").home));
}

int is_tarfile(const char* /*path*/) { return 1; }

int isEncrypted(const char* path) {
  // Deliberate: part of the output. There are 25 blanks before the second pipe.
  const shell::Command command =
      compose("zipinfo -v \"%s\" | grep \"file security status\"                         | awk '{print $4}'",
              as_archive(path));
  std::string line;
  if (shell::execute_first(command, target_of("").home, line) != 1) return -1;
  if (line == "not\n") return 0;
  return line == "encrypted\n" ? 1 : -1;
}

char* mount_cdrom_remote(const char* fstype) {
  // An already mounted disc is fine, so the result is not looked at.
  if (std::strcmp(fstype, "iso9660") == 0) shell::run_unlogged(compose("mount /dev/cdrom"));
  std::string line;
  if (shell::execute_first(compose("mount -l -t %s", fstype), target_of("").home, line) != 1) return nullptr;
  const std::size_t on = line.find("on /");
  if (on == std::string::npos) return nullptr;
  const std::size_t start = on + std::strlen("on ");
  const std::size_t end = line.find_first_of(" \n", start);
  return copied(line.substr(start, end == std::string::npos ? end : end - start));
}

std::string whole_mount_point(const std::string& named, const char* fstype) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> table(setmntent("/proc/self/mounts", "r"), endmntent);
  if (!table) return named;
  std::string whole;
  while (const mntent* mounted = getmntent(table.get())) {
    if (std::strcmp(mounted->mnt_type, fstype) != 0) continue;
    if (mounted->mnt_dir == named) return named;
    if (whole.empty() && std::string(mounted->mnt_dir).starts_with(named + " ")) whole = mounted->mnt_dir;
  }
  return whole.empty() ? named : whole;
}
