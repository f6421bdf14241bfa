// A GConf key: its state as a text, and given back.
//
//   nothing              the key is not set; its schema's default shows
//   string /tmp/a.png    the type and the value; a text as it stands
//   bool true
//   int 5
//   float 0.5
//   list string          the type of its elements, then each of them on a line of its own, in which a
//   one                  backslash and a line feed are written \\ and \n
//   two
//   pair                 its two values, each on a line like those of a list, with its type
//   int 5
//   string two
//
// A state is told of what the person has set or an administrator prescribes, never of a schema's default.
#ifndef BRINDLE_THINGS_SETTING_H
#define BRINDLE_THINGS_SETTING_H

#include <optional>
#include <string>

typedef struct _GConfClient GConfClient;

namespace things {

/// No value, with the reason in `error`, when no daemon answers or the key holds a schema, which is none of
/// ours. `from` may be null: then there is no daemon.
std::optional<std::string> setting_state(GConfClient* from, const std::string& key, std::string& error);

/// Sets the key, or unsets it, so that setting_state gives `state`. False, with the reason in `error`, when
/// the daemon refuses, or the text is none that setting_state writes. What is set is in the daemon's memory
/// at first.
[[nodiscard]] bool give_setting(GConfClient* client, const std::string& key, const std::string& state,
                                std::string& error);

/// Makes the daemon write to ~/.gconf what it has in its memory, which it does by itself after a minute. It
/// writes nothing more afterwards until something else is set. False, with the reason in `error`, when it
/// does not answer or cannot write.
[[nodiscard]] bool write_settings(GConfClient* client, std::string& error);

}  // namespace things

#endif
