#include "pack/parcel/deflate.h"

#include <zlib.h>

#include <stdexcept>

namespace pack {

namespace {

constexpr std::size_t block_size = std::size_t{1} << 17;
constexpr int fastest = 1;
constexpr int without_head = -MAX_WBITS;
constexpr int usual_memory = 8;

}  // namespace

Deflate::Deflate() : stream_(std::make_unique<z_stream>()), out_(block_size, '\0') {
  if (deflateInit2(stream_.get(), fastest, Z_DEFLATED, without_head, usual_memory, Z_DEFAULT_STRATEGY) !=
      Z_OK)
    throw std::runtime_error("there is no memory to compress with");
}

Deflate::~Deflate() { deflateEnd(stream_.get()); }

void Deflate::run(std::string_view bytes, const Writer& write, bool is_last) {
  // The library does not change what it reads.
  stream_->next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
  stream_->avail_in = static_cast<uInt>(bytes.size());
  for (bool is_full = true; is_full;) {
    stream_->next_out = reinterpret_cast<Bytef*>(out_.data());
    stream_->avail_out = static_cast<uInt>(out_.size());
    deflate(stream_.get(), is_last ? Z_FINISH : Z_NO_FLUSH);
    is_full = stream_->avail_out == 0;
    write(std::string_view(out_).substr(0, out_.size() - stream_->avail_out));
  }
  if (is_last) deflateReset(stream_.get());
}

}  // namespace pack
