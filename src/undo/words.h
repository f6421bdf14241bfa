// What brindle-undo says.
#ifndef BRINDLE_UNDO_WORDS_H
#define BRINDLE_UNDO_WORDS_H

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "keep/store.h"
#include "undo/matters.h"
#include "undo/plan.h"

namespace undo {

/// A name as it can be shown on a terminal: control characters become \ooo.
std::string shown(std::string_view name);

/// One line: its name, kind, how much it replaced and made, whether it is undone.
void write_run(std::ostream& out, const keep::Run& run, bool is_undone, std::size_t replaced,
               std::size_t made);

/// How many names of a group a person is shown before the question.
inline constexpr std::size_t some = 20;
inline constexpr std::size_t all = SIZE_MAX;

/// What is going to be done, in groups; at most `most` names of each. `run` is the DATE-TIME of what is
/// undone.
void write_plan(std::ostream& out, const Plan& plan, const Matters& matters, const std::string& run,
                std::size_t most);

/// One line for each thing that is left.
void write_left(std::ostream& out, const Plan& plan, const Matters& matters);
std::size_t count_left(const Plan& plan, const Matters& matters);

/// "1 file", "2 files".
std::string counted(std::size_t count, const std::string& one, const std::string& several);

/// "12 bytes", "1.5 MB".
std::string size_in_words(std::uintmax_t bytes);

}  // namespace undo

#endif
