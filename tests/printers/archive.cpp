#include "printers/archive.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <utility>

#include "support/commands.h"
#include "support/files.h"

std::string description(const std::map<std::string, std::string>& changes) {
  // In the order of docs/printers.md.
  std::vector<std::pair<std::string, std::string>> lines = {{"Printer Name", "Office"},
                                                            {"Port Name", "LPT1"},
                                                            {"Driver Name", "HP LaserJet 4050"},
                                                            {"Driver Name Wo Spaces", "HPLaserJet4050"},
                                                            {"Orientation", "DMORIENT_PORTRAIT"},
                                                            {"Paper Size", ""},
                                                            {"Paper Width", "0"},
                                                            {"Paper Length", "0"},
                                                            {"Scale", "100"},
                                                            {"Print Quality", ""},
                                                            {"Color", ""},
                                                            {"Duplex", "DMDUP_SIMPLEX"},
                                                            {"Y-Resolution", ""}};
  std::string text;
  for (const auto& [key, value] : lines) {
    const auto change = changes.find(key);
    text += key + "=" + (change == changes.end() ? value : change->second) + "\r\n";
  }
  return text;
}

void add_printer(const std::string& file, const std::map<std::string, std::string>& changes) {
  write_file(std::string(archive) + "/Printers/" + file, description(changes));
}

void stand_in(const std::string& program, const std::string& body) {
  const std::string path = "/usr/local/bin/" + program;
  write_file(path, "#!/bin/sh\n" + body + "\n");
  chmod(path.c_str(), 0755);
}

std::vector<std::string> commands_of(const std::vector<std::string>& words) {
  std::vector<std::string> found;
  for (const std::string& command : commands_run()) {
    const std::size_t begin = std::min(command.find_first_not_of(' '), command.size());
    const std::string word = command.substr(begin, command.find(' ', begin) - begin);
    if (std::ranges::find(words, word) != words.end()) found.push_back(command);
  }
  return found;
}

std::string traces(const std::function<void()>& action) {
  testing::internal::CaptureStdout();
  action();
  return testing::internal::GetCapturedStdout();
}
