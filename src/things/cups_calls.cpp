#include "things/cups_calls.h"

#include <dlfcn.h>

namespace things {

namespace {

void* library() {
  static void* const loaded = dlopen("libcups.so.2", RTLD_LAZY | RTLD_LOCAL);
  return loaded;
}

}  // namespace

bool load_cups() { return library() != nullptr; }

void* cups_function(const char* name) { return dlsym(library(), name); }

}  // namespace things
