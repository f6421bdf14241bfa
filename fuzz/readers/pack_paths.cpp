// Paths of the registry: where somebody's folders are.
#include "pack/files/known_folders.h"
#include "support/harness.h"
#include "support/volume.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string path(fuzz::Input(data, size).text());
  auto volume =
      std::make_unique<fuzz::Volume>(std::map<std::string, std::string>{{"Users/Ann/Documents/a.txt", "a"},
                                                                        {"Users/Ann/Mail/b", "b"},
                                                                        {"Users/Bob/Documents/c", "c"},
                                                                        {"Data/d", "d"}});
  const pack::Tree* const tree = volume.get();
  const pack::Disk disk(std::move(volume));
  const pack::Person ann{.shown = "Ann", .login = "ann", .home = {.tree = tree, .path = "Users/Ann"}};
  const pack::Whereabouts found = pack::whereabouts(disk, ann, nullptr, path);
  fuzz::require(!found.place || !found.cause, "what is there is not missing");
  if (!found.place) return 0;
  fuzz::require(!pack::lies_in(*found.place, {.tree = tree, .path = "Users/Bob"}),
                "what is Bob's stays Bob's");
  fuzz::require(pack::find(*tree, "", found.place->path).has_value(), "what is there is there");
  return 0;
}
