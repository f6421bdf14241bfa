#include "process/run/walk.h"

#include <cstdio>

#include "gconf/kept_key.h"
#include "keep/keep.h"
#include "process/archive/layout.h"
#include "process/run/sequence.h"
#include "shell/ending.h"
#include "shell/files.h"
#include "state/question.h"
#include "state/state.h"

namespace {

/// How far a walk has come.
struct Walk {
  const Target& target;
  const std::string& archive_root;
  Question& printer_refusal;
  int printer_result = -1;
};

bool is_for(const Target& target, const Step& step) {
  if (step.whom == For::everybody) return true;
  return (step.whom == For::running_user) == target.is_running_user;
}

const char* documents_folder(const std::string& root) {
  return is_folder(root.c_str(), layout::documents) == 1 ? layout::documents : layout::documents_otherwise;
}

// The result of a profile's item shows nowhere: a profile has no marks.
void run_item(const Walk& walk, const Step& step, const char* name, const std::string& argument) {
  const func_t migrator = migrator_of(step, walk.target.system).run;
  const std::string image = step.mark ? image_name(*step.mark) : "";
  if (walk.target.is_running_user) {
    item(nullptr, image.c_str(), name, migrator, argument.c_str());
  } else {
    itemprofiles(nullptr, image.c_str(), name, migrator, argument.c_str());
  }
}

void run_documents(const Walk& walk, const Step& step) {
  const std::string& root = walk.target.root;
  const char* name = documents_folder(root);
  run_item(walk, step, name, root + "/" + name);
}

// Without printers in the archive, and for anybody but the superuser, the step has failed.
int printer_step(const Walk& walk, const Step& step) {
  if (walk.target.home != "/root") {
    walk.printer_refusal.ask();
    return -1;
  }
  if (is_folder(walk.archive_root.c_str(), step.name) == 0) return -1;
  return migrator_of(step, walk.target.system).run(walk.archive_root.c_str()) == 0 ? 0 : -1;
}

// The steps that end in a mark of their own, without an item.
int marked_step(Walk& walk, const Step& step) {
  const char* archive_root = walk.archive_root.c_str();
  if (step.looks == Looks::for_several_users)
    return walk.target.one_of_several ? migrator_of(step, walk.target.system).run(archive_root) : -1;
  if (step.looks == Looks::for_printers) walk.printer_result = printer_step(walk, step);
  return walk.printer_result;
}

// The step that repeats a result does nothing that would take time.
void tell_beginning(const Walk& walk, const Step& step) {
  if (!step.mark || step.looks == Looks::back_at_printers) return;
  post_beginning(*step.mark, walk.target.is_running_user ? "" : walk.target.login);
}

void run_step(const Step& step, Walk& walk) {
  const Migrator& migrator = migrator_of(step, walk.target.system);
  if (migrator.trace != nullptr) std::printf("%s", migrator.trace);
  switch (step.looks) {
    case Looks::for_documents:
      return run_documents(walk, step);
    case Looks::for_item:
      return run_item(walk, step, step.name, walk.target.root);
    case Looks::for_nothing:
      return static_cast<void>(migrator.run(walk.archive_root.c_str()));  // its result is not shown
    case Looks::for_printers:
    case Looks::for_several_users:
    case Looks::back_at_printers:
      return post_mark(*step.mark, marked_step(walk, step));
  }
}

}  // namespace

void walk_steps(const Target& target, const std::string& archive_root) {
  Walk walk{target, archive_root, printer_notice};
  for (const Step& step : sequence()) {
    if (!is_for(target, step) || !exists_on(step, target.system)) continue;
    if (shell::starts_no_more_commands()) return;
    tell_beginning(walk, step);
    run_step(step, walk);
    finish_keys(client);
    keep::begin_to_settle();
  }
}
