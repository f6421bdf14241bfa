// brindle-pack: packs the people of a Windows disk into a migration archive.
#include <csignal>
#include <cstdio>
#include <iostream>
#include <system_error>

#include "pack/pack.h"
#include "pack/parcel/zip.h"

namespace {

using namespace pack;

enum class Verdict { all_packed = 0, something_left_out = 1, nothing_written = 2 };

// By a signal's handler.
std::atomic<int> stopped = 0;
static_assert(std::atomic<int>::is_always_lock_free);

void stop(int) { stopped = 1; }

// The first asks the program to end, the second ends it.
void end_properly_on(int signal) {
  struct sigaction action {};
  action.sa_handler = stop;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigaction(signal, &action, nullptr);
}

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
  if (options.list || options.estimate) {
    Sum sum(options.list);
    const auto found = pack_all(sum, disk, people, options);
    if (options.list) write_report(std::cout, found);
    if (options.estimate) std::cout << "The archive takes at most " << sum.bytes() << " bytes.\n";
    return verdict_of(found);
  }
  const auto packed = write_archive(disk, people, options, stopped);
  write_report(std::cout, packed);
  return verdict_of(packed);
}

}  // namespace

int main(int count, char** words) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) end_properly_on(signal);
  try {
    const Options options = read_options(count, words);
    if (options.help) return std::fputs(usage, stdout), 0;
    return run(options);
  } catch (const UsageError& error) {
    return cannot_pack(std::string(error.what()) + "; brindle-pack --help tells more");
  } catch (const Impossible& error) {
    return cannot_pack(error.what());
  } catch (const Interrupted&) {
    return cannot_pack("stopped; nothing is written");
  } catch (const std::exception& error) {
    return cannot_pack(error.what());
  }
}
