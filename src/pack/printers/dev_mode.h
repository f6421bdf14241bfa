// The settings of a printer as Windows keeps them (DEVMODEW), in the words of an archive.
#ifndef BRINDLE_PACK_PRINTERS_DEV_MODE_H
#define BRINDLE_PACK_PRINTERS_DEV_MODE_H

#include <string>
#include <string_view>

namespace pack {

/// Each is the text that stands behind its key in an archive.
struct PrinterSettings {
  std::string orientation = "DMORIENT_PORTRAIT";
  std::string paper_size = "DMPAPER_A4";
  std::string paper_width = "595";   ///< points, for a size of one's own
  std::string paper_length = "842";  ///< points
  std::string scale = "100";
  std::string print_quality = "DMRES_HIGH";
  std::string color = "DMCOLOR_MONOCHROME";
  std::string duplex = "DMDUP_SIMPLEX";
  std::string y_resolution = "300";  ///< dots per inch
};

/// Those of a structure. What it does not hold, or holds no word for, is as above.
PrinterSettings settings_of(std::string_view dev_mode);

/// True for bytes that are long enough for one, and not longer by what they say of themselves.
bool is_dev_mode(std::string_view bytes);

}  // namespace pack

#endif
