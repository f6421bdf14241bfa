// Ending early, wherever the program is.
#ifndef BRINDLE_PACK_DISK_STOP_H
#define BRINDLE_PACK_DISK_STOP_H

namespace pack {

/// The person has had enough. No std::exception: who passes over what cannot be read does not pass over this.
struct Interrupted {};

/// From now on the program ends at the next opportunity. A signal's handler may call it.
void ask_to_stop();

/// For who may not throw.
bool is_asked_to_stop();

/// Throws Interrupted when the program is to end. Whatever can take long calls it at least ten times a
/// second.
void stop_when_asked();

}  // namespace pack

#endif
