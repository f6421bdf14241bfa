#include "pack/mail/dbx.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <fstream>
#include <system_error>

#include "pack/disk/folder_tree.h"
#include "pack/disk/refusal.h"
#include "pack/disk/stage.h"
#include "pack/disk/tool.h"

namespace pack {

namespace {

constexpr const char* tool = "undbx";

// The names of our own under which it works. A folder gets that of its file, without the ending.
constexpr const char* copy_name = "folder.dbx";
constexpr const char* unpacked = "folder";
constexpr std::string_view message_ending = ".eml";

constexpr std::uint64_t some_bytes = std::uint64_t{1} << 20;

// Messages of a folder take no more than the folder; the file, what is unpacked and what is searched for.
constexpr std::uint64_t copies = 3;

ToolLimits limits_for(std::uint64_t size) {
  constexpr std::uint64_t most_memory = std::uint64_t{1} << 30;
  constexpr std::uint64_t some_memory = std::uint64_t{1} << 26;
  constexpr std::uint64_t bytes_in_a_second = std::uint64_t{200} << 10;
  return {.file_bytes = size + some_bytes,
          .folder_bytes = copies * size + some_bytes,
          .memory_bytes = some_memory + std::min(2 * size, most_memory),
          .time = std::chrono::seconds(120 + size / bytes_in_a_second)};
}

// Files by the place in the folder that they come from, which they are called after.
using Messages = std::map<std::uint64_t, std::string>;

void note_messages(const Tree& stage, const std::string& folder, Messages& messages) {
  std::vector<Entry> entries;
  try {
    entries = stage.list(folder);
  } catch (const std::system_error&) {
    return;  // nothing was unpacked
  }
  for (const Entry& entry : entries) {
    if (entry.what != What::file || !entry.name.ends_with(message_ending)) continue;
    std::uint64_t place = 0;
    const char* const end = entry.name.data() + entry.name.size() - message_ending.size();
    if (std::from_chars(entry.name.data(), end, place, 16).ptr != end) continue;
    messages.emplace(place, joined(folder, entry.name));
  }
}

// How many messages the folder says it has.
std::uint32_t count_in_head(const std::string& file) {
  constexpr std::streamoff place = 0xC4;
  std::array<unsigned char, 4> bytes{};
  std::ifstream head(file, std::ios::binary);
  head.seekg(place);
  if (!head.read(reinterpret_cast<char*>(bytes.data()), bytes.size())) return 0;
  std::uint32_t count = 0;
  for (std::size_t byte = bytes.size(); byte > 0; --byte) count = count << 8 | bytes[byte - 1];
  return count;
}

// A copy of the folder, and what is made of it.
class Unpacked {
 public:
  // Returns why there is nothing, or not all.
  std::optional<Cause> unpack(const Place& file, std::uint64_t size) {
    if (room_in(stage_.path("")) < copies * size + some_bytes + room_for_others) return Cause::no_room;
    const auto copy = stage_.copy(file, copy_name);
    if (!copy) return cause_at(file, Cause::unreadable);
    const ToolEnd first = run("in-order", {}, size);
    if (first.how == ToolEnd::missing) return Cause::unpacker_missing;
    if (first.how == ToolEnd::well && first.complaint.empty() && messages_.size() >= count_in_head(*copy))
      return std::nullopt;
    // Whatever is wrong it says on standard error, and ends well.
    const ToolEnd second = run("searched", {"-r"}, size);
    if (first.lacked_room || second.lacked_room) return Cause::no_room;
    return messages_.empty() ? Cause::damaged : Cause::salvaged;
  }

  void each(const TakeMessage& take) const {
    for (const auto& [place, path] : messages_) take(tree_->open(path));
  }

 private:
  ToolEnd run(const std::string& folder, const std::vector<std::string>& more, std::uint64_t size) {
    std::vector<std::string> words = {tool, "-s"};
    words.insert(words.end(), more.begin(), more.end());
    words.insert(words.end(), {copy_name, folder});
    const ToolEnd end = run_tool(stage_.path(""), words, limits_for(size));
    note_messages(*tree_, joined(folder, unpacked), messages_);
    return end;
  }

  Stage stage_;
  std::unique_ptr<Tree> tree_ = folder_tree(stage_.path(""));
  Messages messages_;
};

}  // namespace

bool can_unpack_dbx() { return is_tool(tool); }

void each_message_in_dbx(const Place& file, std::uint64_t size, const TakeMessage& take,
                         const Complain& complain) {
  Unpacked folder;
  if (const auto cause = folder.unpack(file, size)) complain(*cause, file.path);
  folder.each(take);
}

}  // namespace pack
