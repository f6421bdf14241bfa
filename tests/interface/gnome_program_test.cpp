// The GNOME program initialisation where libgnomeui is absent.
#include "support/gnome_program.h"

#include "gui.h"

#ifndef BRINDLE_HAVE_GNOMEUI

namespace {

using GnomeProgramTest = GuiTest;

TEST_F(GnomeProgramTest, KeepsNameVersionAndTheFolderOfData) {
  char name[] = "brindle";
  char* words[] = {name, nullptr};
  const GnomeProgram* program =
      gnome_program_init("brindle", "0.1", libgnomeui_module_info_get(), 1, words, "human-readable-name",
                         "app-datadir", "app-datadir", "/usr/local/share", "app-prefix", "/usr", nullptr);
  EXPECT_EQ(program->app_id, "brindle");
  EXPECT_EQ(program->app_version, "0.1");
  EXPECT_EQ(program->app_datadir, "/usr/local/share");
  EXPECT_STREQ(g_get_prgname(), "brindle");
}

}  // namespace

#endif
