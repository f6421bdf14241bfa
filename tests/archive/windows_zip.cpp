#include "archive/windows_zip.h"

#include <zlib.h>

#include "support/files.h"

namespace {

std::string number(unsigned long value, int bytes) {
  std::string text;
  for (int at = 0; at < bytes; ++at) text += static_cast<char>(value >> (8 * at) & 0xFF);
  return text;
}

unsigned long sum_of(const std::string& bytes) {
  return crc32(0, reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uInt>(bytes.size()));
}

std::string unicode_path(const PackedFile& file) {
  if (file.shown.empty()) return "";
  const std::string body = number(1, 1) + number(sum_of(file.name), 4) + file.shown;
  return number(0x7075, 2) + number(body.size(), 2) + body;
}

// From the version needed to the length of the extra fields: what both headers hold.
std::string common_part(const PackedFile& file) {
  const unsigned long day = 27 << 9 | 3 << 5 | 14;  // 2007-03-14
  return number(20, 2) + number(static_cast<unsigned long>(file.flags), 2) + number(0, 2) + number(0, 2) +
         number(day, 2) + number(sum_of(file.bytes), 4) + number(file.bytes.size(), 4) +
         number(file.bytes.size(), 4) + number(file.name.size(), 2) + number(unicode_path(file).size(), 2);
}

}  // namespace

void write_zip(const std::string& path, const std::vector<PackedFile>& files) {
  std::string body;
  std::string list;
  for (const PackedFile& file : files) {
    list += "PK\1\2" + number(20, 1) + number(static_cast<unsigned long>(file.host), 1) + common_part(file) +
            number(0, 2) + number(0, 2) + number(0, 2) + number(file.attributes, 4) + number(body.size(), 4) +
            file.name + unicode_path(file);
    body += "PK\3\4" + common_part(file) + file.name + unicode_path(file) + file.bytes;
  }
  const std::string count = number(files.size(), 2);
  write_file(path, body + list + "PK\5\6" + number(0, 4) + count + count + number(list.size(), 4) +
                       number(body.size(), 4) + number(0, 2));
}
