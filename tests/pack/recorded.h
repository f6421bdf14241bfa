// A parcel that keeps what it gets, and packing into one.
#ifndef BRINDLE_TESTS_PACK_RECORDED_H
#define BRINDLE_TESTS_PACK_RECORDED_H

#include <map>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "pack/options.h"
#include "pack/parcel/parcel.h"
#include "pack/report.h"

namespace recorded {

/// Names with their content; those of folders end with "/".
class Parcel : public pack::Parcel {
 public:
  void add_folder(const std::string& name, std::int64_t modified) override;
  pack::Outcome add_file(const std::string& name, const pack::Tree& tree, const std::string& path,
                         const pack::Entry& entry) override;
  void add_stream(const std::string& name, std::uint64_t most,
                  const std::function<void(const pack::Writer& write)>& make) override;
  void add_text(const std::string& name, std::string_view content) override;

  std::map<std::string, std::string> content;
  std::vector<std::string> twice;  ///< names that were given again

 private:
  void add(const std::string& name, std::string bytes);
};

/// What became of a disk.
struct Result {
  std::map<std::string, std::string> content;
  std::vector<pack::Packed> people;

  /// The names of files below "Brindle/My Documents/" and the like, without that.
  std::vector<std::string> files_below(const std::string& folder) const;
  /// The remarks of the first person: "cause path". That a registry was not copied is not among them.
  std::vector<std::string> remarks() const;
  /// Those of the last one, which is the computer when there are several people.
  std::vector<std::string> last_remarks() const;
};

/// Packs the disk at `path`. Fails the test when a name was given twice.
Result pack_disk(const std::string& path, pack::Options options = {});
/// The same for a disk that is open.
Result pack_disk(const pack::Disk& disk, const pack::Options& options = {});

/// The folder `path` of this machine as a volume on which the folder `bad` cannot be listed.
std::unique_ptr<pack::Tree> tree_with(const std::string& path, const std::string& bad,
                                      std::errc error = std::errc::io_error);

}  // namespace recorded

#endif
