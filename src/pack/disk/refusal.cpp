#include "pack/disk/refusal.h"

namespace pack {

bool is_refusal(const std::error_code& error) {
  return error == std::errc::permission_denied || error == std::errc::operation_not_permitted;
}

Cause cause_at(const Place& place, Cause other) {
  try {
    place.tree->open(place.path);
  } catch (const std::system_error& error) {
    return cause_of(error, other);
  }
  return other;
}

Cause cause_of(const std::system_error& error, Cause other) {
  return is_refusal(error.code()) ? Cause::forbidden : other;
}

}  // namespace pack
