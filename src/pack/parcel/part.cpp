#include "pack/parcel/part.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <system_error>

#include "pack/disk/stop.h"

namespace pack {

namespace {

constexpr std::size_t most_waiting = std::size_t{1} << 16;
constexpr std::uint64_t brought_at_once = std::uint64_t{1} << 24;

std::string folder_of(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

// Of asking for a part of a file: then fsync alone waits for all of it.
constexpr bool is_not_offered(int error) { return error == ENOSYS || error == EINVAL || error == ESPIPE; }

// For file systems that cannot rename without replacing: sticks of Windows are among them.
int rename_unless_there(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL) return errno;
  if (access(to.c_str(), F_OK) == 0) return EEXIST;
  return rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

}  // namespace

Part::Part(const std::string& name)
    : name_(name), file_(open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600)) {
  if (file_ < 0) fail(errno);
  trace_.emplace(name);
  waiting_.reserve(most_waiting);
}

Part::~Part() {
  close(file_);
  if (!name_.empty()) unlink(name_.c_str());
}

void Part::fail(int error) {
  error_ = error;
  throw std::system_error(error, std::generic_category(), name_);
}

// Small pieces wait for others.
void Part::append(std::string_view bytes) {
  if (bytes.size() >= most_waiting || waiting_.size() + bytes.size() > most_waiting) flush();
  if (bytes.size() < most_waiting) {
    waiting_ += bytes;
    return;
  }
  write(bytes, written_);
  written_ += bytes.size();
  begin_with_disk();
}

void Part::replace(std::uint64_t place, std::string_view bytes) {
  if (place < written_ && place + bytes.size() > written_) flush();
  if (place < written_) {
    write(bytes, place);
  } else {
    waiting_.replace(place - written_, bytes.size(), bytes);
  }
}

void Part::flush() {
  write(waiting_, written_);
  written_ += waiting_.size();
  waiting_.clear();
  begin_with_disk();
}

// So that little is left to wait for in the end.
void Part::begin_with_disk() {
  if (written_ - begun_ < brought_at_once) return;
  bring_to_disk(begun_, written_ - begun_, SYNC_FILE_RANGE_WRITE);
  begun_ = written_;
}

// That the disk did not take something is told once for a file: fsync, which comes later, calls it a success.
void Part::bring_to_disk(std::uint64_t place, std::uint64_t size, unsigned how) {
  const int failed = sync_file_range(file_, static_cast<off_t>(place), static_cast<off_t>(size), how);
  if (failed != 0 && !is_not_offered(errno)) fail(errno);
}

void Part::write(std::string_view bytes, std::uint64_t place) {
  if (error_ != 0) fail(error_);
  while (!bytes.empty()) {
    const ssize_t count = pwrite(file_, bytes.data(), bytes.size(), static_cast<off_t>(place));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail(errno);
    if (count == 0) fail(ENOSPC);
    bytes.remove_prefix(static_cast<std::size_t>(count));
    place += static_cast<std::uint64_t>(count);
  }
}

// In pieces between which the person may have had enough: fsync alone could take minutes.
void Part::wait_for_disk() {
  for (std::uint64_t place = 0; place < written_; place += brought_at_once) {
    stop_when_asked();
    bring_to_disk(place, std::min(brought_at_once, written_ - place),
                  SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE | SYNC_FILE_RANGE_WAIT_AFTER);
  }
  stop_when_asked();
  if (fsync(file_) != 0) fail(errno);
}

void Part::keep_as(const std::string& path) {
  flush();
  wait_for_disk();
  trace_->is_to_stay(true);
  if (const int error = rename_unless_there(name_, path); error != 0) {
    trace_->is_to_stay(false);
    throw std::system_error(error, std::generic_category(), path);
  }
  name_.clear();
  trace_.reset();
  const int folder = open(folder_of(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) return;  // it is there, though nobody has waited for its name
  fsync(folder);
  close(folder);
}

}  // namespace pack
