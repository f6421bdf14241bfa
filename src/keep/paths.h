// Many paths, of which is only asked whether they are among them.
#ifndef BRINDLE_KEEP_PATHS_H
#define BRINDLE_KEEP_PATHS_H

#include <cstddef>
#include <string>
#include <unordered_set>

#include "keep/name_hash.h"

namespace keep {

class Paths {
 public:
  void add(const std::string& path) { hashes_.insert(hash_of_name(path)); }
  void remove(const std::string& path) { hashes_.erase(hash_of_name(path)); }
  bool has(const std::string& path) const { return hashes_.contains(hash_of_name(path)); }

 private:
  std::unordered_set<std::size_t> hashes_;
};

}  // namespace keep

#endif
