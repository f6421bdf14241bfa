// Every shape a template of the program has, and what the programs in it must get.
#ifndef BRINDLE_FUZZ_COMPOSER_SHAPES_H
#define BRINDLE_FUZZ_COMPOSER_SHAPES_H

#include <span>

struct Shape {
  const char* text;
  /// One line for each program. Its words stand between "|"; {1} is the first value; a word in parentheses
  /// vanishes when it is empty; a word behind < or > is the file that the input or output is; "\\*" is no
  /// glob.
  const char* gets;
};

/// The shapes whose values are all texts, one for each pattern of places.
std::span<const Shape> shapes_of_texts();

#endif
