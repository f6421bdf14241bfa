// The shapes in which mail holds words, names and bytes (RFC 2045, 2047, 2231).
#ifndef BRINDLE_PACK_OUTLOOK_MIME_H
#define BRINDLE_PACK_OUTLOOK_MIME_H

#include <string>
#include <string_view>

#include "pack/parcel/parcel.h"

namespace pack {

/// A header field with its line end, folded: plain text that gets encoded where it has to be.
std::string text_field(std::string_view name, std::string_view text);

/// A field whose value is written as mail has it already; a line that is too long is folded at a blank.
std::string raw_field(std::string_view name, std::string_view value);

/// `"Ann Lee" <ann@home.example>`; either may be empty, not both.
std::string mailbox(std::string_view name, std::string_view address);

/// `;` and a parameter on a line of its own: `filename="a.txt"`, in pieces and encoded where it has to be.
std::string parameter(std::string_view name, std::string_view value);

/// True when a text can be sent as it is: ASCII, short lines, nothing that a mailbox would take for its own.
bool is_plain(std::string_view text);

/// Writes a text in quoted-printable. Lines end with LF, or with CR LF in the text.
void write_quoted_printable(std::string_view text, const Writer& write);

/// Writes bytes in base64, as they come.
class Base64 {
 public:
  explicit Base64(Writer write) : write_(std::move(write)) {}
  void take(std::string_view bytes);
  /// Writes what is left. Nothing comes after it.
  void finish();

 private:
  Writer write_;
  int state_ = 0;
  int save_ = 0;
  bool is_empty_ = true;
};

/// Writes lines that are a message's own already as a mailbox has them: they end with LF, and none begins the
/// next message. They come in any pieces.
class MailboxLines {
 public:
  explicit MailboxLines(Writer write) : write_(std::move(write)) {}
  void take(std::string_view bytes);
  /// Ends the last line. Nothing comes after it.
  void finish();

 private:
  void end_piece();

  Writer write_;
  std::string piece_;  // of a line
  bool begins_line_ = true;
  bool has_return_ = false;  // which is a line's end, or not
};

/// "Tue, 01 Mar 2005 08:41:12 +0000" and "Tue Mar  1 08:41:12 2005" of seconds since 1970.
std::string date_in_mail(std::int64_t time);
std::string date_in_mailbox(std::int64_t time);

}  // namespace pack

#endif
