// The rows of the progress page: an image "image_N", the progress mark, beside a label "label_N".
#ifndef BRINDLE_INTERFACE_MARKS_H
#define BRINDLE_INTERFACE_MARKS_H

#include <span>

#include "interface/page.h"
#include "interface/parts.h"
#include "system/capabilities.h"
#include "system/marks.h"

/// Puts the rows on the page, in the layout of the system. They lie closer together where they would not fit
/// on the card.
void put_marks(Page& page, const WindowTexts& texts, const Capabilities& system,
               std::span<const MarkRow> rows = mark_rows());

/// A progress mark and its result.
struct Image_Result {
  GtkWidget* image;  ///< the mark's image widget, or null
  int result;        ///< 0: the item succeeded; anything else: it failed or was absent
};

/// Shows a result on a progress mark: "gtk-apply" for 0, else "gtk-cancel". Does nothing for null.
void show_mark(GtkWidget* image, int result);

#endif
