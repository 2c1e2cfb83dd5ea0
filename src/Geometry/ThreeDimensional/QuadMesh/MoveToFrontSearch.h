#ifndef QARN_SRC_GEOMETRY_THREEDIMENSIONAL_QUADMESH_MOVETOFRONTSEARCH_H
#define QARN_SRC_GEOMETRY_THREEDIMENSIONAL_QUADMESH_MOVETOFRONTSEARCH_H

#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIndicesIntersectionStatus.h>
#include <QARN/mtf_list.h>

#include <utility>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

/// Asks the members of a move-to-front list from the front (ask(member) gives a member's answer)
/// and keeps the best answer by the current quality mode. In mode 0, when the previous answer was
/// good, it stops at the first member whose answer beats the invalid record. The winner moves to
/// the front; isLastIntersectionGood becomes whether the returned answer is good.
template <typename T, typename Ask>
QuadIndicesIntersectionStatus getBestIntersection(mtf_list<T>& members,
                                                  bool& isLastIntersectionGood, Ask ask) {
  bool const isStopAtFirstHit =
      isLastIntersectionGood && QuadIndicesIntersectionStatus::getIntersectionQualityMode() ==
                                    QuadIndicesIntersectionStatus::FacingThenNearest;
  QuadIndicesIntersectionStatus best;
  auto winner = members.end();
  for (auto member = members.begin(); member != members.end(); ++member) {
    QuadIndicesIntersectionStatus status = ask(*member);
    if (best.getIsBetterIntersection(status)) {
      best = std::move(status);
      winner = member;
    }
    if (winner != members.end() && isStopAtFirstHit)
      break;
  }
  if (winner != members.end()) {
    members.move_to_front(winner);
    isLastIntersectionGood = best.getIsGoodIntersection();
  } else {
    isLastIntersectionGood = false;
  }
  return best;
}

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh

#endif
