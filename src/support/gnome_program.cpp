#include "support/gnome_program.h"

#ifndef BRINDLE_HAVE_GNOMEUI

#include <gtk/gtk.h>

#include <cstdarg>
#include <string_view>

namespace {

GnomeProgram program;

}  // namespace

const GnomeModuleInfo* libgnomeui_module_info_get() {
  static const GnomeModuleInfo module{"gtk"};
  return &module;
}

GnomeProgram* gnome_program_init(const char* app_id, const char* app_version,
                                 const GnomeModuleInfo* /*module*/, int argc, char** argv,
                                 const char* first_property, ...) {
  program.app_id = app_id;
  program.app_version = app_version;
  std::va_list properties;
  va_start(properties, first_property);
  for (const char* name = first_property; name != nullptr; name = va_arg(properties, const char*)) {
    const char* value = va_arg(properties, const char*);
    if (std::string_view(name) == "app-datadir") program.app_datadir = value;
  }
  va_end(properties);
  g_set_prgname(app_id);
  gtk_init(&argc, &argv);
  return &program;
}

#endif
