// draw, with its given record: the worker posts draw_posted_mark, which calls it.
#ifndef BRINDLE_MAIN_IDLE_H
#define BRINDLE_MAIN_IDLE_H

#include "interface/marks.h"

/// Shows the record's result on its image, "gtk-apply" for 0 and else "gtk-cancel", and frees the record,
/// which malloc made. Returns 0 (run once).
int draw(Image_Result* data);

#endif
