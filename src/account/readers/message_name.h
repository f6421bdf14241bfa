// How a person knows a message.
#ifndef BRINDLE_ACCOUNT_READERS_MESSAGE_NAME_H
#define BRINDLE_ACCOUNT_READERS_MESSAGE_NAME_H

#include <string>
#include <string_view>

namespace account {

/// "Subject (FOLDER, 2004-05-13 18:02)" of the message with the headers `head`, in UTF-8, one line. Without a
/// subject it is called by its sender, without both by its first line; a date that is not there is left out.
/// `charset`: iconv's name of the one for headers that are neither encoded nor UTF-8.
std::string message_name(std::string_view head, std::string_view folder, const char* charset);

}  // namespace account

#endif
