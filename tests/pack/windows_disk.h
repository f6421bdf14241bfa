// A folder that looks like a mounted Windows partition.
#ifndef BRINDLE_TESTS_PACK_WINDOWS_DISK_H
#define BRINDLE_TESTS_PACK_WINDOWS_DISK_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace windows {

/// A value of the registry.
struct Value {
  std::string name;
  std::string data;  ///< UTF-8 of a text; bytes of others; a number in digits
  enum Type { text, expand, binary, dword } type = text;
};

/// Values by the path of their key, "Network\Z". Keys above are made as well.
using Keys = std::map<std::string, std::vector<Value>>;

/// A hive file's bytes with these keys, made by hivexregedit.
std::string hive(const Keys& keys);

/// The same, not shut down cleanly.
std::string dirty_hive(const Keys& keys);

/// A disk below a folder of its own in /tmp, with nobody on it.
class Disk {
 public:
  Disk();

  /// Adds a file, with the folders above it, and returns its path.
  std::string add(const std::string& path, std::string_view content = "content\n") const;
  /// Adds a folder.
  void add_folder(const std::string& path) const;

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace windows

#endif
