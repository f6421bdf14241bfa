#include "account/readers/mbox.h"

#include <algorithm>
#include <array>
#include <filesystem>

namespace account {
namespace {

constexpr std::string_view separator = "From ";
constexpr std::size_t largest_head = 32 << 10;

// KMail's folders are made of pieces of this size, each judged as a line of its own.
constexpr std::size_t kmail_piece = 1023;

bool holds(std::string_view text, std::string_view part) { return text.find(part) != std::string_view::npos; }

bool is_blank(std::string_view text) { return text.find_first_not_of(" \t\r\n") == std::string_view::npos; }

// Which lines KMail's folder does not get: those with a base64 encoding, as long as no boundary begins a part
// that they could belong to.
class Dropping {
 public:
  bool drops(std::string_view piece) {
    if (piece.starts_with(separator)) {
      begin(piece.substr(separator.size()));
      return false;
    }
    if (holds(piece, "--")) dropping_ = false;
    if (holds(piece, "boundary=\"")) dropping_ = true;  // which may hold "--" itself
    return dropping_ && holds(piece, "Content-Transfer-Encoding: base64");
  }

 private:
  // The fifth character of the "From " line's text decides, if it has one.
  void begin(std::string_view text) {
    text = text.substr(0, text.find('\n'));
    dropping_ = text.size() < 5 || text[4] == '-';
  }

  bool dropping_ = true;
};

class Splitter {
 public:
  explicit Splitter(const std::function<void(const MboxMessage&)>& take) : take_(take) {}

  void add(std::string_view piece, bool begins_line) {
    if (begins_line && piece.starts_with(separator)) {
      finish();
      begins_with_from_ = true;
    } else {
      if (begins_line && is_blank(piece)) head_ended_ |= !head_.empty() || begins_with_from_;
      if (!head_ended_ && head_.size() < largest_head) head_ += piece;
    }
    blank_ = blank_ && is_blank(piece);
    const bool dropped = dropping_.drops(piece);
    if (dropped && !for_kmail_) for_kmail_ = digest_;
    if (!dropped && for_kmail_) for_kmail_->add(piece);
    digest_.add(piece);
  }

  void finish() {
    MboxMessage message = {begins_with_from_, digest_.finish(), {}, head_};
    if (for_kmail_) message.for_kmail = for_kmail_->finish();
    if (!blank_) take_(message);
    for_kmail_.reset();
    head_.clear();
    head_ended_ = false;
    blank_ = true;
  }

 private:
  const std::function<void(const MboxMessage&)>& take_;
  TextDigest digest_;
  std::optional<TextDigest> for_kmail_;
  Dropping dropping_;
  std::string head_;
  bool begins_with_from_ = false, head_ended_ = false, blank_ = true;
};

Digest digest_of_file(const std::string& path) {
  static std::array<char, 1 << 16> block;  // there is one thread
  const Source source = file_source(path);
  TextDigest digest;
  while (const std::size_t got = source(block)) digest.add({block.data(), got});
  return digest.finish();
}

}  // namespace

void read_mbox(Source source, const std::function<void(const MboxMessage&)>& take) {
  PieceReader pieces(std::move(source), kmail_piece);
  Splitter splitter(take);
  std::string_view piece;
  while (pieces.next(piece)) splitter.add(piece, pieces.begins_line());
  splitter.finish();
}

DigestPool messages_of_mbox(const std::string& path) {
  DigestPool pool;
  read_mbox(file_source(path), [&](const MboxMessage& message) { pool.add(message.digest); });
  pool.close();
  return pool;
}

DigestPool messages_of_maildir(const std::string& path) {
  DigestPool pool;
  for (const char* const folder : {"/cur", "/new"}) {
    std::error_code fault;
    std::filesystem::directory_iterator file(path + folder, fault);
    for (; !fault && file != std::filesystem::directory_iterator(); file.increment(fault))
      if (file->is_regular_file(fault) && !file->path().filename().native().starts_with('.'))
        pool.add(digest_of_file(file->path()));
  }
  pool.close();
  return pool;
}

}  // namespace account
