#include "system/system.h"

#include "state/state.h"
#include "system/capabilities.h"

System system_called(std::string_view name) {
  for (const System system : {System::gnome, System::linspire, System::redflag, System::xandros}) {
    if (name == capabilities(system).name) return system;
  }
  return System::other;
}

System detected_system() { return system_called(OSName); }

bool detected_unserved_release() { return OSName == std::string_view("INVALID"); }
