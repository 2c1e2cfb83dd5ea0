#ifndef QARN_GEOMETRY_TWODIMENSIONAL_DEFAULTLINEARMAPS_H
#define QARN_GEOMETRY_TWODIMENSIONAL_DEFAULTLINEARMAPS_H

#include <cstdint>

namespace QARN::Geometry::TwoDimensional {

/// Named initial values of a 2x2 map.
enum DefaultLinearMaps : std::uint32_t { Identity = 0 };

} // namespace QARN::Geometry::TwoDimensional

#endif
