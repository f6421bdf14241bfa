// Mailboxes in the format mbox: messages one after the other, each behind a line "From ".
#ifndef BRINDLE_PACK_MAIL_MAILBOX_H
#define BRINDLE_PACK_MAIL_MAILBOX_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "pack/disk/tree.h"
#include "pack/parcel/parcel.h"

namespace pack {

/// Reads a mailbox message by message in a memory that does not grow with it. Lines end with LF in what it
/// gives, however they end in the file.
class MailboxReader {
 public:
  explicit MailboxReader(Content& content);

  /// The head of the next message: its line "From ", the header lines, and the empty line behind them when
  /// there is one. No value at the end. A mailbox that begins with header lines gets a line "From "; what
  /// else stands in front of the first message is passed over. Throws std::system_error when the disk does
  /// not give the bytes.
  std::optional<std::string> next();

  /// Writes what follows the head, up to the next message; a line "From " of the text gets a ">" in front.
  /// When nothing takes it, `next` passes over it.
  void body(const Writer& write);

  /// True when something stood in front of the first message.
  bool has_begun_with_something_else() const { return has_begun_wrongly_; }

 private:
  /// A line, or a piece of one that is longer than the memory for it.
  struct Piece {
    std::string_view text;  ///< valid until the next piece is taken
    bool begins_line = false;
    bool follows_empty_line = false;
  };

  std::optional<Piece> take();
  void begin();
  bool fill();

  Content& content_;
  std::vector<char> block_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  bool is_at_end_ = false;
  bool at_line_ = true;
  bool behind_empty_line_ = true;
  bool is_at_beginning_ = true;
  std::string mended_;
  std::optional<std::string> separator_;  // the line that the next message begins with
  bool has_begun_wrongly_ = false;
};

/// How a file begins: with a line "From " or with header lines, behind empty lines or none; it may hold
/// nothing else than those.
enum class Beginning { nothing, message, headers, other };
Beginning beginning_of_mailbox(std::string_view bytes);

/// The line "From " for messages that have none.
inline constexpr std::string_view line_without_date = "From - Thu Jan  1 00:00:00 1970\n";

/// The value of a header field, its folded lines joined, without blanks around it; empty when it is not
/// there. `name` in any case.
std::string header_field(std::string_view head, std::string_view name);

/// True when the person has deleted the message and Mozilla's program has not yet taken it out of its file.
bool is_deleted(std::string_view head);

}  // namespace pack

#endif
