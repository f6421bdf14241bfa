// The parts that windows are put together from. GUI thread only.
#ifndef BRINDLE_INTERFACE_PARTS_H
#define BRINDLE_INTERFACE_PARTS_H

#include <gtk/gtk.h>

#include <string>

#include "interface/texts.h"
#include "shell/files.h"
#include "support/widgets.h"

/// `text` as a widget can take it: bytes that are no UTF-8 are replaced, null is empty.
std::string shown_text(const char* text);

/// A name from the archive as a widget can take it: in UTF-8, read as the person's Windows wrote it. Null is
/// empty.
std::string shown_name(const char* name);

/// `text` with `value` in the place of its first "%s"; as it is without one.
std::string with_value(std::string text, const std::string& value);

/// The interface texts, open while one window is built. A builder without them builds nothing.
class WindowTexts {
 public:
  WindowTexts() : file_(get_language_file()) {}
  bool missing() const { return !file_; }
  std::string operator[](const char* key) const { return shown_text(get_widget_string(file_.get(), key)); }

 private:
  File file_;
};

/// Gives `window` the product's icon, if it is installed, and returns it; null stays null. `nld` is 1 where
/// the icons lie in the Novell Linux Desktop's tree.
GtkWidget* with_icon(GtkWidget* window, int nld);

GtkWidget* new_button(const std::string& mnemonic, GCallback on_clicked);
GtkWidget* new_stock_button(const char* stock, GCallback on_clicked);

/// Tells a screen reader that `label` names `widget`, and to read `name` for it.
void set_accessible_label(GtkWidget* widget, GtkWidget* label, const std::string& name);

/// Has screen readers say `text`, which is about `widget`, once they have said what they are at.
void announce(GtkWidget* widget, const std::string& text);

/// Opens or locks an entry, and colours it accordingly once it can be seen.
void set_editable(GtkWidget* entry, bool editable);

/// Colours an entry as open or locked; for its "map" signal, since the colours are known only then.
void show_whether_editable(GtkWidget* entry);

/// Makes `button` the one that the Enter key presses in its window.
void make_default(GtkWidget* button);

/// The name of a mnemonic caption as people read it: without the "_" before the access letter, and without a
/// letter that is there for it alone:
///
///   "_Local drive" is "Local drive", "ローカル(_L)" is "ローカル"
std::string without_mnemonic(const std::string& caption);

#endif
