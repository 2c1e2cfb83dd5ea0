#ifndef QARN_TOOLS_QARN_COLOURRAMP_H
#define QARN_TOOLS_QARN_COLOURRAMP_H

#include <cstdint>

namespace qarn {

/// A perceptually ordered ramp from dark violet (t = 0) through blue and green to yellow
/// (t = 1), readable in grey scale and by most colour-blind viewers. t is clamped to [0, 1];
/// a NaN gives the colour of 0.
void rampColour(double t, std::uint8_t (&rgb)[3]);

} // namespace qarn

#endif
