// Keys as they were before a run sets them, kept for its undo.
#ifndef BRINDLE_GCONF_KEPT_KEY_H
#define BRINDLE_GCONF_KEPT_KEY_H

#include "state/state.h"

/// Before `key` is set through `through`: its value, and the files below ~/.gconf into which the daemon will
/// write, some time later, with their folders. False, after the reason on standard error, when something of
/// it cannot be kept: then it must not be set. `through` is not null.
[[nodiscard]] bool keep_key(GConfClient* through, const char* key);

/// After it was set.
void note_key(GConfClient* through, const char* key);

#endif
