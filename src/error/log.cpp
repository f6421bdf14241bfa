#include "error/log.h"

#include <mutex>

namespace {

std::mutex writing;
bool closed = false;

}  // namespace

void write_log(const char* str, std::FILE* fp) {
  const std::scoped_lock lock(writing);
  if (fp == nullptr || closed) return;
  std::fprintf(fp, "%s\n", str);
}

void close_log(std::FILE* fp) {
  const std::scoped_lock lock(writing);
  if (fp == nullptr || closed) return;
  closed = true;
  std::fclose(fp);
}
