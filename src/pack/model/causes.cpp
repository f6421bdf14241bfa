#include "pack/model/causes.h"

namespace pack {

namespace {

struct Words {
  std::string_view name;
  std::string_view said;
  std::string_view advice;
};

constexpr std::array words{
#define CAUSE(cause, name, said, advice) Words{name, said, advice},
#include "pack/model/causes.def"
#undef CAUSE
};

const Words& words_of(Cause cause) { return words[static_cast<std::size_t>(cause)]; }

}  // namespace

std::string_view name_of(Cause cause) { return words_of(cause).name; }

std::string_view said_of(Cause cause) { return words_of(cause).said; }

std::string_view advice_on(Cause cause) { return words_of(cause).advice; }

}  // namespace pack
