#include "pack/outlook/blocks.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <system_error>
#include <utility>

#include "pack/disk/bytes.h"
#include "pack/disk/folder_tree.h"
#include "pack/disk/limits.h"

extern "C" {
#include <libpst/libpst.h>
}

namespace pack {

struct BlocksOfFile::Shared {
  std::atomic<std::uint64_t> bytes_read = 0;
};

namespace {

constexpr std::size_t head_size = 1024;

// An honest file is read a few times over; 4K pages are compressed.
constexpr std::uint64_t times_the_file = 16;
constexpr std::uint64_t times_the_compressed = 256;
constexpr std::uint64_t room_for_small_files = std::uint64_t{64} << 20;

constexpr std::uint64_t no_block = UINT64_MAX;

struct Nodes {
  std::uint64_t count = 0;
  bool is_whole = false;
};

struct Answer {
  std::uint64_t size = no_block;
  bool is_whole = false;
};

// ---- In the process of its own

[[noreturn]] void end_process(int status) { _exit(status); }

bool give(int socket, const void* bytes, std::size_t size) {
  const char* from = static_cast<const char*>(bytes);
  while (size > 0) {
    const ssize_t count = send(socket, from, size, MSG_NOSIGNAL);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    from += count;
    size -= static_cast<std::size_t>(count);
  }
  return true;
}

// The file as the library wants it: a stream that reads the tree's content.
struct Stream {
  Content* content;
  std::uint64_t position;
  std::uint64_t size;
  std::atomic<std::uint64_t>* bytes_read;
  std::uint64_t most;  // an index that leads in circles ends here

  static ssize_t read(void* self, char* to, std::size_t most) {
    Stream& stream = *static_cast<Stream*>(self);
    *stream.bytes_read += most;
    if (*stream.bytes_read > stream.most) end_process(EXIT_FAILURE);
    try {
      const std::size_t count = stream.content->read(to, most);
      stream.position += count;
      return static_cast<ssize_t>(count);
    } catch (const std::system_error&) {
      return -1;
    }
  }
  static int seek(void* self, off64_t* offset, int whence) {
    Stream& stream = *static_cast<Stream*>(self);
    const auto begin = whence == SEEK_CUR ? stream.position : whence == SEEK_END ? stream.size : 0;
    const std::uint64_t position = begin + static_cast<std::uint64_t>(*offset);
    if (position > stream.size || !stream.content->seek(position)) return -1;
    stream.position = position;
    *offset = static_cast<off64_t>(position);
    return 0;
  }
};

void add_nodes(const pst_desc_tree* first, std::vector<Blocks::Node>& nodes) {
  std::vector<const pst_desc_tree*> open{first};
  while (!open.empty()) {
    const pst_desc_tree* const node = open.back();
    open.pop_back();
    if (node == nullptr) continue;
    // The library packs its structures: nothing in them may be referred to.
    for (const pst_desc_tree* const other : {+node->next, +node->child}) open.push_back(other);
    nodes.push_back({.id = static_cast<std::uint32_t>(node->d_id),
                     .parent = static_cast<std::uint32_t>(node->parent_d_id),
                     .data = node->desc == nullptr ? 0 : node->desc->i_id,
                     .subnodes = node->assoc_tree == nullptr ? 0 : node->assoc_tree->i_id});
  }
}

// The sum that stands beside what it is of.
std::uint32_t sum_of(std::string_view bytes) {
  constexpr std::uint32_t all = 0xFFFFFFFF;  // the library turns a sum over at both ends
  return static_cast<std::uint32_t>(
             crc32_z(all, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size())) ^
         all;
}

std::string bytes_at(Stream& stream, std::uint64_t place, std::size_t size) {
  std::string bytes(size, '\0');
  auto offset = static_cast<off64_t>(place);
  std::size_t count = 0;
  if (Stream::seek(&stream, &offset, SEEK_SET) != 0) return "";
  while (count < size) {
    const ssize_t more = Stream::read(&stream, bytes.data() + count, size - count);
    if (more <= 0) return "";
    count += static_cast<std::size_t>(more);
  }
  return bytes;
}

// How a page of an index is laid out: entries, their number, most number, size and level, then a trailer.
struct PageLayout {
  std::size_t size;  // of a page
  std::size_t id_size;
  std::size_t room;        // for entries
  std::size_t count_size;  // bytes of their number
  std::size_t trailer;     // where it begins: with the page's kind, twice
  std::size_t sum;         // where the sum of all before the trailer is
};
constexpr PageLayout page_of_ansi{
    .size = 512, .id_size = 4, .room = 496, .count_size = 1, .trailer = 500, .sum = 508};
constexpr PageLayout page_of_unicode{
    .size = 512, .id_size = 8, .room = 488, .count_size = 1, .trailer = 496, .sum = 500};
constexpr PageLayout page_of_4k{
    .size = 4096, .id_size = 8, .room = 4056, .count_size = 2, .trailer = 4072, .sum = 4076};

const PageLayout& page_layout(Blocks::Form form) {
  if (form == Blocks::Form::ansi) return page_of_ansi;
  return form == Blocks::Form::pages_of_4k ? page_of_4k : page_of_unicode;
}

// The pages of the file's two indexes. The library gives an index up at its first damaged page, and does not
// say so.
class Index {
 public:
  Index(Stream& stream, const PageLayout& layout)
      : stream_(stream), layout_(layout), pages_left_(stream.size / layout.size) {}

  /// True when the page there has the sum of its bytes.
  bool has_sum(std::uint64_t place) { return has_sum(bytes_at(stream_, place, layout_.size)); }

  /// Whether pages with a wrong sum count as damaged, as they do from the beginning.
  void check_sums(bool is_wanted) { checks_sums_ = is_wanted; }

  /// Hands out the entries of all pages below one. False when a page is damaged; its entries are left out.
  using Take = std::function<void(std::string_view entry)>;
  bool each(std::uint64_t place, std::size_t entry_size, const Take& take) {
    return each(place, entry_size, take, any_level);
  }

  std::size_t id_size() const { return layout_.id_size; }

 private:
  bool each(std::uint64_t place, std::size_t entry_size, const Take& take, int level) {
    constexpr int deepest = 8;
    if (pages_left_ == 0) return false;
    --pages_left_;
    const std::string page = bytes_at(stream_, place, layout_.size);
    const std::size_t behind_counts = layout_.room + 2 * layout_.count_size;
    const int own_level = static_cast<int>(number_at(page, behind_counts + 1, 1));
    const std::size_t size = own_level > 0 ? 3 * id_size() : entry_size;
    const std::size_t count = number_at(page, layout_.room, layout_.count_size);
    if (page.empty() || (level != any_level && own_level != level) || own_level > deepest ||
        count * size > layout_.room)
      return false;
    if (!is_page(page)) return false;
    bool is_whole = true;
    for (std::size_t entry = 0; entry < count; ++entry) {
      const std::string_view bytes = std::string_view(page).substr(entry * size, size);
      if (own_level == 0) {
        take(bytes);
      } else {
        is_whole &= each(number_at(bytes, 2 * id_size(), id_size()), entry_size, take, own_level - 1);
      }
    }
    return is_whole;
  }

  bool is_page(std::string_view page) const {
    const std::uint64_t kind = number_at(page, layout_.trailer, 1);
    constexpr std::uint64_t of_blocks = 0x80;
    constexpr std::uint64_t of_nodes = 0x81;
    if ((kind != of_blocks && kind != of_nodes) || kind != number_at(page, layout_.trailer + 1, 1))
      return false;
    return !checks_sums_ || has_sum(page);
  }

  bool has_sum(std::string_view page) const {
    return !page.empty() && sum_of(page.substr(0, layout_.trailer)) == number_at(page, layout_.sum, 4);
  }

  static constexpr int any_level = -1;
  Stream& stream_;
  const PageLayout& layout_;
  bool checks_sums_ = true;
  std::uint64_t pages_left_;  // pages that lead in a circle end here
};

// What the library has left out behind a damaged page is added to what it has.
bool complete_blocks(Index& index, pst_file& file, bool is_compressed) {
  const std::size_t id_size = index.id_size();
  const std::size_t known = file.i_count;
  const auto is_before = [](const pst_index_ll& entry, std::uint64_t id) { return entry.i_id < id; };
  std::vector<pst_index_ll> missing;
  const bool is_whole = index.each(file.index1, 3 * id_size, [&](std::string_view entry) {
    const std::uint64_t id = number_at(entry, 0, id_size) & ~std::uint64_t{1};
    const pst_index_ll* const end = file.i_table + known;
    const pst_index_ll* const found =
        std::lower_bound(static_cast<const pst_index_ll*>(file.i_table), end, id, is_before);
    if (found != end && found->i_id == id) return;
    const std::uint64_t size = number_at(entry, 2 * id_size, 2);
    missing.push_back({.i_id = id,
                       .offset = number_at(entry, id_size, id_size),
                       .size = size,
                       .inflated_size = is_compressed ? number_at(entry, 2 * id_size + 2, 2) : size,
                       .u1 = 0});
  });
  if (missing.empty()) return is_whole;
  auto* const table =
      static_cast<pst_index_ll*>(std::realloc(file.i_table, (known + missing.size()) * sizeof(pst_index_ll)));
  if (table == nullptr) end_process(EXIT_FAILURE);
  std::ranges::copy(missing, table + known);
  std::sort(table, table + known + missing.size(),
            [](const pst_index_ll& one, const pst_index_ll& other) { return one.i_id < other.i_id; });
  file.i_table = table;
  file.i_count = file.i_capacity = known + missing.size();
  return is_whole;
}

bool take_nodes(Index& index, const pst_file& file, std::vector<Blocks::Node>& nodes) {
  const std::size_t id_size = index.id_size();
  return index.each(file.index2, 4 * id_size, [&](std::string_view entry) {
    nodes.push_back({.id = static_cast<std::uint32_t>(number_at(entry, 0, 4)),
                     .parent = static_cast<std::uint32_t>(number_at(entry, 3 * id_size, 4)),
                     .data = number_at(entry, id_size, id_size),
                     .subnodes = number_at(entry, 2 * id_size, id_size)});
  });
}

// The sum in the block's trailer, which ends where the next unit does.
bool is_whole_block(Stream& stream, const pst_index_ll& entry, Blocks::Form form) {
  const bool is_ansi = form == Blocks::Form::ansi;
  const bool has_4k = form == Blocks::Form::pages_of_4k;
  const std::size_t trailer = has_4k ? 24 : is_ansi ? 12 : 16;
  const std::size_t unit = has_4k ? 512 : 64;
  const std::size_t all = (entry.size + trailer + unit - 1) / unit * unit;
  const std::string bytes = bytes_at(stream, entry.offset, all);
  return !bytes.empty() && sum_of(std::string_view(bytes).substr(0, entry.size)) ==
                               number_at(bytes, all - trailer + (is_ansi ? 8 : 4), 4);
}

// The library notes each block that it reads, and looks through all of its notes at the next one.
void forget_reads(pst_file& file) {
  while (file.block_head != nullptr) {
    pst_block_recorder* const next = file.block_head->next;
    std::free(file.block_head);
    file.block_head = next;
  }
}

[[noreturn]] void serve(int socket, const std::string& head, Stream& stream, Blocks::Form form) {
  pst_file file;
  if (pst_open(&file, head.c_str(), nullptr) != 0) end_process(EXIT_FAILURE);
  std::fclose(file.fp);
  file.fp = fopencookie(&stream, "r",
                        {.read = Stream::read, .write = nullptr, .seek = Stream::seek, .close = nullptr});
  if (file.fp == nullptr) end_process(EXIT_FAILURE);
  // Places are far from each other: to read much ahead is to read in vain.
  std::array<char, page_of_unicode.size> buffer;
  std::setvbuf(file.fp, buffer.data(), _IOFBF, buffer.size());
  pst_load_index(&file);
  std::vector<Blocks::Node> nodes;
  // How sums are made is published for pages of 512 bytes; those of 4K are believed when one is right.
  const bool has_4k = form == Blocks::Form::pages_of_4k;
  Index index(stream, page_layout(form));
  const bool has_sums = !has_4k || index.has_sum(file.index1) || index.has_sum(file.index2);
  index.check_sums(has_sums);
  const bool is_whole = complete_blocks(index, file, has_4k) && take_nodes(index, file, nodes);
  add_nodes(file.d_head, nodes);
  stream.most = UINT64_MAX;
  const Nodes list{.count = nodes.size(), .is_whole = is_whole};
  if (!give(socket, &list, sizeof list) || !give(socket, nodes.data(), nodes.size() * sizeof nodes.front()))
    end_process(EXIT_FAILURE);
  nodes = {};
  std::uint64_t id = 0;
  while (recv(socket, &id, sizeof id, MSG_WAITALL) == sizeof id) {
    char* bytes = nullptr;
    const pst_index_ll* const entry = pst_getID(&file, id);
    const std::size_t size = entry == nullptr ? 0 : pst_ff_getIDblock_dec(&file, id, &bytes);
    Answer answer;
    if (bytes != nullptr && size > 0)
      answer = {.size = size, .is_whole = !has_sums || is_whole_block(stream, *entry, form)};
    if (!give(socket, &answer, sizeof answer)) break;
    if (answer.size != no_block && !give(socket, bytes, size)) break;
    std::free(bytes);
    forget_reads(file);
  }
  end_process(EXIT_SUCCESS);
}

void prepare_process(const BlocksOfFile::Limits& limits) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  // What the program has to finish at its end is not this process's affair.
  std::atexit([] { _exit(EXIT_FAILURE); });
  for (const int signal : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL}) std::signal(signal, SIG_DFL);
  for (const int signal : {SIGINT, SIGHUP}) std::signal(signal, SIG_IGN);
  std::signal(SIGTERM, SIG_DFL);
  limit(RLIMIT_CORE, 0);
  limit_memory(limits.memory);
  const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
  dup2(nothing, STDOUT_FILENO);
  dup2(nothing, STDERR_FILENO);
}

// ---- In the program

std::string first_bytes(const Place& file) {
  std::string head(head_size, '\0');
  std::size_t size = 0;
  try {
    const auto content = file.tree->open(file.path);
    while (size < head.size()) {
      const std::size_t count = content->read(head.data() + size, head.size() - size);
      if (count == 0) break;
      size += count;
    }
  } catch (const std::system_error&) {
    size = 0;
  }
  head.resize(size);
  return head;
}

// The head in a file that the library can open by name.
class Head {
 public:
  explicit Head(const std::string& bytes) : file_(memfd_create("head", MFD_CLOEXEC)) {
    if (file_ < 0 || ::write(file_, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
      throw std::system_error(errno, std::generic_category(), "a copy in memory");
  }
  Head(const Head&) = delete;
  Head& operator=(const Head&) = delete;
  ~Head() { close(file_); }
  std::string path() const { return "/proc/self/fd/" + std::to_string(file_); }

 private:
  int file_;
};

}  // namespace

BlocksOfFile::BlocksOfFile(Place file, std::uint64_t size, Limits limits)
    : file_(std::move(file)), size_(size), limits_(limits), left_(room_for_small_files) {
  read_head();
  left_ += size_ * (form_ == Form::pages_of_4k ? times_the_compressed : times_the_file);
  void* const memory =
      mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::system_error(errno, std::generic_category(), "shared memory");
  shared_ = new (memory) Shared;
}

BlocksOfFile::~BlocksOfFile() {
  rest();
  munmap(shared_, sizeof(Shared));
}

void BlocksOfFile::read_head() {
  constexpr std::size_t version = 10;
  constexpr std::size_t cipher_of_ansi = 0x1CD;
  constexpr std::size_t cipher_of_others = 0x201;
  constexpr unsigned char bound_to_windows = 0x10;
  const std::string head = first_bytes(file_);
  if (head.size() < head_size || !head.starts_with("!BDN")) return;
  switch (head[version]) {
    case 14:
    case 15:
      form_ = Form::ansi;
      break;
    case 21:
    case 23:
      form_ = Form::unicode;
      break;
    case 36:
    case 37:
      form_ = Form::pages_of_4k;
      break;
    default:
      return;
  }
  const char cipher = head[form_ == Form::ansi ? cipher_of_ansi : cipher_of_others];
  is_protected_ = static_cast<unsigned char>(cipher) == bound_to_windows;
}

void BlocksOfFile::rest() {
  if (socket_ >= 0) close(std::exchange(socket_, -1));
  if (process_ == 0) return;
  kill(process_, SIGKILL);
  while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) continue;
  process_ = 0;
}

// The file, to be read from anywhere on; null when it cannot be.
std::unique_ptr<Content> BlocksOfFile::content() {
  const std::string name = "store";
  try {
    if (copy_) return copy_->open(name);
    auto content = file_.tree->open(file_.path);
    if (content->seek(0)) return content;
    stage_ = std::make_unique<Stage>();
    if (!stage_->copy(file_, name)) return nullptr;
    copy_ = folder_tree(stage_->path(""));
    return copy_->open(name);
  } catch (const std::system_error&) {
    return nullptr;
  }
}

// True when there is a process that waits for questions.
bool BlocksOfFile::begin() {
  if (process_ != 0) return true;
  if (form_ == Form::none || is_protected_ || deaths_ >= limits_.deaths) return false;
  const std::unique_ptr<Content> content = this->content();
  if (!content) return false;
  const Head head(first_bytes(file_));
  std::array<int, 2> sockets{};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets.data()) != 0)
    throw std::system_error(errno, std::generic_category(), "a process that reads mail");
  // What waits in buffers would be written by both.
  std::fflush(nullptr);
  process_ = fork();
  if (process_ == 0) {
    close(sockets[0]);
    prepare_process(limits_);
    Stream stream{.content = content.get(),
                  .position = 0,
                  .size = size_,
                  .bytes_read = &shared_->bytes_read,
                  .most = shared_->bytes_read + 8 * size_ + room_for_small_files};
    serve(sockets[1], head.path(), stream, form_);
  }
  close(sockets[1]);
  socket_ = sockets[0];
  if (process_ < 0) {
    process_ = 0;
    rest();
    throw std::system_error(errno, std::generic_category(), "a process that reads mail");
  }
  load();
  return process_ != 0;
}

// Its first answer: all nodes.
void BlocksOfFile::load() {
  Nodes list;
  std::vector<Node> nodes;
  if (take(&list, sizeof list) && list.count <= size_) {
    nodes.resize(list.count);
    if (take(nodes.data(), nodes.size() * sizeof(Node))) {
      if (!list.is_whole) is_damaged_ = true;
      if (is_loaded_) return;
      std::ranges::stable_sort(nodes, {}, &Node::id);
      const auto doubles = std::ranges::unique(nodes, {}, &Node::id);
      nodes.erase(doubles.begin(), doubles.end());
      nodes_ = std::move(nodes);
      is_loaded_ = true;
      return;
    }
  }
  rest();
  is_damaged_ = true;
  deaths_ = limits_.deaths;  // it would die again
}

// False when the process has died, or does not get on.
bool BlocksOfFile::take(void* to, std::size_t size) {
  using Clock = std::chrono::steady_clock;
  char* begin = static_cast<char*>(to);
  std::uint64_t bytes_read = shared_->bytes_read;
  auto last = Clock::now();
  while (size > 0) {
    pollfd ready{.fd = socket_, .events = POLLIN, .revents = 0};
    const int count = poll(&ready, 1, 100);
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) {
      const ssize_t taken = recv(socket_, begin, size, 0);
      if (taken < 0 && errno == EINTR) continue;
      if (taken <= 0) return false;
      begin += taken;
      size -= static_cast<std::size_t>(taken);
      last = Clock::now();
    } else if (const std::uint64_t now = shared_->bytes_read; now != bytes_read) {
      bytes_read = now;
      last = Clock::now();
    } else if (Clock::now() - last > limits_.without_progress) {
      return false;
    }
  }
  return true;
}

std::span<const Blocks::Node> BlocksOfFile::nodes() {
  if (!is_loaded_) begin();
  return nodes_;
}

const Blocks::Node* Blocks::node(std::uint32_t id) {
  const auto all = nodes();
  const auto found = std::ranges::lower_bound(all, id, {}, &Node::id);
  return found != all.end() && found->id == id ? &*found : nullptr;
}

std::optional<std::string> BlocksOfFile::answer(std::uint64_t id) {
  Answer answer;
  if (!give(socket_, &id, sizeof id) || !take(&answer, sizeof answer)) return std::nullopt;
  if (answer.size == no_block) return "";
  constexpr std::uint64_t largest = std::uint64_t{1} << 24;
  if (answer.size > largest) return std::nullopt;
  is_damaged_ |= !answer.is_whole;
  std::string bytes(answer.size, '\0');
  return take(bytes.data(), bytes.size()) ? std::optional(std::move(bytes)) : std::nullopt;
}

std::optional<std::string> BlocksOfFile::block(std::uint64_t id) {
  std::optional<std::string> bytes;
  if (!bad_.contains(id) && begin()) {
    bytes = answer(id);
    if (!bytes) {
      rest();
      ++deaths_;
      bad_.insert(id);
    }
  }
  if (bytes && bytes->size() <= left_) {
    left_ -= bytes->size();
    if (!bytes->empty()) return bytes;
  }
  is_damaged_ = true;
  return std::nullopt;
}

}  // namespace pack
