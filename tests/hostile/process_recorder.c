/* Writes down every program that is started: its file, its parent and its words as they are. The dynamic linker puts
 * this into each of them (/etc/ld.so.preload of a view), so nothing that a shell starts is missed. A record: its length
 * in four bytes, then NUL-ended texts: process, parent, file, words. */
#define _GNU_SOURCE
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#define RECORD "/run/brindle/out/processes"

static char* add(char* to, const char* text) { return stpcpy(to, text) + 1; }

__attribute__((constructor)) static void note(int count, char** words) {
  const int file = open(RECORD, O_WRONLY | O_APPEND | O_CLOEXEC);
  if (file < 0) return;
  char program[4096] = "", number[32];
  const ssize_t length = readlink("/proc/self/exe", program, sizeof program - 1);
  if (length > 0) program[length] = '\0';
  size_t room = sizeof(uint32_t) + 64 + sizeof program;
  for (int i = 0; i < count; ++i) room += strlen(words[i]) + 1;
  char* record = malloc(room);
  if (record != NULL) {
    char* end = record + sizeof(uint32_t);
    snprintf(number, sizeof number, "%d", (int)getpid());
    end = add(end, number);
    snprintf(number, sizeof number, "%d", (int)getppid());
    end = add(add(end, number), program);
    for (int i = 0; i < count; ++i) end = add(end, words[i]);
    const uint32_t size = (uint32_t)(end - record - sizeof(uint32_t));
    memcpy(record, &size, sizeof size);
    const ssize_t written = write(file, record, (size_t)(end - record));
    (void)written;
    free(record);
  }
  close(file);
}
