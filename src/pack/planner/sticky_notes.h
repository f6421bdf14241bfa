// The sticky notes of Windows.
#ifndef BRINDLE_PACK_PLANNER_STICKY_NOTES_H
#define BRINDLE_PACK_PLANNER_STICKY_NOTES_H

#include <string>
#include <string_view>

#include "pack/calendar/notes.h"
#include "pack/people/people.h"

namespace pack {

/// Adds those of Windows 7 and 8 (StikyNot.snt) and of Windows 10 and 11 (plum.sqlite). Deleted ones that are
/// still there, pictures within them and what cannot be read are told.
void add_sticky_notes(Packing& packing, const Person& person, Notes& notes);

/// What a person reads of a note's text in plum.sqlite, in which each line begins with "\id=...", and letters
/// stand between "\b" and "\b0" and the like.
std::string shown_text(std::string_view text);

}  // namespace pack

#endif
