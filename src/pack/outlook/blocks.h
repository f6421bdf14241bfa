// What a mail store of Outlook (PST, OST) is made of: nodes, and blocks of bytes that they consist of.
#ifndef BRINDLE_PACK_OUTLOOK_BLOCKS_H
#define BRINDLE_PACK_OUTLOOK_BLOCKS_H

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "pack/disk/stage.h"

namespace pack {

/// Gives them out in the clear.
class Blocks {
 public:
  /// A node of the file's own tree: a folder, a message, a table.
  struct Node {
    std::uint32_t id = 0;
    std::uint32_t parent = 0;
    std::uint64_t data = 0;      ///< its block; 0 when it has none, or that is lost
    std::uint64_t subnodes = 0;  ///< the block with the list of nodes that are its own; 0 when it has none
  };

  /// What the file says of itself.
  enum class Form : std::uint8_t { none, ansi, unicode, pages_of_4k };

  virtual ~Blocks() = default;

  virtual Form form() const = 0;

  /// All nodes, by their ids. Empty when the file cannot be read at all.
  virtual std::span<const Node> nodes() = 0;

  /// The node of that id; null when there is none.
  const Node* node(std::uint32_t id);

  /// The bytes of a block. No value when it is not there, or cannot be read.
  virtual std::optional<std::string> block(std::uint64_t id) = 0;
};

/// Those of a file. The library that knows the file's index and its ciphers ends its process when it meets
/// damage: it works in a process of its own, which has limits and is begun anew when it dies. One block less
/// is all that comes of that.
class BlocksOfFile : public Blocks {
 public:
  /// How far the process may go.
  struct Limits {
    std::chrono::milliseconds without_progress{60000};  ///< neither an answer nor a byte read
    std::uint64_t memory = std::uint64_t{2} << 30;      ///< bytes of its address space
    int deaths = 32;                                    ///< then nothing more is asked for
  };

  /// Looks at the file's head, no further. `size` is the file's.
  BlocksOfFile(Place file, std::uint64_t size) : BlocksOfFile(std::move(file), size, Limits()) {}
  BlocksOfFile(Place file, std::uint64_t size, Limits limits);
  BlocksOfFile(const BlocksOfFile&) = delete;
  BlocksOfFile& operator=(const BlocksOfFile&) = delete;
  ~BlocksOfFile() override;

  Form form() const override { return form_; }
  std::span<const Node> nodes() override;
  std::optional<std::string> block(std::uint64_t id) override;

  const Place& file() const { return file_; }
  std::uint64_t size() const { return size_; }

  /// True when the file is encrypted for its owner, which is more than the two ciphers without a key.
  bool is_protected() const { return is_protected_; }

  /// True when something of the index or a block that was asked for could not be read.
  bool is_damaged() const { return is_damaged_; }

  /// Ends the process; the next question begins a new one.
  void rest();

 private:
  void read_head();
  std::unique_ptr<Content> content();
  bool begin();
  void load();
  bool take(void* to, std::size_t size);
  std::optional<std::string> answer(std::uint64_t id);

  Place file_;
  std::uint64_t size_;
  Limits limits_;
  Form form_ = Form::none;
  bool is_protected_ = false;
  bool is_damaged_ = false;
  bool is_loaded_ = false;
  std::uint64_t left_;  // bytes that may still be given out
  std::vector<Node> nodes_;
  std::set<std::uint64_t> bad_;  // blocks over which the process has died
  int deaths_ = 0;
  pid_t process_ = 0;
  int socket_ = -1;
  std::unique_ptr<Stage> stage_;  // has a copy, when the file cannot be read from anywhere on
  std::unique_ptr<Tree> copy_;
  struct Shared;
  Shared* shared_ = nullptr;  // with the process: how much it has read
};

}  // namespace pack

#endif
