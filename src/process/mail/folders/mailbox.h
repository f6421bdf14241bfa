// Reads and judges a mailbox while what was read of it is written.
#ifndef BRINDLE_PROCESS_MAIL_FOLDERS_MAILBOX_H
#define BRINDLE_PROCESS_MAIL_FOLDERS_MAILBOX_H

#include <array>
#include <condition_variable>
#include <cstddef>
#include <cstdio>
#include <mutex>
#include <stop_token>
#include <string_view>
#include <thread>
#include <vector>

#include "process/mail/folders/judge.h"

/// Hands out what is kept of a mailbox block by block. One of more than a block is read and judged by a
/// thread of its own, which is at most a block ahead; where none can be started, without it.
class Mailbox {
 public:
  /// Reads the first block. `file` is open for reading, read by nobody else meanwhile, and outlives this.
  explicit Mailbox(std::FILE* file);

  /// What is kept of the block, in its order. Valid, with its text, until `go_on`.
  const std::vector<Part>& parts() const { return blocks_[at_].parts; }
  std::string_view text(const Part& part) const;
  /// True when nothing comes behind the block: the file has ended, or cannot be read on.
  bool is_last() const { return blocks_[at_].is_last; }
  /// The system error for which nothing comes behind the block; 0 at the end of the file.
  int error() const { return blocks_[at_].error; }
  /// Goes to the next block. Not after the last one.
  void go_on();

 private:
  struct Block {
    std::vector<char> bytes = std::vector<char>(most_left + size);
    std::size_t begin = most_left;  // of the text: what the block before left stands there
    std::vector<Part> parts;
    std::size_t taken = 0;
    bool is_last = false;
    int error = 0;
  };
  static constexpr std::size_t size = std::size_t{1} << 18;
  static constexpr std::size_t most_left = Judge::longest_piece;

  void fill(Block& block, std::string_view left);
  void fill_next();
  void start();
  void read_ahead(const std::stop_token& is_over);

  std::FILE* file_;
  Judge judge_;
  std::array<Block, 2> blocks_;
  std::size_t filled_ = 0;  // the block that was filled last
  std::size_t at_ = 0;      // the block that is handed out
  std::mutex mutex_;
  std::condition_variable_any changed_;
  bool is_ahead_ = false;  // the other block is filled
  std::jthread reader_;    // of all blocks but the first; last: it uses the others
};

#endif
