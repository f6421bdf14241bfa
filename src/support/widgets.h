// Named widgets.
#ifndef BRINDLE_SUPPORT_WIDGETS_H
#define BRINDLE_SUPPORT_WIDGETS_H

typedef struct _GtkWidget GtkWidget;

/// Makes `widget` findable as `name` from its window, and keeps it alive as long as the window. For
/// builders only, before the window is shown.
void name_widget(GtkWidget* window, GtkWidget* widget, const char* name);

/// The widget called `name` in the window that `widget` belongs to, or null. Null for a null `widget`.
GtkWidget* lookup_widget(GtkWidget* widget, const char* name);

#endif
