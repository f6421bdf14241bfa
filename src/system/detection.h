// Which desktop system this is. Free of GTK: the worker asks as well.
#ifndef BRINDLE_SYSTEM_DETECTION_H
#define BRINDLE_SYSTEM_DETECTION_H

/// Detects the system by the files in /etc and sets OSName and OSVersion. `args` is ignored. May be called
/// any number of times, from any thread once main has called it; every call detects again and prints its
/// trace lines. Returns 0, or 1 when /etc cannot be listed, which leaves both as they were.
int getOsVersion(const char* args);

#endif
