#include "calls.h"

#include <dlfcn.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <map>
#include <optional>

namespace {

std::map<std::string, std::function<int()>>& answers() {
  static std::map<std::string, std::function<int()>> all;
  return all;
}

// What the call gives, with errno set, when it is not to be a real one. An answer may make calls of its own.
std::optional<int> answer_to(const char* name) {
  const auto found = answers().find(name);
  if (found == answers().end()) return std::nullopt;
  const int error = std::function<int()>(found->second)();
  if (error == 0) return std::nullopt;
  if (error == done) return 0;
  errno = error;
  return -1;
}

template <class Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

void answer_calls(const std::string& name, std::function<int()> answer) {
  answers()[name] = std::move(answer);
}

void forget_answers() { answers().clear(); }

extern "C" {

ssize_t read(int file, void* memory, size_t size) {
  static const auto real = next<ssize_t(int, void*, size_t)>("read");
  const std::optional<int> answer = answer_to("read");
  return answer ? *answer : real(file, memory, size);
}

ssize_t copy_file_range(int from, off64_t* start, int to, off64_t* target, size_t size, unsigned int flags) {
  static const auto real =
      next<ssize_t(int, off64_t*, int, off64_t*, size_t, unsigned int)>("copy_file_range");
  const std::optional<int> answer = answer_to("copy_file_range");
  return answer ? *answer : real(from, start, to, target, size, flags);
}

ssize_t pread64(int file, void* memory, size_t size, off64_t place) {
  static const auto real = next<ssize_t(int, void*, size_t, off64_t)>("pread64");
  const std::optional<int> answer = answer_to("pread");
  return answer ? *answer : real(file, memory, size, place);
}

ssize_t pwrite64(int file, const void* memory, size_t size, off64_t place) {
  static const auto real = next<ssize_t(int, const void*, size_t, off64_t)>("pwrite64");
  const std::optional<int> answer = answer_to("pwrite");
  return answer ? *answer : real(file, memory, size, place);
}

off64_t lseek64(int file, off64_t place, int whence) noexcept {
  static const auto real = next<off64_t(int, off64_t, int)>("lseek64");
  const std::optional<int> answer = answer_to("lseek");
  return answer ? *answer : real(file, place, whence);
}

int openat64(int folder, const char* name, int flags, ...) {
  static const auto real = next<int(int, const char*, int, ...)>("openat64");
  va_list more;
  va_start(more, flags);
  const auto mode = va_arg(more, mode_t);
  va_end(more);
  const std::optional<int> answer = answer_to("openat");
  return answer ? *answer : real(folder, name, flags, mode);
}

int fchown(int file, uid_t uid, gid_t gid) noexcept {
  static const auto real = next<int(int, uid_t, gid_t)>("fchown");
  const std::optional<int> answer = answer_to("fchown");
  return answer ? *answer : real(file, uid, gid);
}

int ioctl(int file, unsigned long request, ...) noexcept {
  static const auto real = next<int(int, unsigned long, ...)>("ioctl");
  va_list more;
  va_start(more, request);
  void* argument = va_arg(more, void*);
  va_end(more);
  const std::optional<int> answer = answer_to("ioctl");
  return answer ? *answer : real(file, request, argument);
}

int fstat64(int file, struct stat64* found) noexcept {
  static const auto real = next<int(int, struct stat64*)>("fstat64");
  const std::optional<int> answer = answer_to("fstat");
  return answer ? *answer : real(file, found);
}

int unlinkat(int folder, const char* name, int flags) noexcept {
  static const auto real = next<int(int, const char*, int)>("unlinkat");
  const std::optional<int> answer = answer_to("unlinkat");
  return answer ? *answer : real(folder, name, flags);
}

int flock(int file, int operation) noexcept {
  static const auto real = next<int(int, int)>("flock");
  const std::optional<int> answer = answer_to("flock");
  return answer ? *answer : real(file, operation);
}

int renameat(int from, const char* old, int to, const char* name) noexcept {
  static const auto real = next<int(int, const char*, int, const char*)>("renameat");
  const std::optional<int> answer = answer_to("renameat");
  return answer ? *answer : real(from, old, to, name);
}

int renameat2(int from, const char* old, int to, const char* name, unsigned int flags) noexcept {
  static const auto real = next<int(int, const char*, int, const char*, unsigned int)>("renameat2");
  const std::optional<int> answer = answer_to("renameat2");
  return answer ? *answer : real(from, old, to, name, flags);
}

int linkat(int from, const char* old, int to, const char* name, int flags) noexcept {
  static const auto real = next<int(int, const char*, int, const char*, int)>("linkat");
  const std::optional<int> answer = answer_to("linkat");
  return answer ? *answer : real(from, old, to, name, flags);
}

int mkdirat(int folder, const char* name, mode_t mode) noexcept {
  static const auto real = next<int(int, const char*, mode_t)>("mkdirat");
  const std::optional<int> answer = answer_to("mkdirat");
  return answer ? *answer : real(folder, name, mode);
}

int mknodat(int folder, const char* name, mode_t mode, dev_t device) noexcept {
  static const auto real = next<int(int, const char*, mode_t, dev_t)>("mknodat");
  const std::optional<int> answer = answer_to("mknodat");
  return answer ? *answer : real(folder, name, mode, device);
}

int fchownat(int folder, const char* name, uid_t uid, gid_t gid, int flags) noexcept {
  static const auto real = next<int(int, const char*, uid_t, gid_t, int)>("fchownat");
  const std::optional<int> answer = answer_to("fchownat");
  return answer ? *answer : real(folder, name, uid, gid, flags);
}

long syscall(long number, ...) noexcept {
  static const auto real = next<long(long, ...)>("syscall");
  va_list more;
  va_start(more, number);
  long words[6];
  for (long& word : words) word = va_arg(more, long);
  va_end(more);
  const std::optional<int> answer = number == SYS_openat2 ? answer_to("openat2") : std::nullopt;
  return answer ? *answer : real(number, words[0], words[1], words[2], words[3], words[4], words[5]);
}

}  // extern "C"
