// The printer description files of an archive: one text file a printer, Key=Value lines.
#ifndef BRINDLE_PROCESS_PRINTERS_DESCRIPTION_H
#define BRINDLE_PROCESS_PRINTERS_DESCRIPTION_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// One Windows printer. A key that its file does not have reads as an empty value. Keys are found anywhere
/// in a line, so a driver named "HP Color LaserJet" answers for "Color" too.
struct PrinterDescription {
  std::string port;           ///< Windows port; decides the device URI
  std::string driver_name;    ///< model in words, what drivers are searched by
  std::string queue;          ///< the same without blanks: the name of the CUPS queue
  std::string orientation;    ///< a DMORIENT_ name
  std::string paper_size;     ///< a DMPAPER_ name
  std::string paper_width;    ///< in points, only for DMPAPER_USER
  std::string paper_length;   ///< in points, only for DMPAPER_USER
  std::string scale;          ///< not used
  std::string print_quality;  ///< a DMRES_ name
  std::string color;          ///< a DMCOLOR_ name
  std::string duplex;         ///< a DMDUP_ name
  std::string y_resolution;   ///< dots per inch
  std::string name;           ///< on Windows, what people call it
  bool is_default = false;    ///< the file is named exactly "Default.txt"
};

/// Reads the file at `path` (LF line ends). No value, with errno set, when it cannot be opened.
std::optional<PrinterDescription> read_description(const std::string& path);

/// Hands every printer of the folder "Printers" under `root`, in directory order, to `migrate`, after its
/// file's line ends were converted. Prints the trace lines of each. A file that cannot be opened is passed
/// over; a folder that cannot be opened is reported on standard error. Ends when `migrate` returns false.
void for_each_description(const std::string& root,
                          const std::function<bool(const PrinterDescription&)>& migrate);

/// Paths of the entries of the folder "Printers" under `root`, in directory order. None, after "Printer:: "
/// and the system error on standard error, when the folder cannot be opened.
std::vector<std::string> description_files(const std::string& root);

#endif
