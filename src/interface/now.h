// The line on the progress page that says what the run does now. GUI thread only.
#ifndef BRINDLE_INTERFACE_NOW_H
#define BRINDLE_INTERFACE_NOW_H

#include "interface/page.h"
#include "interface/parts.h"
#include "state/posts.h"

/// Puts the line on the page, empty, as "label_now".
void put_now_line(Page& page, const WindowTexts& texts);

/// Says what has begun; for another person's things also whose they are. Screen readers say it as well. Does
/// nothing without a page.
void show_beginning(GtkWidget* page, const PostedBeginning& begun);

/// Says that the run is over.
void show_end_of_run(GtkWidget* page);

/// Leaves the line empty, for a run that was cancelled.
void clear_now_line(GtkWidget* page);

#endif
