#include "account/kinds/personal.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <optional>

#include "account/archive/charset.h"
#include "account/kinds/entries.h"
#include "process/archive/layout.h"

namespace account {
namespace {

bool is_folder(const std::string& path) {
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(path.c_str()), closedir);
  return folder != nullptr;
}

// The first one that the folder lists is the one the wizard takes; "*" when there is none.
std::string first_profile(const std::string& folder) {
  const std::unique_ptr<DIR, int (*)(DIR*)> list(opendir(folder.c_str()), closedir);
  while (const dirent* entry = list == nullptr ? nullptr : readdir(list.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") return name;
  }
  return "*";
}

std::string in_mail(const char* name) { return std::string(layout::mail) + "/" + name; }

bool is_ascii(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool is_all_utf8(const Case& of, const std::string& name) {
  const Entry* const entry = of.archive.find(of.in_archive(name));
  if (entry == nullptr) return false;
  EntryStream stream = of.archive.open(*entry);
  LineReader lines([&stream](std::span<char> buffer) { return stream.read(buffer); }, 1 << 20);
  for (std::string line; lines.next(line);)
    if (!is_utf8(line)) return false;
  return true;
}

}  // namespace

std::string personal_file(const Case& of, const char* before_evolution_2) {
  if (has_evolution(of.system) && !is_folder(of.in_home(".evolution"))) return of.in_home(before_evolution_2);
  std::string path = of.target();
  if (const std::size_t star = path.find('*'); star != std::string::npos)
    path.replace(star, 1, first_profile(path.substr(0, star - 1)));
  return path;
}

std::optional<Cause> fault_of_place(const std::string& path) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) return Cause::place_missing;
  if (!S_ISREG(status.st_mode) || access(path.c_str(), R_OK) != 0) return Cause::place_unreadable;
  return std::nullopt;
}

std::string condition_not_met(const Case& of, Kind kind) {
  const auto lacks = [&of](const std::string& name) { return !of.archive.has(of.in_archive(name)); };
  if (lacks(layout::mail)) return layout::mail;
  if (has_evolution(of.system)) {
    if (lacks(layout::mail_accounts)) return layout::mail_accounts;
    if (lacks(in_mail(layout::contacts))) return in_mail(layout::contacts);
  }
  if (has_kmail(of.system) && kind == Kind::tasks && lacks(in_mail(layout::calendar)))
    return in_mail(layout::calendar);
  return "";
}

void read_personal(const Case& of, const std::string& name, Tally& tally,
                   const std::function<void(Source)>& read) {
  const Entry* const entry = of.archive.find(of.in_archive(name));
  if (entry == nullptr || entry->folder) return;
  std::optional<Cause> fault = fault_of(*entry);
  if (!fault && entry->encrypted()) fault = Cause::encrypted;
  if (!fault) {
    EntryStream stream = of.archive.open(*entry);
    read([&stream](std::span<char> buffer) { return stream.read(buffer); });
    if (stream.failed()) fault = Cause::damaged;
  }
  if (!fault) return;
  tally.find();
  tally.miss(name, *fault);
  tally.give_up();
}

Letters::Letters(const Case& of, const std::string& name)
    : Letters(of, has_kmail(of.system) && is_all_utf8(of, name)) {}

Letters::Letters(const Case& of, bool are_utf8)
    : charset_(of.charset),
      moved_as_chinese_(has_kmail(of.system)),
      are_utf8_(are_utf8),
      mistaken_(std::make_shared<bool>(false)) {}

std::string Letters::operator()(std::string_view text) const {
  if (!moved_as_chinese_ || is_ascii(text)) return readable(text, charset_.c_str());
  const auto chinese = are_utf8_ ? std::nullopt : to_utf8(text, taken_for);
  if (chinese) return *chinese;
  *mistaken_ = true;
  return readable(text, charset_.c_str());
}

std::vector<std::string> without_letters(const std::vector<std::string>& lines) {
  std::vector<std::string> result = lines;
  for (std::string& line : result)
    std::erase_if(line, [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
  std::ranges::sort(result);
  return result;
}

}  // namespace account
