// Diagnostics: messages with the system error text, on standard error or in the system log.
// Given name and signature: everything in this header.
#ifndef BRINDLE_ERROR_ERROR_H
#define BRINDLE_ERROR_ERROR_H

#include <cstdarg>

/// When non-zero, messages for the system log go to standard error instead. Starts at 0; nothing in
/// Brindle sets it, it is there for a debugger and the tests.
extern int debug;

/// Writes the printf-style message, ": ", the text of errno and a newline to standard error.
void err_ret(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

/// Sends the printf-style message, ": ", the text of errno and a newline to the system log at
/// priority LOG_ERR (under the C library's default identity: nothing calls log_open).
void log_ret(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

/// Worker of err_ret. `errnoflag` non-zero appends ": " and the text of errno as it was on entry.
/// Standard output is flushed first, so that both streams keep their order on a shared terminal.
void err_doit(int errnoflag, const char* fmt, va_list ap) __attribute__((format(printf, 2, 0)));

/// Worker of log_ret: as err_doit, but to the system log with `priority` unless `debug` is set.
void log_doit(int errnoflag, int priority, const char* fmt, va_list ap) __attribute__((format(printf, 3, 0)));

/// openlog(ident, option, facility), unless `debug` is set. `ident` must outlive every later message.
void log_open(const char* ident, int option, int facility);

#endif
