// Compression as zips have it.
#ifndef BRINDLE_PACK_PARCEL_DEFLATE_H
#define BRINDLE_PACK_PARCEL_DEFLATE_H

#include <memory>
#include <string>

#include "pack/parcel/parcel.h"

struct z_stream_s;

namespace pack {

/// Compresses one file after the other, fast rather than well.
class Deflate {
 public:
  Deflate();
  ~Deflate();

  /// Takes the next bytes of a file and hands on what has become of them so far.
  void add(std::string_view bytes, const Writer& write) { run(bytes, write, false); }
  /// Hands on the rest; the next bytes are of another file.
  void end(const Writer& write) { run("", write, true); }

 private:
  void run(std::string_view bytes, const Writer& write, bool is_last);

  std::unique_ptr<z_stream_s> stream_;
  std::string out_;
};

}  // namespace pack

#endif
