// The rules by which a mailbox falls into messages: what begins one, and what is dropped.
#ifndef BRINDLE_PROCESS_MAIL_FOLDERS_JUDGE_H
#define BRINDLE_PROCESS_MAIL_FOLDERS_JUDGE_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "process/mail/folders/next_of.h"

/// Bytes of a block that are kept: all up to the next that are dropped, or to the next message.
struct Part {
  std::uint32_t begin;
  std::uint32_t size;
  bool begins_message;
};

/// Judges a mailbox block by block, each line by itself, and of a longer one each piece of `longest_piece`.
class Judge {
 public:
  /// Appends to `parts` what is kept of the pieces that `block` begins with, and returns how many bytes those
  /// were: all but an unfinished last one, or all when `is_last`.
  std::size_t take(std::string_view block, bool is_last, std::vector<Part>& parts);

  // Deliberate: part of the output. A longer line comes in pieces, and each is judged as a line of its own.
  static constexpr std::size_t longest_piece = 1023;

 private:
  bool is_dropped(std::size_t begin, std::size_t end);
  std::size_t next_marker(std::size_t begin);

  // With letters of which mail has few, in text and in base64.
  NextOf separator_{separator, 0, 4};                            // "F", " "
  NextOf dashes_{"--", 0, 1};                                    // "-", "-"
  NextOf boundary_{"boundary=\"", 7, 9};                         // "y", "\""
  NextOf encoding_{"Content-Transfer-Encoding: base64", 7, 25};  // "-", ":"
  /// 1 while a base64 header line is dropped.
  int removeencoding = 1;

  static constexpr std::string_view separator = "From ";
};

#endif
