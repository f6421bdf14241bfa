#include "account/kinds/files.h"

#include <sys/stat.h>

#include <functional>

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

bool is_folder(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// An empty folder is a thing of its own; others are seen by what lies in them.
bool is_empty_folder(const Entry& entry, std::span<const Entry> among) {
  const Entry* const next = &entry + 1;
  const bool is_last = next >= among.data() + among.size();
  return entry.folder &&
         (is_last || !(next->name.starts_with(entry.name) && next->name.size() > entry.name.size() &&
                       next->name[entry.name.size()] == '/'));
}

void compare_entry(const Case& of, const Tree& tree, const Entry& entry, Tally& tally) {
  const std::string name(name_within(entry, tree.folder));
  if (tree.at_top == Hidden::stay && name.starts_with('.')) return tally.miss(name, Cause::hidden);
  if (!tree.deep && (entry.folder || name.find('/') != std::string::npos))
    return tally.miss(name, Cause::folder_left_out);
  const std::string path = tree.target + "/" + name;
  if (!entry.folder) return compare_file(of.archive, entry, path, name, tally);
  if (is_folder(path)) return tally.arrive_unchanged();
  tally.miss(name, Cause::not_there);
}

void compare_tree(const Case& of, const Tree& tree, Tally& tally) {
  const auto entries = of.archive.below(tree.folder);
  for (const Entry& entry : entries) {
    if (entry.folder && !is_empty_folder(entry, entries)) continue;
    if (is_overridden(entry, entries)) continue;
    tally.find();
    if (of.place == nullptr) {
      tally.have_no_place();
    } else {
      compare_entry(of, tree, entry, tally);
    }
  }
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

}  // namespace account
