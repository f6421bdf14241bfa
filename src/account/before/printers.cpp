#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <map>
#include <string>
#include <vector>

#include "account/before/before.h"
#include "account/before/settings_file.h"
#include "process/archive/layout.h"

namespace account {
namespace {

bool has(std::string_view text, std::string_view part) { return text.find(part) != std::string_view::npos; }

// ---- Ports ---------------------------------------------------------------------------------------------

enum class Port { moved, shared, left_out };

Port port_of(std::string_view port) {
  if (has(port, "http:")) return Port::moved;
  if (has(port, ":")) {
    const bool drive = has(port, "C:") || has(port, "D:") || has(port, "E:") || has(port, "F:");
    return drive ? Port::left_out : Port::moved;
  }
  if (has(port, "//")) return Port::shared;
  return has(port, "USB001") || has(port, "LPT1") || has(port, "LPT2") ? Port::moved : Port::left_out;
}

// ---- Drivers -------------------------------------------------------------------------------------------

// What a program prints, read to its end; empty when it cannot be started. No shell stands between.
std::string output_of(std::vector<std::string> words) {
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  int ends[2];
  if (pipe(ends) != 0) return "";
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", 0, 0);
  posix_spawn_file_actions_addclose(&actions, ends[0]);
  posix_spawn_file_actions_addclose(&actions, ends[1]);
  pid_t child = 0;
  const bool started = posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ) == 0;
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  std::string text;
  std::array<char, 65536> buffer;
  for (ssize_t got; started && (got = read(ends[0], buffer.data(), buffer.size())) > 0;)
    text.append(buffer.data(), static_cast<std::size_t>(got));
  close(ends[0]);
  if (started) waitpid(child, nullptr, 0);
  return text;
}

std::string small_letters(std::string text) {
  std::ranges::transform(text, text.begin(), [](unsigned char c) { return std::tolower(c); });
  return text;
}

// Of the models that CUPS recommends, in small letters, one a line.
const std::string& recommended_models() {
  static const std::string models = [] {
    std::string result;
    const std::string all = output_of({"lpinfo", "-m"});
    for (std::size_t at = 0; at < all.size();) {
      const std::size_t end = std::min(all.find('\n', at), all.size());
      const std::string line = all.substr(at, end - at);
      if (has(line, "recommended")) result += small_letters(line) + "\n";
      at = end + 1;
    }
    return result;
  }();
  return models;
}

bool is_known(const std::string& model, System system) {
  // Without a print server nothing can be told about its models.
  if (has_evolution(system))
    return recommended_models().empty() || has(recommended_models(), small_letters(model));
  return !output_of({"foomatic-ppdfile-bd", "-P" + model}).empty();
}

// The driver's name is looked for whole, then without its last words, three words at least.
bool driver_is_found(const std::string& driver, System system) {
  std::vector<std::size_t> ends;
  for (std::size_t at = 0; at != std::string::npos; at = driver.find(' ', at + 1))
    if (at > 0) ends.push_back(at);
  ends.push_back(driver.size());
  for (; ends.size() >= 3; ends.pop_back())
    if (is_known(driver.substr(0, ends.back()), system)) return true;
  return false;
}

}  // namespace

void foresee_printers(const Outlook& outlook, std::vector<Warning>& found) {
  const Person& person = outlook.people.front();
  const std::string folder = person.folder + "/" + layout::printers;
  if (!outlook.archive.has(folder)) return;
  if (!outlook.as_root)
    return found.push_back({person.login, Kind::printers, folder, Foresight::printers_need_root, ""});
  std::map<std::string, std::string> queues;
  for (const Entry& entry : outlook.archive.below(folder)) {
    if (entry.folder || entry.encrypted()) continue;
    const SettingsFile file(outlook.archive, entry);
    const std::string name(entry.name);
    const auto say = [&](Foresight what, const std::string& detail = "") {
      found.push_back({person.login, Kind::printers, name, what, detail});
    };
    const std::string port = file.value("Port Name").value_or("");
    const Port way = port_of(port);
    if (way == Port::left_out) {
      say(Foresight::port_left_out, port);
      continue;
    }
    if (way == Port::shared) say(Foresight::asks_credentials);
    const std::string driver = file.value("Driver Name").value_or("");
    if (!driver_is_found(driver, outlook.system)) say(Foresight::driver_window, driver);
    const auto [first, is_new] = queues.try_emplace(file.value("Driver Name Wo Spaces").value_or(""), name);
    if (!is_new) say(Foresight::shares_queue, first->second);
  }
}

}  // namespace account
