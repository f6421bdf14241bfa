// Programs of others that are run on copies of strangers' files.
#ifndef BRINDLE_PACK_DISK_TOOL_H
#define BRINDLE_PACK_DISK_TOOL_H

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace pack {

/// What a program may take; one that wants more is ended.
struct ToolLimits {
  std::uint64_t file_bytes;    ///< in each file that it writes
  std::uint64_t folder_bytes;  ///< in the folder, with what was there before
  std::uint64_t memory_bytes;
  std::chrono::seconds time;  ///< by the clock
};

struct ToolEnd {
  enum How : std::uint8_t { well, badly, missing, ended_by_us } how = badly;
  bool lacked_room = false;  ///< it was ended because the disk that the folder lies on was nearly full
  std::string complaint;     ///< the beginning of what it wrote on standard error
};

/// So many bytes of a disk are left to others.
inline constexpr std::uint64_t room_for_others = std::uint64_t{32} << 20;

/// True when there is a program of that name on the PATH.
bool is_tool(const std::string& name);

/// How many bytes there is room for in a folder; 0 when that is not known.
std::uint64_t room_in(const std::string& folder);

/// Runs a program with these words, of which the first is its name, in `folder`, without a shell, and waits
/// for its end. When we are root it is nobody, to whom the folder and what lies in it are given first, and
/// has the folder as /tmp, whoever may go where it lies. It reads nothing from us, and what it says on
/// standard output is lost. Throws std::system_error when no process can be made.
ToolEnd run_tool(const std::string& folder, const std::vector<std::string>& words, const ToolLimits& limits);

}  // namespace pack

#endif
