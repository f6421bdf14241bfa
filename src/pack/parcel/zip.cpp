#include "pack/parcel/zip.h"

#include <libdeflate.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <system_error>
#include <utility>

#include "pack/disk/refusal.h"
#include "pack/disk/stop.h"

namespace pack {

namespace {

constexpr std::size_t block_size = std::size_t{1} << 17;
constexpr std::size_t most_of_list = std::size_t{1} << 16;

// Ends of names of files that hold compressed data already.
constexpr std::array<std::string_view, 36> packed_endings = {
    "7z",  "aac",  "apk", "avi",  "bz2",  "cab", "docx", "epub", "flac", "gif", "gz",   "heic",
    "jar", "jpeg", "jpg", "lzma", "m4a",  "m4v", "mkv",  "mov",  "mp3",  "mp4", "mpg",  "odp",
    "ods", "odt",  "ogg", "png",  "pptx", "rar", "webm", "webp", "wma",  "wmv", "xlsx", "zip"};

bool is_compressed(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  if (dot == std::string_view::npos) return false;
  std::string ending(name.substr(dot + 1));
  std::ranges::transform(ending, ending.begin(),
                         [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return std::ranges::binary_search(packed_endings, ending);
}
static_assert(std::ranges::is_sorted(packed_endings));

// Something that is there already is nobody's to replace.
std::unique_ptr<Part> part_of(const std::string& path) {
  struct stat found {};
  if (lstat(path.c_str(), &found) == 0) throw std::system_error(EEXIST, std::generic_category(), path);
  return std::make_unique<Part>(path + ".part");
}

std::string folder_of(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

// A file of the disk, block by block.
class Blocks {
 public:
  Blocks(std::unique_ptr<Content> content, std::string& block)
      : content_(std::move(content)), block_(block) {}

  // Up to `most` bytes, as many as a block holds unless the file ends; none at its end, and where the disk
  // gives nothing.
  std::string_view next(std::uint64_t most) {
    const std::size_t wanted = std::min<std::uint64_t>(most, block_.size());
    std::size_t size = 0;
    while (size < wanted && !is_at_end_) {
      const std::size_t count = read(block_.data() + size, wanted - size);
      is_at_end_ = count == 0;
      size += count;
    }
    return std::string_view(block_).substr(0, size);
  }

  bool is_broken() const { return is_broken_; }

  // True when it holds more than was asked for, or somebody has written to it meanwhile.
  bool has_changed() {
    try {
      return !next(1).empty() || content_->has_changed();
    } catch (const std::system_error&) {
      return true;
    }
  }

 private:
  std::size_t read(char* to, std::size_t most) {
    try {
      return content_->read(to, most);
    } catch (const std::system_error&) {
      is_broken_ = true;
      return 0;
    }
  }

  std::unique_ptr<Content> content_;
  std::string& block_;
  bool is_at_end_ = false;
  bool is_broken_ = false;
};

}  // namespace

Zip::Zip(const std::string& path, How how)
    : path_(path),
      how_(std::move(how)),
      part_(part_of(path)),
      list_(folder_of(path)),
      block_(block_size, '\0') {}

void Zip::begin(Item item) {
  stop_when_asked();
  item_ = std::move(item);
  item_.place = part_->size();
  part_->append(head_of(item_));
}

void Zip::add(std::string_view bytes) {
  stop_when_asked();
  // Ten times as fast as that of the library that compresses.
  item_.checksum = libdeflate_crc32(item_.checksum, bytes.data(), bytes.size());
  item_.size += bytes.size();
  if (item_.is_deflated) {
    deflate_.add(bytes, [this](std::string_view packed) { part_->append(packed); });
  } else {
    part_->append(bytes);
  }
}

// Sizes and checksum are known only now.
void Zip::end() {
  const std::string head = head_of(item_);
  if (item_.is_deflated) deflate_.end([this](std::string_view packed) { part_->append(packed); });
  item_.packed_size = part_->size() - item_.place - head.size();
  part_->replace(item_.place, head_of(item_));
  add_to_list(list_entry_of(item_));
  ++items_;
}

void Zip::add_to_list(const std::string& entry) {
  end_of_list_ += entry;
  if (end_of_list_.size() < most_of_list) return;
  list_.append(end_of_list_);
  end_of_list_.clear();
}

void Zip::add_folder(const std::string& name, std::int64_t modified) {
  begin({.name = name + "/", .modified = modified, .is_folder = true});
  end();
}

void Zip::add_stream(const std::string& name, std::uint64_t,
                     const std::function<void(const Writer& write)>& make) {
  begin({.name = name,
         .modified = std::time(nullptr),
         .may_be_large = true,
         .is_deflated = !how_.store && !is_compressed(name)});
  make([this](std::string_view bytes) {
    add(bytes);
    how_.progress(bytes.size());
  });
  end();
}

void Zip::add_text(const std::string& name, std::string_view content) {
  begin({.name = name,
         .modified = std::time(nullptr),
         .may_be_large = content.size() > largest_small,
         .is_deflated = !how_.store && !content.empty() && !is_compressed(name)});
  add(content);
  end();
}

// A file that grows meanwhile is packed as far as it went before.
Outcome Zip::add_file(const std::string& name, const Tree& tree, const std::string& path,
                      const Entry& entry) {
  std::unique_ptr<Content> content;
  try {
    content = tree.open(path);
  } catch (const std::system_error& error) {
    return {.bytes = 0, .cause = cause_of(error)};
  }
  Blocks blocks(std::move(content), block_);
  std::string_view block = blocks.next(entry.size);
  if (block.empty() && blocks.is_broken()) return {.bytes = 0, .cause = Cause::unreadable};
  begin({.name = name,
         .modified = entry.modified,
         .may_be_large = entry.size > largest_small,
         .is_deflated = !how_.store && !block.empty() && !is_compressed(name)});
  for (; !block.empty(); block = blocks.next(entry.size - item_.size)) {
    add(block);
    how_.progress(block.size());
  }
  end();
  Outcome outcome{.bytes = item_.size};
  if (blocks.is_broken()) {
    outcome.cause = Cause::cut_short;
  } else if (item_.size != entry.size || blocks.has_changed()) {
    outcome.cause = Cause::changed;
  }
  return outcome;
}

void Zip::finish() {
  const std::uint64_t place = part_->size();
  for (std::uint64_t copied = 0; copied < list_.size();) {
    stop_when_asked();
    const std::size_t count = list_.read_at(copied, block_.data(), block_.size());
    if (count == 0) throw std::system_error(EIO, std::generic_category(), path_);
    part_->append(std::string_view(block_).substr(0, count));
    copied += count;
  }
  part_->append(end_of_list_);
  part_->append(end_of_zip(items_, place, part_->size() - place));
  part_->keep_as(path_);
}

}  // namespace pack
