#include "pack/windows_disk.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <stdexcept>

namespace windows {

namespace {

void put(std::string& bytes, std::size_t at, std::uint32_t number, std::size_t size = 4) {
  for (std::size_t byte = 0; byte < size; ++byte) bytes[at + byte] = static_cast<char>(number >> (8 * byte));
}

std::uint32_t word(const std::string& bytes, std::size_t at) {
  std::uint32_t number = 0;
  for (std::size_t byte = 4; byte > 0; --byte)
    number = number << 8 | static_cast<unsigned char>(bytes[at + byte - 1]);
  return number;
}

void sum_up(std::string& bytes) {
  std::uint32_t sum = 0;
  for (std::size_t at = 0; at < 508; at += 4) sum ^= word(bytes, at);
  put(bytes, 508, sum);
}

// A head, and one page with the root key, its security and free room.
std::string empty_hive() {
  constexpr std::size_t page = 4096;
  constexpr std::uint32_t root = 0x20;
  constexpr std::uint32_t root_size = 96;
  constexpr std::uint32_t security = root + root_size;
  constexpr std::uint32_t security_size = 48;
  constexpr std::uint32_t nothing = 0xFFFFFFFF;
  constexpr std::string_view name = "$$$PROTO.HIV";
  std::string bytes(2 * page, '\0');
  bytes.replace(0, 4, "regf");
  put(bytes, 4, 1);
  put(bytes, 8, 1);
  put(bytes, 20, 1);
  put(bytes, 24, 3);
  put(bytes, 32, 1);
  put(bytes, 36, root);
  put(bytes, 40, page);
  put(bytes, 44, 1);
  bytes.replace(page, 4, "hbin");
  put(bytes, page + 8, page);
  const std::size_t key = page + root;
  put(bytes, key, -root_size);
  bytes.replace(key + 4, 2, "nk");
  put(bytes, key + 6, 0x2c, 2);
  put(bytes, key + 20, nothing);  // above it
  put(bytes, key + 32, nothing);  // list of keys below it
  put(bytes, key + 36, nothing);
  put(bytes, key + 44, nothing);  // list of values
  put(bytes, key + 48, security);
  put(bytes, key + 52, nothing);  // class
  put(bytes, key + 76, name.size(), 2);
  bytes.replace(key + 80, name.size(), name);
  const std::size_t sk = page + security;
  put(bytes, sk, -security_size);
  bytes.replace(sk + 4, 2, "sk");
  put(bytes, sk + 8, security);
  put(bytes, sk + 12, security);
  put(bytes, sk + 16, 1);
  put(bytes, sk + 20, 20);
  put(bytes, sk + 24, 0x80000001);
  put(bytes, page + security + security_size, page - security - security_size);
  sum_up(bytes);
  return bytes;
}

std::string hex(std::string_view bytes) {
  std::string text;
  char digits[4];
  for (const char byte : bytes) {
    std::snprintf(digits, sizeof digits, "%02x,", static_cast<unsigned char>(byte));
    text += digits;
  }
  if (!text.empty()) text.pop_back();
  return text;
}

// ASCII and the rest of the first plane.
std::string utf16(std::string_view text) {
  std::string wide;
  for (std::size_t at = 0; at < text.size();) {
    const auto byte = [&](std::size_t i) {
      return static_cast<unsigned>(static_cast<unsigned char>(text[at + i]));
    };
    unsigned code = byte(0);
    std::size_t size = 1;
    if (code >= 0xE0) {
      code = (code & 0xF) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F);
      size = 3;
    } else if (code >= 0xC0) {
      code = (code & 0x1F) << 6 | (byte(1) & 0x3F);
      size = 2;
    }
    wide += static_cast<char>(code);
    wide += static_cast<char>(code >> 8);
    at += size;
  }
  return wide + std::string(2, '\0');
}

std::string line_of(const Value& value) {
  std::string name;
  for (const char c : value.name) name += c == '\\' || c == '"' ? std::string("\\") + c : std::string(1, c);
  const std::string begin = "\"" + name + "\"=";
  char number[16];
  switch (value.type) {
    case Value::expand:
      return begin + "hex(2):" + hex(utf16(value.data));
    case Value::binary:
      return begin + "hex(3):" + hex(value.data);
    case Value::dword:
      std::snprintf(number, sizeof number, "%08lx", std::strtoul(value.data.c_str(), nullptr, 10));
      return begin + "dword:" + number;
    default:
      return begin + "hex(1):" + hex(utf16(value.data));
  }
}

// Keys with those above them, each after the one it lies in.
std::string register_file(const Keys& keys) {
  std::map<std::string, std::vector<Value>> all;
  for (const auto& [key, values] : keys) {
    for (std::size_t end = 0; end != std::string::npos;) {
      end = key.find('\\', end + 1);
      all[key.substr(0, end)];
    }
    all[key] = values;
  }
  std::string text = "Windows Registry Editor Version 5.00\n\n";
  for (const auto& [key, values] : all) {
    text += "[\\" + key + "]\n";
    for (const Value& value : values) text += line_of(value) + "\n";
    text += "\n";
  }
  return text;
}

std::string read(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

void write(const std::string& path, std::string_view content) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << content;
  file.close();
  if (!file) throw std::runtime_error(path + " cannot be written");
}

}  // namespace

std::string hive(const Keys& keys) {
  const std::string folder = std::filesystem::temp_directory_path() / "hive-in-the-making";
  std::filesystem::create_directories(folder);
  write(folder + "/hive", empty_hive());
  if (keys.empty()) return empty_hive();
  write(folder + "/keys.reg", register_file(keys));
  const std::string command = "hivexregedit --merge " + folder + "/hive " + folder + "/keys.reg";
  if (std::system(command.c_str()) != 0) throw std::runtime_error("hivexregedit failed");
  return read(folder + "/hive");
}

std::string dirty_hive(const Keys& keys) {
  std::string bytes = hive(keys);
  put(bytes, 4, word(bytes, 8) + 1);
  sum_up(bytes);
  return bytes;
}

Disk::Disk() {
  std::string name = std::filesystem::temp_directory_path() / "disk-XXXXXX";
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder for a disk");
  path_ = name;
}

std::string Disk::add(const std::string& path, std::string_view content) const {
  const std::string full = path_ + "/" + path;
  std::filesystem::create_directories(std::filesystem::path(full).parent_path());
  write(full, content);
  return full;
}

void Disk::add_folder(const std::string& path) const {
  std::filesystem::create_directories(path_ + "/" + path);
}

}  // namespace windows
