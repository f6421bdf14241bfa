#include "account/archive/archive.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zip.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "account/archive/directory.h"
#include "account/archive/shown_name.h"

namespace account {
namespace {

constexpr std::uint8_t made_on_unix = 3;
constexpr std::uint16_t flag_of_utf8 = 0x800;

bool leads_out(std::string_view name) {
  if (name.empty() || name.front() == '/' || name.find('\0') != std::string_view::npos) return true;
  while (!name.empty()) {
    const std::size_t slash = name.find('/');
    if (name.substr(0, slash) == "..") return true;
    name.remove_prefix(slash == std::string_view::npos ? name.size() : slash + 1);
  }
  return false;
}

// As unpacking makes of it: no slash at the front, no empty part and no ".".
std::string without_empty_parts(std::string_view name) {
  std::string result;
  while (!name.empty()) {
    const std::size_t slash = name.find('/');
    const std::string_view part = name.substr(0, slash);
    name.remove_prefix(slash == std::string_view::npos ? name.size() : slash + 1);
    if (part.empty() || part == ".") continue;
    if (!result.empty()) result += '/';
    result += part;
  }
  return result;
}

// Windows showed the name of the Unicode field, and of the flag, which is valid UTF-8; an unmarked name is
// read as its DOS did.
std::string name_shown(const DirectoryRecord& record, const char* dos_charset) {
  const bool is_marked = (record.flags & flag_of_utf8) != 0 || record.made_on == made_on_unix;
  std::string name = record.unicode_name.empty() ? shown_name(record.name, dos_charset, is_marked)
                                                 : std::string(record.unicode_name);
  if (record.made_on != made_on_unix) std::ranges::replace(name, '\\', '/');
  return name;
}

struct Named {
  std::size_t begin, length;
};

// ---- One entry as an archive of its own ----------------------------------------------------------------

// libzip keeps several hundred bytes for each entry of an archive. So it is shown one that has a single
// entry: the bytes of the real archive from the entry's header on, and behind them its line of the list and
// an end.
struct OneEntry {
  int file;
  std::uint64_t begin;  // of the entry's header in the real archive
  std::uint64_t data;   // bytes of the real archive that are shown
  std::string list;
  std::uint64_t place = 0;
  zip_error_t error;
};

template <typename Number>
void put(std::string& bytes, std::size_t place, Number number) {
  for (std::size_t i = 0; i < sizeof number; ++i)
    bytes[place + i] = static_cast<char>(static_cast<std::uint64_t>(number) >> (8 * i));
}

std::uint16_t short_at(const std::string& bytes, std::size_t place) {
  return static_cast<std::uint16_t>(static_cast<unsigned char>(bytes[place]) |
                                    static_cast<unsigned char>(bytes[place + 1]) << 8);
}

// The record with its entry at the beginning, numbers of 64 bits in a field of their own, and nothing else.
std::string list_of(const Entry& entry, const std::string& record) {
  std::string list = record.substr(0, 46 + short_at(record, 28));
  std::string field(4 + 24, '\0');
  put<std::uint16_t>(field, 0, 0x0001);
  put<std::uint16_t>(field, 2, 24);
  put<std::uint64_t>(field, 4, entry.size);
  put<std::uint64_t>(field, 12, entry.packed);
  put<std::uint64_t>(field, 20, 0);
  put<std::uint32_t>(list, 20, 0xffffffff);
  put<std::uint32_t>(list, 24, 0xffffffff);
  put<std::uint16_t>(list, 30, static_cast<std::uint16_t>(field.size()));
  put<std::uint16_t>(list, 32, 0);
  put<std::uint32_t>(list, 42, 0xffffffff);
  return list + field;
}

// The three records at an archive's end, for a list that begins at `place`.
std::string end_of(std::uint64_t place, std::uint64_t size) {
  std::string end(56 + 20 + 22, '\0');
  put<std::uint32_t>(end, 0, 0x06064b50);
  put<std::uint64_t>(end, 4, 44);
  put<std::uint16_t>(end, 12, 45);
  put<std::uint16_t>(end, 14, 45);
  put<std::uint64_t>(end, 24, 1);
  put<std::uint64_t>(end, 32, 1);
  put<std::uint64_t>(end, 40, size);
  put<std::uint64_t>(end, 48, place);
  put<std::uint32_t>(end, 56, 0x07064b50);
  put<std::uint64_t>(end, 64, place + size);
  put<std::uint32_t>(end, 72, 1);
  put<std::uint32_t>(end, 76, 0x06054b50);
  put<std::uint16_t>(end, 84, 0xffff);
  put<std::uint16_t>(end, 86, 0xffff);
  put<std::uint32_t>(end, 88, 0xffffffff);
  put<std::uint32_t>(end, 92, 0xffffffff);
  return end;
}

zip_int64_t read_shown(OneEntry& shown, char* to, std::uint64_t size) {
  if (shown.place < shown.data) {
    const std::uint64_t wanted = std::min(size, shown.data - shown.place);
    const ssize_t got = pread(shown.file, to, wanted, static_cast<off_t>(shown.begin + shown.place));
    if (got < 0) {
      zip_error_set(&shown.error, ZIP_ER_READ, errno);
      return -1;
    }
    shown.place += static_cast<std::uint64_t>(got);
    return got;
  }
  const std::uint64_t from = shown.place - shown.data;
  if (from >= shown.list.size()) return 0;
  const std::uint64_t count = std::min<std::uint64_t>(size, shown.list.size() - from);
  std::copy_n(shown.list.data() + from, count, to);
  shown.place += count;
  return static_cast<zip_int64_t>(count);
}

zip_int64_t answer(void* state, void* data, zip_uint64_t size, zip_source_cmd_t command) {
  auto& shown = *static_cast<OneEntry*>(state);
  switch (command) {
    case ZIP_SOURCE_OPEN:
      shown.place = 0;
      return 0;
    case ZIP_SOURCE_READ:
      return read_shown(shown, static_cast<char*>(data), size);
    case ZIP_SOURCE_CLOSE:
    case ZIP_SOURCE_FREE:
      return 0;
    case ZIP_SOURCE_STAT: {
      auto& status = *static_cast<zip_stat_t*>(data);
      zip_stat_init(&status);
      status.valid = ZIP_STAT_SIZE;
      status.size = shown.data + shown.list.size();
      return sizeof status;
    }
    case ZIP_SOURCE_SEEK: {
      const zip_int64_t place = zip_source_seek_compute_offset(shown.place, shown.data + shown.list.size(),
                                                               data, size, &shown.error);
      if (place < 0) return -1;
      shown.place = static_cast<std::uint64_t>(place);
      return 0;
    }
    case ZIP_SOURCE_TELL:
      return static_cast<zip_int64_t>(shown.place);
    case ZIP_SOURCE_ERROR:
      return zip_error_to_data(&shown.error, data, size);
    case ZIP_SOURCE_SUPPORTS:
      return zip_source_make_command_bitmap(ZIP_SOURCE_OPEN, ZIP_SOURCE_READ, ZIP_SOURCE_CLOSE,
                                            ZIP_SOURCE_STAT, ZIP_SOURCE_ERROR, ZIP_SOURCE_FREE,
                                            ZIP_SOURCE_SEEK, ZIP_SOURCE_TELL, ZIP_SOURCE_SUPPORTS, -1);
    default:
      zip_error_set(&shown.error, ZIP_ER_OPNOTSUPP, 0);
      return -1;
  }
}

}  // namespace

bool Entry::is_link_or_device() const {
  const unsigned kind = mode & S_IFMT;
  return kind != 0 && kind != S_IFREG && kind != S_IFDIR;
}

struct EntryStream::Parts {
  OneEntry shown;
  zip_t* zip = nullptr;
  zip_file_t* file = nullptr;
  std::uint64_t left = 0;  // of the bytes that the list says there are
  bool failed = false;

  Parts() { zip_error_init(&shown.error); }
  ~Parts() {
    if (file != nullptr) zip_fclose(file);
    if (zip != nullptr) zip_discard(zip);
    zip_error_fini(&shown.error);
  }
  Parts(const Parts&) = delete;
  Parts& operator=(const Parts&) = delete;
};

EntryStream::EntryStream(std::unique_ptr<Parts> parts) : parts_(std::move(parts)) {}
EntryStream::EntryStream(EntryStream&&) noexcept = default;
EntryStream& EntryStream::operator=(EntryStream&&) noexcept = default;
EntryStream::~EntryStream() = default;

std::size_t EntryStream::read(std::span<char> buffer) {
  if (parts_->failed || parts_->file == nullptr) return 0;
  const zip_int64_t got = zip_fread(parts_->file, buffer.data(), buffer.size());
  // Damaged; more than the list says, which may go on for days; or less.
  if (got < 0 || static_cast<std::uint64_t>(got) > parts_->left ||
      (got == 0 && !buffer.empty() && parts_->left > 0)) {
    parts_->failed = true;
    return 0;
  }
  parts_->left -= static_cast<std::uint64_t>(got);
  return static_cast<std::size_t>(got);
}

bool EntryStream::failed() const { return parts_->failed; }

Archive::Archive(const std::string& path, const char* dos_charset)
    : path_(path), file_(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
  if (file_ < 0) throw Unreadable(path + ": " + std::strerror(errno));
  std::vector<Named> places;
  try {
    read_directory(file_, [&](const DirectoryRecord& record) {
      const std::string whole = name_shown(record, dos_charset);
      const std::string shown = fitting_path(whole);
      const std::string name = without_empty_parts(shown);
      const bool folder = shown.ends_with('/');
      const bool unix_mode = record.made_on == made_on_unix;
      places.push_back({names_.size(), name.size()});
      names_ += name;
      entries_.push_back({.name = {},
                          .size = record.size,
                          .packed = record.packed,
                          .header = record.header,
                          .record = record.place,
                          .record_size = record.length,
                          .crc = record.crc,
                          .mode = static_cast<std::uint16_t>(unix_mode ? record.external >> 16 : 0),
                          .flags = record.flags,
                          .method = record.method,
                          .folder = folder,
                          .read_only = !unix_mode && !folder && (record.external & 1U) != 0,
                          .unsafe = leads_out(shown),
                          .shortened = shown != whole});
    });
  } catch (...) {
    close(file_);
    throw;
  }
  for (std::size_t i = 0; i < entries_.size(); ++i)
    entries_[i].name = std::string_view(names_).substr(places[i].begin, places[i].length);
  std::ranges::stable_sort(entries_, {}, &Entry::name);
}

Archive::~Archive() { ::close(file_); }

std::span<const Entry> Archive::below(std::string_view name) const {
  // Between "name/" and "name0", the next byte after the slash.
  const std::string first = std::string(name) + "/", behind = std::string(name) + "0";
  const auto begin = std::ranges::upper_bound(entries_, std::string_view(first), {}, &Entry::name);
  const auto end = std::ranges::lower_bound(entries_, std::string_view(behind), {}, &Entry::name);
  return begin < end ? std::span<const Entry>(begin, end) : std::span<const Entry>();
}

const Entry* Archive::find(std::string_view name) const {
  const auto after = std::ranges::upper_bound(entries_, name, {}, &Entry::name);
  if (after == entries_.begin() || std::prev(after)->name != name) return nullptr;
  return &*std::prev(after);
}

bool Archive::has(std::string_view name) const { return find(name) != nullptr || !below(name).empty(); }

EntryStream Archive::open(const Entry& entry) const {
  auto parts = std::make_unique<EntryStream::Parts>();
  parts->failed = true;
  parts->left = entry.size;
  OneEntry& shown = parts->shown;
  shown.file = file_;
  shown.begin = entry.header;
  std::string record(entry.record_size, '\0');
  const auto size = static_cast<ssize_t>(record.size());
  const bool whole = pread(file_, record.data(), record.size(), static_cast<off_t>(entry.record)) == size;
  if (!whole || entry.record < entry.header) return EntryStream(std::move(parts));
  // What follows the entry's data does no harm: the list says how long they are.
  shown.data = entry.record - entry.header;
  shown.list = list_of(entry, record);
  shown.list += end_of(shown.data, shown.list.size());

  zip_source_t* source = zip_source_function_create(answer, &shown, nullptr);
  parts->zip = zip_open_from_source(source, ZIP_RDONLY, nullptr);
  if (parts->zip == nullptr) {
    zip_source_free(source);
    return EntryStream(std::move(parts));
  }
  parts->file = zip_fopen_index(parts->zip, 0, 0);
  parts->failed = parts->file == nullptr;
  return EntryStream(std::move(parts));
}

std::string Archive::read(const Entry& entry, std::size_t limit, bool* whole) const {
  EntryStream stream = open(entry);
  std::string bytes;
  char buffer[65536];
  bool complete = true;
  for (std::size_t got; (got = stream.read(buffer)) > 0;) {
    if (bytes.size() + got > limit) {
      complete = false;
      break;
    }
    bytes.append(buffer, got);
  }
  if (whole != nullptr) *whole = complete && !stream.failed();
  return bytes;
}

}  // namespace account
