#include "system/system.h"

#include "state/state.h"
#include "system/capabilities.h"

System system_called(std::string_view name) {
  for (int row = 0; row < system_count; ++row) {
    const auto system = static_cast<System>(row);
    if (name == capabilities(system).name) return system;
  }
  return System::other;
}

System detected_system() { return system_called(OSName); }

bool detected_unserved_release() { return OSName == std::string_view("INVALID"); }
