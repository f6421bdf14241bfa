#include "undo/scene.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>

#include "keep/keep.h"
#include "keep/list.h"
#include "keep/store.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/programs.h"

namespace scene {

namespace {

constexpr std::time_t begin = 1795311930;  // 2026-11-22 01:45:30 UTC

Ended ended(const std::string& command) {
  static const std::string said = "/tmp/brindle-undo-said";
  const int status = shell_quietly("(" + command + ") > " + said + " 2> " + said + "-wrong");
  return {status, read_file(said) + read_file(said + "-wrong")};
}

}  // namespace

Ended undo(const std::string& words) { return ended(built::brindle_undo + " " + words + " < /dev/null"); }

Ended undo_as(const std::string& login, const std::string& words) {
  return ended("cp " + built::brindle_undo +
               " /tmp/brindle-undo; chmod 755 /tmp/brindle-undo; cd /; setpriv --reuid " + login +
               " --regid " + login + " --clear-groups /tmp/brindle-undo " + words + " < /dev/null");
}

Ended undo_on_terminal(const std::string& words, const std::string& typed) {
  return ended("printf '" + typed + "' | script -qec '" + built::brindle_undo + " " + words + "' /dev/null");
}

std::string tree(const std::string& folder) {
  const std::string most = "find " + folder + " -name .brindle_before -prune -o ";
  // How many links a folder has is the file system's affair.
  return output_of(
             most +
             "-type d -printf '%p %y %m %U %G %T@\\n' -o -printf '%p %y %m %U %G %T@ %n %l\\n' | sort") +
         output_of(most + "-type f -print0 | sort -z | xargs -0r sha1sum") +
         output_of(most + "-not -type l -print0 | sort -z | xargs -0r getfacl -pcs 2>/dev/null");
}

Migration::Migration(int later) {
  setenv("TZ", "UTC", 1);
  keep::begin_run("/root", begin + later);
}

Migration::~Migration() { keep::end_run(); }

void write(const std::string& path, const std::string& text) {
  ASSERT_TRUE(keep::before_change(path));
  write_file(path, text);
}

void remove(const std::string& path) {
  ASSERT_TRUE(keep::before_removal(path));
  std::filesystem::remove_all(path);
}

void make_folder(const std::string& path) {
  ASSERT_TRUE(keep::before_change(path));
  std::filesystem::create_directories(path);
}

void fill_home() {
  setenv("TZ", "UTC", 1);
  write_file("/root/.kde/share/config/kmailrc", "[General]\nFirst=old\n");
  write_file("/root/.kde/share/config/korgrc", "untouched\n");
  write_file("/root/Documents/letter.txt", "old letter\n");
  write_file("/root/Documents/other.txt", "other letter\n");
  write_file("/root/Documents/deep/er/list.txt", "a list\n");
  write_file("/root/Mail/inbox/cur/1", "From: ann\n");
  write_file("/root/Mail/inbox/cur/2", "From: ben\n");
  write_file("/root/Mail/sent", "mbox\n");
  write_file("/root/program", "#!/bin/sh\n");
  write_file("/root/name with\nline\tend", "odd\n");
  write_file("/root/empty-one/nothing", "");
  shell_quietly(
      "cd /root; rm empty-one/nothing; chmod 600 .kde/share/config/kmailrc; chmod 4755 program;"
      "ln -s Documents/letter.txt shortcut; ln -s /nowhere dangling; mkfifo pipe; chown 12:34 Mail/sent;"
      "chmod 2750 Mail/inbox; setfacl -m u:games:r Documents/letter.txt; setfacl -m u:games:r "
      "Documents/other.txt;"
      "ln Documents/other.txt twin; chmod 500 Documents/deep;"
      "find . -name .brindle_before -prune -o -print0 | xargs -0 touch -h -d '2001-02-03 04:05:06.789'");
}

void migrate_home() {
  write("/root/.kde/share/config/kmailrc", "[General]\nFirst=new\n");
  write("/root/Documents/letter.txt", "new letter\n");
  write("/root/Documents/deep/er/list.txt", "another list\n");
  write("/root/Documents/new.txt", "new\n");
  write("/root/Documents/New/a/1.txt", "one\n");
  write("/root/Documents/New/a/2.txt", "two\n");
  write("/root/Documents/New/b.txt", "three\n");
  remove("/root/Mail");
  write("/root/Mail", "a file where a folder was\n");
  remove("/root/program");
  make_folder("/root/program");
  write("/root/program/in it", "a folder where a file was\n");
  remove("/root/dangling");
  remove("/root/pipe");
  remove("/root/name with\nline\tend");
  remove("/root/empty-one");
}

std::string newest_undo() {
  std::string name;
  for (const keep::Run& run : keep::runs_in("/root"))
    if (run.is_undo) name = run.date_time;
  return name;
}

void write_list(const std::string& rows, const std::string& run) {
  const std::string folder = std::string("/root/.brindle_before/") + run;
  write_file(folder + "/list.tsv", "kind\tname\tbefore\tbecame\n" + rows);
  shell_quietly("chmod 700 /root/.brindle_before " + folder + "; chmod 600 " + folder + "/list.tsv");
}

}  // namespace scene
