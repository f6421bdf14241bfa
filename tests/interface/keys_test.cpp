// The pages under real keys and a real mouse.
#include "gui.h"
#include "interface/windows.h"

namespace {

class KeysTest : public GuiTest {
 protected:
  void SetUp() override {
    GuiTest::SetUp();
    start_window_manager();
    build_pages();
    build_dialogs();
    gtk_widget_show(window1);
    ASSERT_TRUE(gets_keyboard(window1));
  }
};

bool visible(GtkWidget* window) { return gtk_widget_get_visible(window); }

TEST_F(KeysTest, NextByItsKeyAndBackByTheMouse) {
  EXPECT_EQ(focused(window1), "next1");
  press_key("Return");
  EXPECT_FALSE(visible(window1));
  EXPECT_TRUE(visible(window2));
  click(window2, "back2");
  EXPECT_TRUE(visible(window1));
  EXPECT_FALSE(visible(window2));
}

}  // namespace
