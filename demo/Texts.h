#pragma once

// What the page says.
namespace platen_demo {

inline constexpr const char* kSummary =
    "A scanner reads a sheet one line at a time, and every line carries more than what was printed: the colour of "
    "the paper, the shade of the fold, the dust on the glass.";

inline constexpr const char* kLeft1 =
    "sheet of paper is never white. Laid on the glass, it turns out to be cream, or grey, or the pale yellow of "
    "old "
    "letters, and it is darker along the spine, where it cannot lie flat. The eye forgives all that. It knows what "
    "paper is, and subtracts the colour of the room without being asked.";

inline constexpr const char* kLeft2 =
    "The sensor forgives nothing. It counts the light that comes back from each small square, three times over, "
    "and "
    "writes the numbers down.";

inline constexpr const char* kCaption =
    "Late afternoon at the upper lake. Printed pictures seldom reach deep black; here it stops at a dark grey.";

inline constexpr const char* kLeft3 =
    "To bring such a picture back to life, the numbers are stretched: the darkest grey is moved to black, the "
    "paper "
    "to white, and what lies between is bent along a curve. Nothing is invented, the levels merely find their "
    "places.";

inline constexpr const char* kRight1 =
    "At three hundred dots to the inch, a page of this size is made of almost nine million squares. They come in "
    "one "
    "row after another, from the top to the foot, and no one needs to wait for the last row to work on the first.";

inline constexpr const char* kRight2 =
    "That is the old trade of the machine: take a line, change it, hand it on. A line or two of memory is enough, "
    "however long the sheet.";

inline constexpr const char* kRight3 =
    "A lamp is brighter in the middle than at its ends, and it warms up while it moves. Its light is a little "
    "green "
    "in the first minute and a little red in the tenth. The glass adds a reflection, the lid a faint shadow, and "
    "the "
    "text of the next page shines through thin paper like voices through a wall.";

inline constexpr const char* kRight4 =
    "So the first adjustment is always the same. Find the paper and call it white; find the ink and call it black. "
    "The grey scale at the foot of this page shows what that does: the steps at both ends may merge, and those in "
    "the "
    "middle move apart.";

inline constexpr const char* kRight5 =
    "Colours follow. A yellow cast is blue that is missing, and a curve of its own for each of the three colours "
    "puts "
    "it back. After that, saturation is a matter of taste (and of the reader's patience), while sharpness is a "
    "matter "
    "of arithmetic: nine neighbours, nine weights, one sum. Work done well cannot be seen. The reader sees a page, "
    "and believes that it was always so.";

}  // namespace platen_demo
