#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_TRIMESH_MAP_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_TRIMESH_MAP_H

#include <type_traits>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

/// A key with a value attached: the element of the value-ordered queues of the mesh algorithms.
/// Where the value is a double, `>` compares values, so that a priority queue ordered by `>` pops
/// the smallest value first.
template <typename K, typename V>
class Map {
public:
  Map() : key(), value() {}
  Map(K const& key, V const& value) : key(key), value(value) {}
  Map(Map const&) = default;
  Map& operator=(Map const&) = default;
  ~Map() = default;

  K const& gets() const { return key; }
  V const& gett() const { return value; }

  /// True exactly when this value is strictly greater than the other's (false for NaN).
  template <typename U = V, typename = std::enable_if_t<std::is_same_v<U, double>>>
  bool operator>(Map const& other) const {
    return value > other.value;
  }

private:
  K key;
  V value;
};

} // namespace QARN::Geometry::ThreeDimensional::TriMesh

#endif
