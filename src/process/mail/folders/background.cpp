#include "process/mail/folders/background.h"

#include "shell/run.h"

void* func(void* args) {
  SYSTEM(*static_cast<const shell::Command*>(args));
  return nullptr;
}
