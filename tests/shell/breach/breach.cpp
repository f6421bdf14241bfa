// Compiled as it is, and again with each of the breaches, which the compiler must refuse for its reason.
#include "shell/compose.h"

std::string text(const std::string& value) {
#if BREACH == 0
  return compose("su - %s -c\"%s\"", value, compose("rm -f %s", value)).text();
#elif BREACH == 1
  return compose("rm a; %s", value).text();
#elif BREACH == 2
  return compose("sh -c \"%s\"", value).text();
#elif BREACH == 3
  return compose("su - ann -c\"%s\"", value).text();
#elif BREACH == 4
  return compose("rm %s %s", value).text();
#elif BREACH == 5
  const char* const made = "rm %s";
  return compose(made, value).text();
#elif BREACH == 6
  return shell::Command().text();
#elif BREACH == 7
  return compose("rm %s", true).text();
#endif
}
