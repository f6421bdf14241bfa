// What the kinds of data are packed with.
#ifndef BRINDLE_PACK_FILES_PACKING_H
#define BRINDLE_PACK_FILES_PACKING_H

#include <array>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "pack/disk/disk.h"
#include "pack/files/tally.h"
#include "pack/parcel/parcel.h"

namespace pack {

/// The kinds of what lies in data files of mail programs.
inline constexpr std::array unpacked_kinds{Kind::mail, Kind::contacts, Kind::events, Kind::tasks,
                                           Kind::notes};

/// True for the name of a data file of Outlook: what is in it may become mail, and whether all of it has is
/// known at the end.
bool is_store_of_mail(std::string_view name);

/// The name in an archive of something in a folder: one that nothing else there has.
std::string name_in_archive(const Place& place, const Entry& entry);

/// Puts somebody's things into the archive and counts them. Names are those below the person's folder there.
class Packing {
 public:
  /// A run passes longer paths over; the folder it unpacks in is in front of a name, or a home.
  static constexpr std::size_t longest_name = 3800;

  /// `folder` is the person's in the archive: "Brindle" or "Brindle/Profiles/ann". Kinds `without` are not
  /// wanted.
  Packing(Parcel& parcel, Tally& tally, std::string folder, const std::set<Kind>& without);

  bool wants(Kind kind) const { return !without_.contains(kind); }

  /// The folder of that name, so that it is there; a second time is nothing.
  void add_folder(const std::string& name, std::int64_t modified = 0);

  /// The name `wanted`, or the same with a number, for something new at the top of the documents; nothing
  /// else has it from now on. `take_names_of` says of a folder that what lies in it goes there as well.
  std::string free_name(const std::string& wanted);
  void take_names_of(const Place& folder) { documents_.push_back(folder); }

  /// A file of the disk.
  void add_file(Kind kind, const std::string& name, const Place& place, const Entry& entry);

  /// A file that is packed at the end (`is_store_of_mail`), unless all that is in it has been unpacked by
  /// then.
  struct PutOff {
    Kind kind{};
    std::string name;
    Place place;
    Entry entry;
  };
  void put_off(PutOff file) { put_off_.push_back(std::move(file)); }
  const std::vector<PutOff>& put_off() const { return put_off_; }

  /// Says that all of that kind in a file is in the archive. `is_unpacked` is true when that holds for every
  /// kind.
  void unpacked(const Place& file, Kind kind) { unpacked_[{file.tree, file.path}].insert(kind); }
  bool is_unpacked(const Place& file) const;
  /// Takes that back.
  void not_unpacked(const Place& file, Kind kind) { unpacked_[{file.tree, file.path}].erase(kind); }

  /// A file that is made here, of so many things that were found.
  void add_text(Kind kind, const std::string& name, std::string_view content, std::size_t things = 1);

  /// A file that is made piece by piece and takes at most `most` bytes; `make` counts what it puts into it.
  void add_stream(const std::string& name, std::uint64_t most,
                  const std::function<void(const Writer& write)>& make);

  /// Something that is packed as part of a file.
  void count(Kind kind, std::uint64_t bytes) { tally_.packed(kind, bytes); }

  /// A file that goes with others and is counted with them.
  void add_control(const std::string& name, std::string_view content);

  /// Something that was found and is not packed.
  void leave_out(Kind kind, Cause cause, const std::string& path);

  /// Something to be told of what is counted anyway.
  void tell_of(Kind kind, Cause cause, const std::string& path) { tally_.note(kind, cause, path); }

 private:
  bool is_taken(const std::string& name) const;

  Parcel& parcel_;
  Tally& tally_;
  std::string folder_;
  const std::set<Kind>& without_;
  std::set<std::string> folders_;
  std::vector<std::string> taken_;
  std::vector<Place> documents_;
  std::vector<PutOff> put_off_;
  std::map<std::pair<const Tree*, std::string>, std::set<Kind>> unpacked_;
};

}  // namespace pack

#endif
