#include "account/new_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ext/stdio_filebuf.h>

namespace account {
namespace {

// 0, or why nothing may be put there.
int fault_of_place(const std::string& path) {
  struct stat status;
  if (lstat(path.c_str(), &status) != 0) return errno == ENOENT ? 0 : errno;
  if (S_ISREG(status.st_mode)) return 0;
  return S_ISLNK(status.st_mode) ? ELOOP : EEXIST;
}

}  // namespace

struct NewFile::Parts {
  std::string place;
  std::string name;  // until it is in its place; empty when there is nothing to remove
  int fault;
  __gnu_cxx::stdio_filebuf<char> buffer;
  std::ostream out{nullptr};
};

NewFile::NewFile(std::string path) : parts_(std::make_unique<Parts>()) {
  parts_->fault = fault_of_place(path);
  parts_->place = std::move(path);
  if (parts_->fault != 0) return;
  const std::size_t slash = parts_->place.rfind('/');
  std::string name = parts_->place.substr(0, slash == std::string::npos ? 0 : slash + 1) + ".brindle-XXXXXX";
  const int file = mkostemp(name.data(), O_CLOEXEC);
  if (file < 0) {
    parts_->fault = errno;
    return;
  }
  parts_->name = std::move(name);
  if (fchmod(file, 0644) != 0) parts_->fault = errno;
  parts_->buffer = __gnu_cxx::stdio_filebuf<char>(file, std::ios::out | std::ios::binary);
  parts_->out.rdbuf(&parts_->buffer);
}

NewFile::~NewFile() {
  if (!parts_->name.empty()) unlink(parts_->name.c_str());
}

std::ostream& NewFile::stream() { return parts_->out; }

bool NewFile::commit() {
  errno = parts_->fault;
  if (parts_->fault != 0) return false;
  parts_->out.flush();
  // An earlier fault has left no reason.
  if (!parts_->out) return errno = errno == 0 ? EIO : errno, false;
  if (fsync(parts_->buffer.fd()) != 0 || parts_->buffer.close() == nullptr) return false;
  parts_->fault = fault_of_place(parts_->place);
  errno = parts_->fault;
  if (parts_->fault != 0 || std::rename(parts_->name.c_str(), parts_->place.c_str()) != 0) return false;
  parts_->name.clear();
  return true;
}

}  // namespace account
