// Data files of Outlook behind their index: the blocks of folders, items and tables as anybody may have
// written them.
#include <algorithm>
#include <map>

#include "pack/outlook/message.h"
#include "support/harness.h"

namespace {

// Two bytes of length and a block's bytes, one after the other. The first block's first byte says how the
// file is laid out; the nodes are the usual ones and some items, each with two of the blocks.
class Given : public pack::Blocks {
 public:
  explicit Given(std::string_view bytes) {
    form_ = !bytes.empty() && (bytes.front() & 1) != 0 ? Form::ansi : Form::unicode;
    for (std::uint64_t id = 4; bytes.size() > 2; id += 2) {
      const std::size_t size = static_cast<unsigned char>(bytes[0]) | static_cast<unsigned char>(bytes[1])
                                                                          << 8U;
      blocks_[id] = bytes.substr(2, size);
      bytes.remove_prefix(std::min(bytes.size(), size + 2));
    }
    std::uint64_t block = 4;
    for (const std::uint32_t id : {0x21U, 0x61U, 0x122U, 0x8022U, 0x8082U, 0x808EU, 0x200004U, 0x200024U}) {
      nodes_.push_back({.id = id, .parent = parent_of(id), .data = block, .subnodes = block + 2});
      block += 4;
    }
  }

  Form form() const override { return form_; }
  std::span<const Node> nodes() override { return nodes_; }
  std::optional<std::string> block(std::uint64_t id) override {
    constexpr int most = 20000;
    const auto found = blocks_.find(id & ~std::uint64_t{1});
    if (++asked_ > most || found == blocks_.end()) return std::nullopt;
    return std::string(found->second);
  }

 private:
  static std::uint32_t parent_of(std::uint32_t id) {
    if (id == 0x8022) return 0x122;
    if (id == 0x8082) return 0x8022;
    return id > 0x10000 ? 0x8082 : 0;
  }

  Form form_;
  std::map<std::uint64_t, std::string_view> blocks_;
  std::vector<Node> nodes_;
  int asked_ = 0;
};

bool is_good_text(std::string_view text) { return text.find('\0') == std::string_view::npos; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::Input input(data, size);
  Given blocks(input.text());
  pack::Store store(blocks);
  for (const pack::Store::Folder& folder : store.folders()) {
    for (const std::string& name : folder.names)
      fuzz::require(!name.empty() && name.find('/') == std::string::npos && is_good_text(name) &&
                        name != "." && name != "..",
                    "a folder has a name that an archive can hold");
    for (const pack::Store::Item& item : store.items(folder)) {
      std::string head;
      std::string last;
      const auto outcome = write_message(store, item.id, [&](const std::string& text) -> pack::Writer {
        head = text;
        return [&](std::string_view more) {
          const std::string both = last + std::string(more);
          fuzz::require(both.find("\nFrom ") == std::string::npos, "no text begins another message");
          last = both.substr(both.size() - std::min<std::size_t>(both.size(), 6));
        };
      });
      if (outcome == pack::Rebuilt::lost) continue;
      fuzz::require(head.starts_with("From - ") && head.ends_with("\n\n"), "a head begins and ends");
      fuzz::require(head.find("\nFrom ", 1) == std::string::npos && is_good_text(head), "and there is one");
      fuzz::require(head.find("\n\n") == head.size() - 2, "and it ends once");
    }
  }
  return 0;
}
