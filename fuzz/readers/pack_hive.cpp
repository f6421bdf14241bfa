// Files of the Windows registry, and the ports of printers in them.
#include "pack/printers/ports.h"
#include "pack/registry/hive.h"
#include "support/harness.h"
#include "support/volume.h"

namespace {

// As deep as any key that is asked for, and not twice into a circle.
void look(const pack::Hive& hive, const std::string& key, int depth, int& left) {
  for (const std::string& value : hive.values(key)) {
    if (--left < 0) return;
    const auto text = hive.text(key, value);
    const auto bytes = hive.bytes(key, value);
    fuzz::require(!text || bytes, "a text has bytes");
    fuzz::require(!hive.number(key, value) || bytes->size() == 4, "a number has four");
  }
  for (const std::string& below : hive.keys(key)) {
    if (--left < 0 || depth == 0) return;
    look(hive, key.empty() ? below : key + "\\" + below, depth - 1, left);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::Volume volume({{"hive", std::string(fuzz::Input(data, size).text())}});
  const auto hive = pack::Hive::open(volume, "hive");
  if (!hive) return 0;
  static_cast<void>(hive->is_dirty());
  int left = 2000;
  look(*hive, "", 12, left);
  for (const char* above :
       {R"(C\Control\Print\Monitors\Standard TCP/IP Port\Ports)", R"(C\Control\Print\Printers)"})
    for (const std::string& name : hive->keys(above)) {
      const auto port = pack::port_in_archive(name, *hive, "C");
      fuzz::require(!port || !port->empty(), "a port has a name");
    }
  const auto shared = pack::port_in_archive(R"(WSD-1)", *hive, "C");
  fuzz::require(!shared || shared->starts_with("http://"), "a printer in the network has an address");
  return 0;
}
