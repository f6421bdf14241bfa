#include "process/run/walk.h"

#include <cstdio>

#include "process/archive/layout.h"
#include "process/run/sequence.h"
#include "shell/files.h"
#include "state/question.h"

namespace {

/// How far a walk has come.
struct Walk {
  const Target& target;
  const std::string& archive_root;
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
    printer_notice.ask();
    return -1;
  }
  if (is_folder(walk.archive_root.c_str(), step.name) == 0) return -1;
  return migrator_of(step, walk.target.system).run(walk.archive_root.c_str()) == 0 ? 0 : -1;
}

void take(const Step& step, Walk& walk) {
  const Migrator& migrator = migrator_of(step, walk.target.system);
  const char* archive_root = walk.archive_root.c_str();
  if (migrator.trace != nullptr) std::printf("%s", migrator.trace);
  switch (step.looks) {
    case Looks::for_documents:
      run_documents(walk, step);
      break;
    case Looks::for_item:
      run_item(walk, step, step.name, walk.target.root);
      break;
    case Looks::for_nothing:
      migrator.run(archive_root);
      break;
    case Looks::for_printers:
      walk.printer_result = printer_step(walk, step);
      post_mark(*step.mark, walk.printer_result);
      break;
    case Looks::for_several_users:
      post_mark(*step.mark, walk.target.one_of_several ? migrator.run(archive_root) : -1);
      break;
    case Looks::back_at_printers:
      post_mark(*step.mark, walk.printer_result);
      break;
  }
}

}  // namespace

void walk_steps(const Target& target, const std::string& archive_root) {
  Walk walk{target, archive_root};
  for (const Step& step : sequence()) {
    if (is_for(target, step) && exists_on(step, target.system)) take(step, walk);
  }
}
