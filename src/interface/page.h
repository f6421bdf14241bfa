// The frame that all pages share: 640 x 434 pixels, everything at a fixed place. GUI thread only.
#ifndef BRINDLE_INTERFACE_PAGE_H
#define BRINDLE_INTERFACE_PAGE_H

#include <gtk/gtk.h>

#include <string>

/// The upper left corner of a widget on a page.
struct Position {
  int x = 0;
  int y = 0;
};

class Page {
 public:
  Page(const std::string& title, GCallback on_delete);

  GtkWidget* window() const { return window_; }

  /// Puts `widget` at `position` and registers it as `name`. A width or height of -1 is the widget's own.
  GtkWidget* put(const char* name, GtkWidget* widget, Position position, int width, int height);

  /// A button of the pages' size, 60 x 25.
  GtkWidget* put_button(const char* name, const std::string& mnemonic, Position position,
                        GCallback on_clicked);

  /// Puts the window on the screen first and its content right after: the first page need not wait for its
  /// fonts to be found.
  void appear_before_content();

 private:
  GtkWidget* window_;
  GtkWidget* fixed_;
};

#endif
