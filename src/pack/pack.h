// Packing a disk: from a source and options to an archive and its numbers.
#ifndef BRINDLE_PACK_PACK_H
#define BRINDLE_PACK_PACK_H

#include <stdexcept>
#include <vector>

#include "pack/options.h"
#include "pack/parcel/parcel.h"
#include "pack/report.h"

namespace pack {

/// Nothing can be packed; what() says why, for people.
class Impossible : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Opens the volumes that the options name. Throws Impossible.
Disk disk_of(const Options& options);

/// The people on the disk that the options choose, with the logins they ask for. Throws Impossible when there
/// is nobody, somebody is not there, or two would have one login.
std::vector<Person> chosen_people(const Disk& disk, const Options& options);

/// Packs them all into the parcel.
std::vector<Packed> pack_all(Parcel& parcel, const Disk& disk, const std::vector<Person>& people,
                             const Options& options);

/// What an archive would hold, and how many bytes it takes at most while it is written.
struct Survey {
  std::vector<Packed> people;
  std::uint64_t bytes = 0;
};

/// Looks at everything and writes nothing. What mail folders hold is counted only for `options.list`. Throws
/// Interrupted, and std::runtime_error.
Survey look_at(const Disk& disk, const std::vector<Person>& people, const Options& options);

/// Writes the archive `options.out` and returns its numbers, which lie in it as well. Throws Impossible,
/// Interrupted, and std::system_error; then there is no archive.
std::vector<Packed> write_archive(const Disk& disk, const std::vector<Person>& people,
                                  const Options& options);

}  // namespace pack

#endif
