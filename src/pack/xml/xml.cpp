#include "pack/xml/xml.h"

#include <libxml/parser.h>

#include <algorithm>
#include <memory>

namespace pack {

namespace {

using Document = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;
using Text = std::unique_ptr<xmlChar, decltype([](xmlChar* text) { xmlFree(text); })>;

std::string_view text_in(const xmlChar* text) {
  return text == nullptr ? "" : reinterpret_cast<const char*>(text);
}

// The library goes no deeper than 256 elements.
XmlElement element_of(const xmlNode& node) {
  XmlElement element{.name = std::string(text_in(node.name)), .attributes = {}, .text = "", .children = {}};
  for (const xmlAttr* attribute = node.properties; attribute != nullptr; attribute = attribute->next) {
    const Text value(xmlNodeListGetString(node.doc, attribute->children, 1));
    element.attributes.emplace(text_in(attribute->name), text_in(value.get()));
  }
  for (const xmlNode* child = node.children; child != nullptr; child = child->next) {
    if (child->type == XML_ELEMENT_NODE) element.children.push_back(element_of(*child));
    if (child->type == XML_TEXT_NODE || child->type == XML_CDATA_SECTION_NODE)
      element.text += text_in(child->content);
  }
  return element;
}

}  // namespace

const XmlElement* XmlElement::child(std::string_view wanted) const {
  const auto found = std::ranges::find(children, wanted, &XmlElement::name);
  return found == children.end() ? nullptr : &*found;
}

std::string XmlElement::text_of(std::string_view wanted) const {
  const XmlElement* const found = child(wanted);
  return found == nullptr ? "" : found->text;
}

std::string XmlElement::attribute(const std::string& wanted) const {
  const auto found = attributes.find(wanted);
  return found == attributes.end() ? "" : found->second;
}

std::optional<XmlElement> read_xml(std::string_view file) {
  if (file.size() > longest_xml) return std::nullopt;
  const Document document(xmlReadMemory(file.data(), static_cast<int>(file.size()), nullptr, nullptr,
                                        XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
                          xmlFreeDoc);
  if (!document || document->intSubset != nullptr) return std::nullopt;
  const xmlNode* const top = xmlDocGetRootElement(document.get());
  return top == nullptr ? std::nullopt : std::optional(element_of(*top));
}

}  // namespace pack
