// What lies at a spot: looked at, written as text, copied, moved, removed and made again as it was.
#ifndef BRINDLE_PLACE_ENTRY_H
#define BRINDLE_PLACE_ENTRY_H

#include <sys/stat.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "place/beneath.h"

namespace place {

enum class Type : std::uint8_t { nothing, file, folder, link, other };

struct Entry {
  Type type = Type::nothing;
  mode_t mode = 0;  ///< the permission bits with set-id and sticky, 07777
  uid_t uid = 0;
  gid_t gid = 0;
  timespec modified{};
  ino_t inode = 0;  ///< of a file with further names, else 0
  std::string
      content;  ///< of a file 32 hexadecimal digits, its size behind them with a colon; of a link its target;
                ///< of anything else a number that tells kind and device; empty for a folder and nothing
};

/// Whether the bytes of files are read as well; without them a file's content is empty.
enum class Content : std::uint8_t { read, not_read };

/// No value, with errno set, when what is there cannot be looked at or read to its end; EBUSY for a file that
/// somebody keeps writing meanwhile, EFBIG for one without a size (/proc) that holds more than 1 MiB. A
/// missing folder on the way counts as nothing.
std::optional<Entry> look_at(const Spot& spot, Content content);
std::optional<Entry> look_beneath(int top, const std::string& path, Content content);
std::optional<Entry> look_in(int folder, const char* name, Content content);

/// One line without its end: "nothing", or type, mode in octal, uid, gid, time in seconds with nine decimals,
/// inode and content, with a blank between each; without content the inode is last. The content may hold
/// anything.
std::string text_of(const Entry& entry);

/// No value for a text that text_of does not write.
std::optional<Entry> entry_from(std::string_view text);

/// The same type and content; nothing else of a folder counts.
bool is_same_thing(const Entry& one, const Entry& other);

/// The same mode, owner, group and, but for links, time.
bool has_same_attributes(const Entry& one, const Entry& other);

/// Makes a copy of what lies at `from`, folders with all in them, at the free spot `to`: a reflink where the
/// file system can, never a hard link to the original; hard links within the tree stay among themselves.
/// Mode, owner, group, times and, of files and folders, access lists and other extended attributes go along
/// as far as we may give them; set-id bits and capabilities only with their owner and not with
/// `without_set_id`.
///
/// The copy is made beside the spot (src/place/stage.h) and comes to lie there whole or not at all, whatever
/// ends the program. False, with errno set, when anything could not be copied whole: EEXIST when the spot is
/// taken, EBUSY when somebody keeps writing a file meanwhile.
[[nodiscard]] bool copy_entry(const Spot& from, const Spot& to, bool without_set_id = false);

/// rename to the free spot `to`; over a border of file systems copy_entry and then the removal of the old
/// one: when that fails, the copy is whole and stays.
[[nodiscard]] bool move_entry(const Spot& from, const Spot& to);

/// Removes it with all in it, our own folders without rights, too, but nothing that is mounted there (EBUSY).
/// True when nothing is there.
[[nodiscard]] bool remove_entry(const Spot& spot);

/// Gives mode, owner, group and time of `like`. Nobody gets set-id bits along with `without_set_id`, nor with
/// an owner that could not be given. False, with errno set, when one of them could not be given; the others
/// are. EBUSY when something of another type lies there, which stays as it is.
[[nodiscard]] bool give_attributes(const Spot& spot, const Entry& like, bool without_set_id = false);

/// The names in the folder at `path` below `top`, hidden ones too, sorted. No value, with errno set, when it
/// cannot be read.
std::optional<std::vector<std::string>> names_beneath(int top, const std::string& path);

}  // namespace place

#endif
