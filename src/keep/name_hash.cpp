#include "keep/name_hash.h"

#include <sys/random.h>
#include <xxhash.h>

#include <array>
#include <cstdlib>

namespace keep {

namespace {

using Secret = std::array<unsigned char, 192>;

Secret new_secret() {
  Secret secret;
  // So few bytes come at once, or the kernel is too old to run this.
  if (getrandom(secret.data(), secret.size(), 0) != static_cast<ssize_t>(secret.size())) std::abort();
  return secret;
}

}  // namespace

std::size_t hash_of_name(std::string_view name) {
  static const Secret secret = new_secret();
  return XXH3_64bits_withSecret(name.data(), name.size(), secret.data(), secret.size());
}

}  // namespace keep
