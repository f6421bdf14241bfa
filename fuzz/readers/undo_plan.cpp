// What an undo would do by a list that somebody has written: nothing outside of that person's home.
#include "undo/plan.h"

#include <fcntl.h>
#include <unistd.h>

#include "support/harness.h"

namespace {

constexpr const char* run = "2026-11-22-014530";

std::vector<keep::Row> rows_in(const std::string& path) {
  const int file = open(path.c_str(), O_RDONLY);
  std::vector<keep::Row> rows = keep::joined_rows(file);
  close(file);
  return rows;
}

void check(const undo::Item& item, const undo::Ground& ground) {
  fuzz::require(undo::is_plain(item.path), "a path has no dots and no doubled slashes");
  fuzz::require(!undo::is_own_file(item.path), "no list names the program's own files");
  const bool acts = item.deed != undo::Deed::none && item.deed != undo::Deed::leave;
  fuzz::require(!acts || undo::is_within(item.path, ground.home),
                "nothing is done outside of a home of somebody else");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string& home = fuzz::empty_home();
  const undo::Ground ground = {"ann", home, home + "/.brindle_before/" + run};
  const std::string path = ground.store + "/list.tsv";
  std::string text(fuzz::Input(data, size).text());
  // "@" stands for the home, so that an input can name what is there.
  for (std::size_t at = text.find('@'); at != std::string::npos; at = text.find('@', at + home.size()))
    text.replace(at, 1, home);
  fuzz::write_file(path, text);
  fuzz::write_file(home + "/a", "what the run made");
  fuzz::write_file(home + "/folder/b", "hers");
  fuzz::write_file(ground.store + "/files" + home + "/a", "what was there");
  fuzz::require(symlink("/etc", (home + "/link").c_str()) == 0, "a link can be made");

  const std::vector<keep::Row> rows = rows_in(path);
  const std::vector<std::string> none;
  const undo::Earlier earlier;
  const undo::Plan plan({{&ground, &rows}}, earlier, none, none);
  for (const undo::Item& item : plan.items()) {
    check(item, ground);
    fuzz::require(plan.find(item.path) != nullptr, "an item is found by its path");
    static_cast<void>(plan.is_covered(item));
  }
  fuzz::require(plan.downwards().size() <= plan.items().size(), "the order has no more than the items");
  return 0;
}
