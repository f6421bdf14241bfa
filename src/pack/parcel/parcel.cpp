#include "pack/parcel/parcel.h"

#include "pack/disk/stop.h"

namespace pack {

namespace {

// A zip has a head in front of each file and one in its list, which is there twice at the end, each with the
// name.
constexpr std::uint64_t heads = 300;
constexpr std::uint64_t names = 3;

}  // namespace

void Sum::add_folder(const std::string& name, std::int64_t) { add(name, 0); }

Outcome Sum::add_file(const std::string& name, const Tree&, const std::string&, const Entry& entry) {
  add(name, entry.size);
  return {.bytes = entry.size};
}

void Sum::add_stream(const std::string& name, std::uint64_t most,
                     const std::function<void(const Writer& write)>& make) {
  add(name, most);
  if (makes_) make([](std::string_view) { stop_when_asked(); });
}

void Sum::add_text(const std::string& name, std::string_view content) { add(name, content.size()); }

// What deflate cannot make smaller it makes larger by five bytes in each 16 KiB.
void Sum::add(const std::string& name, std::uint64_t size) {
  stop_when_asked();
  found_();
  bytes_ += size + size / 2048 + heads + names * name.size();
}

}  // namespace pack
