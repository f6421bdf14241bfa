// Small XML files of other programs.
#ifndef BRINDLE_PACK_XML_XML_H
#define BRINDLE_PACK_XML_XML_H

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pack {

/// An element with all that is in it, in UTF-8. Names have no prefix.
struct XmlElement {
  std::string name;
  std::map<std::string, std::string> attributes;
  std::string text;  ///< its own, without that of the elements in it
  std::vector<XmlElement> children;

  /// The first of that name in it, null when there is none.
  const XmlElement* child(std::string_view name) const;
  /// The text of the first of that name in it, empty when there is none.
  std::string text_of(std::string_view name) const;
  /// Empty when there is none.
  std::string attribute(const std::string& name) const;
};

/// A file of which everything is read at once has at most so many bytes.
inline constexpr std::size_t longest_xml = std::size_t{1} << 22;

/// The outermost element of a file, in UTF-8, UTF-16 or what it names itself. No value when it is not well
/// formed, longer than that, or declares something of its own: then it is of none of the programs known here.
std::optional<XmlElement> read_xml(std::string_view file);

}  // namespace pack

#endif
