#include "account/model/tally.h"

#include <utility>

namespace account {

void Tally::miss_uncounted(std::string name, Cause cause, std::string_view detail) {
  ++uncounted_;
  miss(std::move(name), cause, detail);
}

void Tally::explain_all(Cause cause, std::string_view detail) {
  for (Missing& thing : missing_) {
    thing.cause = cause;
    thing.detail = kept(detail);
  }
}

void Tally::explain(Cause seen, Cause cause, std::string_view detail) {
  for (Missing& thing : missing_)
    if (thing.cause == seen) thing = {std::move(thing.name), cause, kept(detail)};
}

bool Tally::certain() const {
  return complete_ && found_ + uncounted_ == unchanged_ + changed_ + elsewhere_ + missing_.size();
}

}  // namespace account
