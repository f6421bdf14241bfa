#include "process/mail/kde/encoding.h"

#include "shell/run.h"

// Deliberate: part of the output. GB2312 whatever the KDE system and the archive.
void convert_to_utf8(const std::string& from, const std::string& to) {
  SYSTEM(compose("iconv -c -f GB2312 -t utf-8 %s -o %s", from, to));
}
