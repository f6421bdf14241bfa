// The program's own log file: the milestones of a run, one a line.
#ifndef BRINDLE_ERROR_LOG_H
#define BRINDLE_ERROR_LOG_H

#include <cstdio>

/// Appends `str` and a newline to `fp`. Not flushed: the line reaches the file when the stream's buffer
/// does. Lines for a null stream, or after close_log, are dropped: closing a window ends the program
/// while the worker may still be writing.
void write_log(const char* str, std::FILE* fp);

/// Closes `fp` after the line being written, if any. Later write_log calls do nothing.
void close_log(std::FILE* fp);

#endif
