#include "late/library.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

namespace late {

void* Library::loaded() const { return dlopen(name_, RTLD_LAZY | RTLD_LOCAL); }

bool Library::load() const { return loaded() != nullptr; }

// A test's function of that name comes first, as it would before that of a library that is linked.
void* Library::function(const char* name) const {
  void* found = dlsym(RTLD_DEFAULT, name);
  if (found == nullptr && load()) found = dlsym(loaded(), name);
  if (found != nullptr) return found;
  std::fprintf(stderr, "brindle: %s: %s\n", name_, dlerror());
  std::abort();
}

}  // namespace late
