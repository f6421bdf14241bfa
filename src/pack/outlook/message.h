// Items of a mail store as messages that any mail program reads (RFC 5322, MIME).
#ifndef BRINDLE_PACK_OUTLOOK_MESSAGE_H
#define BRINDLE_PACK_OUTLOOK_MESSAGE_H

#include <functional>
#include <string>

#include "pack/outlook/store.h"
#include "pack/parcel/parcel.h"

namespace pack {

/// Gets the head of a message, with a mailbox's line "From " in front and the empty line at the end; what it
/// returns gets the body.
using TakeHead = std::function<Writer(const std::string& head)>;

/// What became of one.
enum class Rebuilt : std::uint8_t { whole, simplified, cut, lost };

/// Hands out an item as a message. Its header is that with which it came, else it is made of what the item
/// has; attachments go by in blocks. Signed and encrypted mail stays so. `simplified` when it, or something
/// attached, is no mail and has things that mail does not have; `cut` when a part of it could not be read and
/// the rest is handed out, `lost` when nothing is.
Rebuilt write_message(Store& store, std::uint32_t item, const TakeHead& take);

/// What an item is about, to name it.
std::string subject_of_message(Store& store, std::uint32_t item);

/// At most so many bytes a message takes whose item is said to have `size`, in a file of that form; more only
/// when most of it is RTF that was compressed to a third.
std::uint64_t most_of_message(std::uint32_t size, Blocks::Form form);

}  // namespace pack

#endif
