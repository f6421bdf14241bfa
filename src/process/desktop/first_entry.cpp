#include "process/desktop/first_entry.h"

#include <algorithm>
#include <cstdio>

#include "shell/files.h"

std::optional<std::string> first_entry(const std::string& folder,
                                       std::initializer_list<std::string_view> others,
                                       const char* cannot_open, const char* wanted) {
  const auto entries = list_folder(folder);
  if (!entries) {
    tell_unlisted(cannot_open, folder);
    return std::nullopt;
  }
  for (const std::string& entry : *entries) {
    if (std::find(others.begin(), others.end(), entry) == others.end()) return entry;
  }
  std::fprintf(stderr, "No %s in %s\n", wanted, folder.c_str());
  return std::nullopt;
}
