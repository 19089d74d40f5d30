#pragma once

// The mid-tone's two steps to an exponent. Not installed; apart from Level.cpp so that tests reach them.

namespace platen {

// The value that a valid mid-tone, 0.1 to 9.99 but not 1.0, has on the scale whose unit is one rate step: itself
// below 1, a piecewise linear rise to about 1.88 above.
double EffectiveMidTone(double midTone);

// The input is raised to 1 / gamma. About 0.078 for 0.1, 0.988 for 1.0, 9.4 for the scale's end.
double GammaOfEffectiveMidTone(double effective);

}  // namespace platen
