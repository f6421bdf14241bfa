// Where a text comes next in a block.
#ifndef BRINDLE_PROCESS_MAIL_FOLDERS_NEXT_OF_H
#define BRINDLE_PROCESS_MAIL_FOLDERS_NEXT_OF_H

#include <cstddef>
#include <string_view>

/// Finds the places of one text in a block after the other. It is asked for places that grow, so that no byte
/// is looked at twice.
class NextOf {
 public:
  /// `one` and `other`: which two letters of `text` to look for first, at many places at once. They should
  /// seldom stand so far apart where the text is not.
  NextOf(std::string_view text, std::size_t one, std::size_t other) : text_(text), one_(one), other_(other) {}

  /// Begins with another block, which stays as it is until the next one.
  void search(std::string_view block);
  /// At or behind `begin`; the block's size when there is none.
  std::size_t from(std::size_t begin);
  /// Whether one lies between the two places, of which the first grows.
  bool lies_in(std::size_t begin, std::size_t end);

 private:
  std::size_t find(std::size_t begin) const;
  bool can_begin_from(const char* start) const;

  std::string_view text_;
  std::size_t one_;
  std::size_t other_;
  std::string_view block_;
  std::size_t at_ = std::string_view::npos;
};

#endif
