#include "error/error.h"

#include <syslog.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

int debug = 0;

namespace {

std::string format(const char* fmt, va_list ap) {
  va_list measured;
  va_copy(measured, ap);
  const int length = std::vsnprintf(nullptr, 0, fmt, measured);
  va_end(measured);
  if (length < 0) return fmt;
  std::string text(static_cast<std::size_t>(length) + 1, '\0');
  std::vsnprintf(text.data(), text.size(), fmt, ap);
  text.pop_back();
  return text;
}

// `saved_errno` is passed in because formatting may change errno.
std::string message(int errnoflag, int saved_errno, const char* fmt, va_list ap) {
  std::string text = format(fmt, ap);
  if (errnoflag != 0) text.append(": ").append(std::strerror(saved_errno));
  return text.append("\n");
}

void write_to_standard_error(const std::string& text) {
  std::fflush(stdout);
  std::fputs(text.c_str(), stderr);
  std::fflush(nullptr);
}

}  // namespace

void err_doit(int errnoflag, const char* fmt, va_list ap) {
  const int saved_errno = errno;
  write_to_standard_error(message(errnoflag, saved_errno, fmt, ap));
}

void log_doit(int errnoflag, int priority, const char* fmt, va_list ap) {
  const int saved_errno = errno;
  const std::string text = message(errnoflag, saved_errno, fmt, ap);
  if (debug != 0) {
    write_to_standard_error(text);
  } else {
    // "%s": a command in the message may hold percent signs.
    syslog(priority, "%s", text.c_str());
  }
}

void err_ret(const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  err_doit(1, fmt, ap);
  va_end(ap);
}

void log_ret(const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  log_doit(1, LOG_ERR, fmt, ap);
  va_end(ap);
}

void log_open(const char* ident, int option, int facility) {
  if (debug == 0) openlog(ident, option, facility);
}
