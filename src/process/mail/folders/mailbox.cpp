#include "process/mail/folders/mailbox.h"

#include <cerrno>
#include <system_error>

Mailbox::Mailbox(std::FILE* file) : file_(file) {
  fill(blocks_[0], {});
  if (!is_last()) start();
}

std::string_view Mailbox::text(const Part& part) const {
  const Block& block = blocks_[at_];
  return {block.bytes.data() + block.begin + part.begin, part.size};
}

void Mailbox::go_on() {
  if (!reader_.joinable()) {
    fill_next();
    at_ = filled_;
    return;
  }
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return is_ahead_; });
  at_ = 1 - at_;
  is_ahead_ = false;
  changed_.notify_one();
}

void Mailbox::start() {
  try {
    reader_ = std::jthread([this](const std::stop_token& is_over) { read_ahead(is_over); });
  } catch (const std::system_error&) {
    return;  // go_on reads, then
  }
}

void Mailbox::read_ahead(const std::stop_token& is_over) {
  while (!blocks_[filled_].is_last) {
    std::unique_lock lock(mutex_);
    if (!changed_.wait(lock, is_over, [this] { return !is_ahead_; })) return;
    lock.unlock();
    fill_next();
    lock.lock();
    is_ahead_ = true;
    changed_.notify_one();
  }
}

void Mailbox::fill_next() {
  const Block& last = blocks_[filled_];
  filled_ = 1 - filled_;
  const std::string_view bytes(last.bytes.data(), last.bytes.size());
  fill(blocks_[filled_], bytes.substr(last.begin + last.taken));
}

// A block that is filled no further than it could be is the last one, so what is left ends with its bytes.
void Mailbox::fill(Block& block, std::string_view left) {
  block.begin = most_left - left.size();
  left.copy(block.bytes.data() + block.begin, left.size());
  const std::size_t found = std::fread(block.bytes.data() + most_left, 1, size, file_);
  block.error = std::ferror(file_) != 0 ? errno : 0;
  block.is_last = found < size;
  block.parts.clear();
  block.taken =
      judge_.take({block.bytes.data() + block.begin, left.size() + found}, block.is_last, block.parts);
}
