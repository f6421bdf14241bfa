// brindle-pack: packs the people of a Windows disk into a migration archive.
#include <cstdio>
#include <iostream>

#include "pack/pack.h"
#include "pack/watch.h"

namespace {

using namespace pack;

enum class Verdict { all_packed = 0, something_left_out = 1, nothing_written = 2 };

int cannot_pack(const std::string& why) {
  std::cerr << "brindle-pack: " << why << "\n";
  return static_cast<int>(Verdict::nothing_written);
}

int verdict_of(const std::vector<Packed>& people) {
  for (const Packed& packed : people)
    if (packed.tally.has_losses()) return static_cast<int>(Verdict::something_left_out);
  return static_cast<int>(Verdict::all_packed);
}

int run(const Options& options) {
  const Disk disk = disk_of(options);
  const std::vector<Person> people = chosen_people(disk, options);
  if (!options.list && !options.estimate) {
    const auto packed = write_archive(disk, people, options);
    write_report(std::cout, packed);
    return verdict_of(packed);
  }
  const Survey survey = look_at(disk, people, options);
  if (options.list) write_report(std::cout, survey.people);
  if (options.estimate) std::cout << "The archive takes at most " << survey.bytes << " bytes.\n";
  return verdict_of(survey.people);
}

int work(int count, const char* const* words) {
  try {
    const Options options = read_options(count, words);
    if (options.help) return std::fputs(usage, stdout), 0;
    return run(options);
  } catch (const UsageError& error) {
    return cannot_pack(std::string(error.what()) + "; brindle-pack --help tells more");
  } catch (const std::exception& error) {
    return cannot_pack(error.what());
  }
}

}  // namespace

int main(int count, char** words) {
  // Who did not read the table may have missed that something is left out.
  constexpr Statuses statuses{.failed = static_cast<int>(Verdict::nothing_written),
                              .untold = static_cast<int>(Verdict::something_left_out)};
  try {
    return watched([&] { return work(count, words); }, statuses);
  } catch (const std::exception& error) {
    return cannot_pack(error.what());
  }
}
