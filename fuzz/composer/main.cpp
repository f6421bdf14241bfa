// Tries the composer for as long as you like:
//
//   tools/view -- $PWD/build/debug/tests/fuzz-composer COUNT [SEED]
//
// makes COUNT commands and says what went wrong with them. The same SEED makes the same commands.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "composer/fuzz.h"

namespace {

std::vector<Shell> shells_for(const Trial& trial) {
  std::vector<Shell> shells = {{"/bin/dash", "C.UTF-8"}, {"/bin/bash", "C.UTF-8"}, {"/bin/bash", "C"}};
  for (const char* encoding : {"BIG5", "BIG5-HKSCS", "GBK", "GB18030", "EUC-TW"})
    if (const auto language = trial.make_language(encoding)) shells.push_back({"/bin/bash", *language, true});
  return shells;
}

void try_one(Fuzz& fuzz, std::size_t turn) {
  if (turn % 2 == 1) return fuzz.try_made_up_template();
  switch (turn % 8) {
    case 0:
      return fuzz.try_inner_command();
    case 2:
      return turn % 16 == 2 ? fuzz.try_quoted_word() : fuzz.try_number();
    default:
      return fuzz.try_shape();
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s COUNT [SEED]\n", argv[0]);
    return 2;
  }
  const Trial trial;
  const std::vector<Shell> shells = shells_for(trial);
  Fuzz fuzz(trial, shells, argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 1);
  const Tally& tally = fuzz.tally();
  for (std::size_t turn = 0; tally.composed < std::strtoull(argv[1], nullptr, 10); ++turn) {
    try_one(fuzz, turn);
    if (tally.breaches.size() > 20) break;
  }
  for (const std::string& breach : tally.breaches) std::printf("%s\n", breach.c_str());
  std::printf(
      "%zu commands, %zu run by %zu shells, %zu refused, %zu refused for halves of characters\n"
      "%zu made-up templates taken, %zu of them refused with their values, %zu not taken\n%zu breaches\n",
      tally.composed, tally.ran, shells.size(), tally.refused, tally.refused_halves, tally.templates,
      tally.refused_made_up, tally.no_templates, tally.breaches.size());
  return tally.breaches.empty() ? 0 : 1;
}
