// The frame that all pages share: 640 x 434 pixels, everything at a fixed place. What a language or a larger
// font needs more is found inside of it: buttons grow into the room that they have, texts wrap, and what
// still does not fit is drawn smaller. GUI thread only.
#ifndef BRINDLE_INTERFACE_PAGE_H
#define BRINDLE_INTERFACE_PAGE_H

#include <gtk/gtk.h>

#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

/// The upper left corner of a widget on a page.
struct Position {
  int x = 0;
  int y = 0;
};

struct Size {
  int width = 0;
  int height = 0;
};

/// From where to where a button may reach whose caption is too wide for it.
struct Room {
  int left = 0;
  int right = 0;
};

class Page {
 public:
  Page(const std::string& title, GCallback on_delete);

  GtkWidget* window() const { return window_; }

  /// Puts `widget` at `position` and registers it as `name`. A width or height of -1 is the widget's own.
  GtkWidget* put(const char* name, GtkWidget* widget, Position position, int width, int height);

  /// Puts a label whose text stays inside of `size`.
  GtkWidget* put_label(const char* name, GtkWidget* label, Position position, Size size);

  /// Puts the page's title as "heading", and `text` below it as "text".
  void put_heading(const std::string& title, const std::string& text, Position position, Size size);

  /// A button of the pages' size, 60 x 25, at `position`. One that needs more becomes wider to the right and
  /// then to the left, as far as there is room. It takes no press that belongs to the one that has brought
  /// its page: the second of a double click on what stood at its place before.
  GtkWidget* put_button(const char* name, const std::string& mnemonic, Position position, Room room,
                        GCallback on_clicked);

  /// Calls `arrange` whenever the sizes of the content may have changed, with the styles known. What it
  /// changes is taken into account at once; it must come to rest.
  void when_measured(std::function<void()> arrange);

  /// Move a widget that was put, and change its size.
  void move(GtkWidget* widget, Position position) const;
  void resize(GtkWidget* widget, Size size) const;

  /// The order in which the Tab key goes through the page.
  void set_tab_order(std::initializer_list<GtkWidget*> widgets);

  /// The Escape key presses `button`.
  void escape_presses(GtkWidget* button);

  /// Puts the window on the screen first, then its picture and its content: the first page need not wait for
  /// the one to be read and for the other's fonts to be found.
  void appear_before_content();

 private:
  GtkWidget* window_;
  GtkWidget* fixed_;
};

#endif
