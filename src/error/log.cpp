#include "error/log.h"

void write_log(const char* str, std::FILE* fp) {
  if (fp != nullptr) std::fprintf(fp, "%s\n", str);
}

// Not fclose: a thread that still has the stream would write into freed memory, or into the next file that is
// opened at its address. The C library locks the stream for either call.
void close_log(std::FILE* fp) {
  if (fp != nullptr && std::freopen("/dev/null", "w", fp) == nullptr) std::perror("close_log");
}
