#include "account/readers/places.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <functional>
#include <memory>

namespace account {
namespace {

using Document = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;

// Null when it is not well-formed. Nothing outside of the text is looked at.
Document parse(std::string_view text) {
  const int quiet = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
  return {xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, quiet), xmlFreeDoc};
}

bool is_called(const xmlNode* node, std::string_view name) {
  return node->type == XML_ELEMENT_NODE && reinterpret_cast<const char*>(node->name) == name;
}

std::string taken(xmlChar* text) {
  std::string result = text == nullptr ? "" : reinterpret_cast<const char*>(text);
  xmlFree(text);
  return result;
}

std::string attribute(const xmlNode* node, const char* name) {
  return taken(xmlGetProp(node, reinterpret_cast<const xmlChar*>(name)));
}

std::string title_of(const xmlNode* bookmark) {
  for (const xmlNode* child = bookmark->children; child != nullptr; child = child->next)
    if (is_called(child, "title")) return taken(xmlNodeGetContent(child));
  return {};
}

// The parser allows elements in each other to a depth of 256.
void for_each_bookmark(const xmlNode* first, const std::function<void(const xmlNode*)>& take) {
  for (const xmlNode* node = first; node != nullptr; node = node->next) {
    if (node->type != XML_ELEMENT_NODE) continue;
    if (is_called(node, "bookmark")) {
      take(node);
    } else {
      for_each_bookmark(node->children, take);
    }
  }
}

using Read = Place (*)(const xmlNode* bookmark);

std::optional<std::vector<Place>> read_places(std::string_view text, Read read) {
  const Document document = parse(text);
  if (document == nullptr) return std::nullopt;
  std::vector<Place> places;
  for_each_bookmark(document->children, [&](const xmlNode* node) { places.push_back(read(node)); });
  return places;
}

}  // namespace

std::optional<std::vector<Place>> read_nautilus_places(std::string_view text) {
  return read_places(text, [](const xmlNode* node) {
    return Place{attribute(node, "name"), attribute(node, "uri")};
  });
}

std::optional<std::vector<Place>> read_konqueror_places(std::string_view text) {
  return read_places(text, [](const xmlNode* node) {
    return Place{title_of(node), attribute(node, "href")};
  });
}

}  // namespace account
