// Keys as they were before a run sets them, kept for its undo.
//
// The daemon writes what was set to its files a minute later. A step's keys are finished with finish_keys,
// which makes it write at once, so that the list tells what became of the files.
#ifndef BRINDLE_GCONF_KEPT_KEY_H
#define BRINDLE_GCONF_KEPT_KEY_H

#include "state/state.h"

/// Before the daemon is started, which makes ~/.gconf. False, after the reason on standard error, when that
/// cannot be kept: then there is no client, and no key is set.
[[nodiscard]] bool keep_settings_folder();

/// Before `key` is set through `through`: its value, and the files below ~/.gconf into which the daemon will
/// write, some time later, with their folders. False, after the reason on standard error, when something of
/// it cannot be kept: then it must not be set. `through` is not null.
[[nodiscard]] bool keep_key(GConfClient* through, const char* key);

/// After it was set.
void note_key(GConfClient* through, const char* key);

/// Before keep::settle. Nothing when no key was set since the last time, as on systems without GConf.
void finish_keys(GConfClient* through);

#endif
