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
