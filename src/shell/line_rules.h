// Rewriting a text of lines of which most stay as they are.
#ifndef BRINDLE_SHELL_LINE_RULES_H
#define BRINDLE_SHELL_LINE_RULES_H

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "shell/pair_finder.h"

/// What becomes of the lines of a text.
struct LineRules {
  /// What stands in front of each line in its trace on standard output; empty for lines without a trace.
  std::string_view trace = {};

  /// A pair of bytes of each text by which a rule knows its lines. A line without any stays as it is.
  PairFinder marks;

  /// Appends to `out` what becomes of `line`, which has a mark, and comes with its newline. True when the
  /// line behind it belongs to it: that one comes here next, whatever it holds, and leaves no trace.
  std::function<bool(std::string_view line, std::string& out)> rewrite;
};

/// Rewrites a text that comes in blocks.
class LineRewriter {
 public:
  /// A line of more than `limit` bytes comes as several.
  LineRewriter(LineRules rules, std::size_t limit);

  /// What becomes of `lines`, which are whole, as PieceReader::next_block has them. Valid until the next
  /// call.
  std::string_view rewrite(std::string_view lines);

 private:
  std::size_t start_of_line(std::size_t at, std::size_t from) const;
  void trace(std::string_view lines);

  LineRules rules_;
  std::size_t limit_;
  std::string_view lines_;
  std::string out_;
  std::vector<char> trace_;
  bool is_next_too_ = false;
};

#endif
