// Names from a Windows disk as an archive can hold them.
#ifndef BRINDLE_PACK_FILES_NAMES_H
#define BRINDLE_PACK_FILES_NAMES_H

#include <string>
#include <string_view>

namespace pack {

/// `name`, or, when a run would not find it again as it is, another one made of it, with a number of its own
/// before its ending, so that two such names stay two. Those are names that
/// - are no UTF-8 (Windows allows halves of characters in a name): U+FFFD stands for what is none;
/// - hold bytes that steer a terminal, which unzip drops: "_" stands for each;
/// - end with ";" and digits, which unzip takes for a version and drops: the ";" becomes "_";
/// - have more than 255 bytes (Windows allows 255 characters): the end of the stem goes.
std::string kept_name(std::string_view name);

/// `name`, which is UTF-8, with a number that is made of `of` and `name`, in at most 255 bytes.
std::string numbered(const std::string& name, std::string_view of);

}  // namespace pack

#endif
