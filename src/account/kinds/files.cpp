#include "account/kinds/files.h"

#include <unistd.h>

#include <algorithm>
#include <string>

#include "account/kinds/entries.h"
#include "process/archive/layout.h"

namespace account {
namespace {

enum class Hidden { move, stay };

// How the files of one folder of the archive arrive.
struct Tree {
  std::string folder;            // in the archive
  std::string target;            // the folder they lie in afterwards
  Hidden at_top = Hidden::stay;  // names that begin with a dot directly in the folder
  bool deep = true;              // folders come along
};

void compare_entry(const Case& of, const Tree& tree, const Entry& entry, Tally& tally) {
  const std::string name(name_within(entry, tree.folder));
  if (tree.at_top == Hidden::stay && name.starts_with('.')) return tally.miss(name, Cause::hidden);
  if (!tree.deep && (entry.folder || name.find('/') != std::string::npos))
    return tally.miss(name, Cause::folder_left_out);
  compare_thing(of.archive, entry, tree.target + "/" + name, name, tally);
}

bool may_not_be_read(const Missing& thing) {
  return thing.cause == Cause::place_unreadable && euidaccess(std::string(thing.detail).c_str(), R_OK) != 0;
}

// What is there and may not be read cannot be kept either, so a run copies nothing of the whole folder.
void tell_what_stopped_it(Tally& tally) {
  const auto culprit = std::ranges::find_if(tally.missing(), may_not_be_read);
  if (culprit != tally.missing().end())
    tally.explain(Cause::not_there, Cause::place_unreadable, std::string(culprit->detail));
}

void compare_empty_folder(const Case& of, const Tree& tree, const Entry& entry, Tally& tally) {
  if (of.place == nullptr) return;
  Tally alone;
  compare_entry(of, tree, entry, alone);
  for (const Missing& folder : alone.missing())
    tally.miss_uncounted(folder.name, folder.cause, folder.detail);
}

void compare_tree(const Case& of, const Tree& tree, Tally& tally) {
  for_each_thing(of.archive, tree.folder, [&](const Entry& entry) {
    if (entry.folder) return compare_empty_folder(of, tree, entry, tally);
    tally.find();
    if (of.place == nullptr) {
      tally.have_no_place();
    } else {
      compare_entry(of, tree, entry, tally);
    }
  });
  tell_what_stopped_it(tally);
}

}  // namespace

void compare_documents(const Case& of, Tally& tally) {
  const bool first = of.archive.has(of.in_archive(layout::documents));
  compare_tree(of, {of.in_archive(first ? layout::documents : layout::documents_otherwise), of.target()},
               tally);
  if (!first) return;
  // Only one of the two folders is moved.
  for (const Entry& entry : of.archive.below(of.in_archive(layout::documents_otherwise))) {
    if (entry.folder) continue;
    tally.find();
    tally.miss(std::string(entry.name.substr(of.person.folder.size() + 1)), Cause::preceded,
               layout::documents);
  }
}

void compare_desktop(const Case& of, Tally& tally) {
  compare_tree(of, {of.in_archive(layout::desktop), of.target()}, tally);
}

void compare_shared_files(const Case& of, Tally& tally) {
  if (of.several) {
    compare_tree(of, {of.in_archive(layout::file_extensions), of.machine + "/Share"}, tally);
  } else {
    compare_tree(of, {of.in_archive(layout::file_extensions), of.target(), Hidden::move}, tally);
  }
}

// The users share the archive's fonts: each gets all of them, or on some systems the machine does.
void compare_fonts(const Case& of, Tally& tally) {
  const bool for_everybody = is_redflag(of.system) && of.several;
  const std::string target = for_everybody ? of.machine + "/usr/share/fonts/zh_CN/TrueType" : of.target();
  compare_tree(of,
               {.folder = std::string(layout::root) + "/" + layout::fonts, .target = target, .deep = false},
               tally);
}

}  // namespace account
