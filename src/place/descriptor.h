// The number of an open file, with an owner.
#ifndef BRINDLE_PLACE_DESCRIPTOR_H
#define BRINDLE_PLACE_DESCRIPTOR_H

#include <unistd.h>

#include <cerrno>
#include <utility>

/// Owns the number of an open file and closes it, without a change of errno. A negative number is no open
/// file.
class Descriptor {
 public:
  explicit Descriptor(int number = -1) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Descriptor() {
    const int error = errno;
    static_cast<void>(close());
    errno = error;
  }

  explicit operator bool() const { return number_ >= 0; }
  int number() const { return number_; }

  /// Whoever asks owns the number from now on.
  int release() { return std::exchange(number_, -1); }

  /// False, with errno set, when something written before was lost.
  bool close() { return number_ < 0 || ::close(std::exchange(number_, -1)) == 0; }

 private:
  int number_;
};

#endif
