#include "account/readers/evolution_account.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace account {
namespace {

std::string_view view(const xmlChar* text) {
  return text == nullptr ? std::string_view() : reinterpret_cast<const char*>(text);
}

xmlNode* child(xmlNode* parent, std::string_view name) {
  xmlNode* node = parent == nullptr ? nullptr : parent->children;
  while (node != nullptr && !(node->type == XML_ELEMENT_NODE && view(node->name) == name)) node = node->next;
  return node;
}

std::string owned_text(xmlChar* text) {
  const std::unique_ptr<xmlChar, void (*)(void*)> owner(text, [](void* bytes) { xmlFree(bytes); });
  return std::string(view(text));
}

std::string text_of(xmlNode* node) { return node == nullptr ? "" : owned_text(xmlNodeGetContent(node)); }

std::string attribute(xmlNode* node, const char* name) {
  return node == nullptr ? "" : owned_text(xmlGetProp(node, reinterpret_cast<const xmlChar*>(name)));
}

// Elements within a text are none that Evolution knows.
bool holds_text_alone(xmlNode* node) { return node == nullptr || xmlChildElementCount(node) == 0; }

std::string without_percents(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::string digits(text.substr(i + 1, 2));
    const bool is_code = text[i] == '%' &&
                         digits.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos &&
                         digits.size() == 2;
    result += is_code ? static_cast<char>(std::strtol(digits.c_str(), nullptr, 16)) : text[i];
    if (is_code) i += 2;
  }
  return result;
}

struct Address {
  std::string scheme, user, host;
  bool has_auth = false;
  std::string_view parameters;  // what follows the host
};

Address address_of(std::string_view url) {
  Address address;
  const std::size_t colon = url.find("://");
  if (colon == std::string_view::npos) return address;
  address.scheme = url.substr(0, colon);
  url.remove_prefix(colon + 3);
  const std::size_t end = std::min(url.find('/'), url.size());
  std::string_view host = url.substr(0, end);
  address.parameters = url.substr(end);
  if (const std::size_t at = host.find('@'); at != std::string_view::npos) {
    std::string_view user = host.substr(0, std::min(at, host.find(':')));
    const std::size_t semicolon = user.find(';');
    address.has_auth = semicolon != std::string_view::npos && user.substr(semicolon).starts_with(";auth=");
    if (address.has_auth) user = user.substr(0, semicolon);
    address.user = without_percents(user);
    host.remove_prefix(at + 1);
  }
  address.host = host;
  return address;
}

bool has_parameter(const Address& address, std::string_view parameter) {
  return (std::string(address.parameters) + ";").find(";" + std::string(parameter) + ";") !=
         std::string::npos;
}

bool has_unknown_elements(xmlNode* identity, xmlNode* source, xmlNode* transport) {
  for (const char* const name : {"name", "addr-spec", "reply-to", "organization"})
    if (!holds_text_alone(child(identity, name))) return true;
  return !holds_text_alone(child(source, "url")) || !holds_text_alone(child(transport, "url"));
}

}  // namespace

std::optional<MailAccount> read_evolution_account(const std::string& xml) {
  const std::unique_ptr<xmlDoc, void (*)(xmlDoc*)> document(
      xmlReadMemory(xml.data(), static_cast<int>(xml.size()), nullptr, nullptr,
                    XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
      xmlFreeDoc);
  xmlNode* const root = document == nullptr ? nullptr : xmlDocGetRootElement(document.get());
  if (root == nullptr || view(root->name) != "account") return std::nullopt;
  xmlNode* const identity = child(root, "identity");
  xmlNode* const source = child(root, "source");
  xmlNode* const transport = child(root, "transport");
  if (has_unknown_elements(identity, source, transport)) return std::nullopt;

  const std::string source_url = text_of(child(source, "url")),
                    transport_url = text_of(child(transport, "url"));
  const Address incoming = address_of(source_url), outgoing = address_of(transport_url);
  return MailAccount{{Field::name, attribute(root, "name")},
                     {Field::display_name, text_of(child(identity, "name"))},
                     {Field::address, text_of(child(identity, "addr-spec"))},
                     {Field::reply_to, text_of(child(identity, "reply-to"))},
                     {Field::organization, text_of(child(identity, "organization"))},
                     {Field::type, incoming.scheme},
                     {Field::host, incoming.host},
                     {Field::user, incoming.user},
                     {Field::secure, flag_text(has_parameter(incoming, "use_ssl=always"))},
                     {Field::keep_on_server, flag_text(attribute(source, "keep-on-server") == "true")},
                     {Field::smtp_host, outgoing.host},
                     {Field::smtp_user, outgoing.user},
                     {Field::smtp_auth, flag_text(outgoing.has_auth)},
                     {Field::smtp_secure, flag_text(has_parameter(outgoing, "use_ssl=always"))}};
}

}  // namespace account
