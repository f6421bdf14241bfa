#include "system/language.h"

#include <cstdlib>

#include "system/capabilities.h"
#include "system/system.h"

const char* wizard_locale() {
  if (capabilities(detected_system()).language_from_ctype) {
    const char* ctype = std::getenv("LC_CTYPE");
    if (ctype != nullptr) return ctype;  // even a short one: LANG is no second try
  }
  return std::getenv("LANG");
}

std::string persons_locale() {
  const char* kept = std::getenv("BRINDLE_LOCALE");
  const char* locale = kept != nullptr && *kept != '\0' ? kept : wizard_locale();
  return locale != nullptr ? locale : "";
}

bool is_in_language(std::string_view locale, std::string_view language) {
  if (!locale.starts_with(language)) return false;
  const std::string_view rest = locale.substr(language.size());
  return rest.empty() || rest[0] == '_' || rest[0] == '.' || rest[0] == '@';
}
