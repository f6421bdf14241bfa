// Named widgets. Free of GTK's headers, because the worker looks up the progress marks by name.
#ifndef BRINDLE_SUPPORT_WIDGETS_H
#define BRINDLE_SUPPORT_WIDGETS_H

typedef struct _GtkWidget GtkWidget;

/// The progress page; null until main builds it. Written by main before the worker exists, never changed
/// afterwards: main keeps a reference of its own, so the worker may look into it even after it is closed.
extern GtkWidget* window3;

/// Makes `widget` findable as `name` from its window, and keeps it alive as long as the window. For
/// builders only, before the window is shown.
void name_widget(GtkWidget* window, GtkWidget* widget, const char* name);

/// The widget called `name` in the window that `widget` belongs to, or null. Null for a null `widget`.
/// Reads only what name_widget left there, so any thread may ask a window itself (not its children).
GtkWidget* lookup_widget(GtkWidget* widget, const char* name);

#endif
