// A small disk of the test's own, which the test fills.
#ifndef BRINDLE_TESTS_SUPPORT_FULL_DISK_H
#define BRINDLE_TESTS_SUPPORT_FULL_DISK_H

#include <sys/mount.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

/// While it lives, a file system of 256 KB in memory lies at `place`, with what lay there before on it.
class SmallDisk {
 public:
  explicit SmallDisk(std::string place) : place_(std::move(place)) {
    namespace fs = std::filesystem;
    const fs::path before = "/tmp/before-small-disk";
    fs::create_directories(place_);
    fs::copy(place_, before, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    if (mount("tmpfs", place_.c_str(), "tmpfs", 0, "size=256k,mode=755") != 0) {
      std::perror(place_.c_str());
      std::abort();
    }
    fs::copy(before, place_, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    fs::remove_all(before);
  }
  ~SmallDisk() { umount2(place_.c_str(), MNT_DETACH); }
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;

  /// Leaves room for `left` more blocks of 4096 bytes.
  void fill_but(std::uintmax_t left = 0) const {
    struct statvfs disk {};
    statvfs(place_.c_str(), &disk);
    std::ofstream(place_ + "/filling", std::ios::binary | std::ios::app)
        << std::string((disk.f_bavail - left) * disk.f_bsize, 'x');
  }

  /// Makes room again.
  void empty() const { unlink((place_ + "/filling").c_str()); }

 private:
  std::string place_;
};

#endif
