// The program's own log file: the milestones of a run, one a line.
#ifndef BRINDLE_ERROR_LOG_H
#define BRINDLE_ERROR_LOG_H

#include <cstdio>

/// Appends `str` and a newline to `fp`. Not flushed: the line reaches the file when the stream's buffer
/// does. A null stream is no log, and the line is dropped. Given name and signature.
void write_log(const char* str, std::FILE* fp);

/// Closes the file behind `fp`, after the line being written, if any. The stream itself stays and leads
/// nowhere, so that a thread may go on writing to it: closing a window ends the program while the worker may
/// still be at work.
void close_log(std::FILE* fp);

#endif
