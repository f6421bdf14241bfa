// The state of what is not there.
#ifndef BRINDLE_THINGS_NOTHING_H
#define BRINDLE_THINGS_NOTHING_H

namespace things {

inline constexpr const char* nothing = "nothing";

}  // namespace things

#endif
