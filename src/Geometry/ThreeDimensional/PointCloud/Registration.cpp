#include <QARN/Geometry/ThreeDimensional/PointCloud/Registration.h>

#include <Geometry/ThreeDimensional/Utility/DenseSolvers.h>
#include <Geometry/ThreeDimensional/Utility/PointSets.h>

#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/BinarySpacePartition/Tree.h>
#include <QARN/Geometry/ThreeDimensional/Quaternion.h>
#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>
#include <QARN/Geometry/ThreeDimensional/Utility/Utility.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace QARN::Geometry::ThreeDimensional::PointCloud {

namespace {

Vector position(Point const& p) {
  return Vector(p.getX(), p.getY(), p.getZ());
}

bool isFinite(AffineMap const& A) {
  for (std::uint32_t r = 0; r < 3; ++r) {
    if (!std::isfinite(A.getTranslation().get(r)))
      return false;
    for (std::uint32_t c = 0; c < 3; ++c)
      if (!std::isfinite(A.getLinearMap().get(r, c)))
        return false;
  }
  return true;
}

} // namespace

/// The reference as the alignment queries it: sample points in a tree and, for a mesh, the
/// triangles each sample stands for.
class Registration::Reference {
public:
  explicit Reference(Cloud const& cloud);
  explicit Reference(TriMesh::Mesh const& mesh);

  /// The nearest point of the reference to q, and its distance.
  Vector getClosest(Point const& q, double& distance) const;

private:
  using Corners = std::array<std::uint32_t, 3>;

  void sample();
  /// The nearest point of the triangles that sample s stands for, if nearer than best.
  void measure(std::uint32_t s, Point const& q, double& best, Vector& nearest) const;

  /// The reference cloud's points, or the mesh's vertices followed by lattice points.
  Cloud samples;
  BinarySpacePartition::Tree tree;
  std::vector<Corners> triangles;
  /// The triangles at each vertex: fanTriangles[fanStart[v] .. fanStart[v + 1]).
  std::vector<std::uint32_t> fanStart;
  std::vector<std::uint32_t> fanTriangles;
  /// The triangle of lattice point samples[vertexCount + i].
  std::vector<std::uint32_t> latticeTriangle;
  std::uint32_t vertexCount = 0;
  /// Every point of a triangle lies within this of one of the samples standing for it.
  double reach = 0.0;
};

Registration::Reference::Reference(Cloud const& cloud) : samples(cloud) {
  if (cloud.getNumberOfPoints() == 0)
    throw Exception("Empty point cloud");
  if (!cloud.getIsFinite())
    throw Exception("Point cloud holds a non-finite point");
  tree.construct(samples);
}

Registration::Reference::Reference(TriMesh::Mesh const& mesh) {
  std::vector<TriMesh::Triangle*> list;
  std::vector<TriMesh::Triangle*>::const_iterator begin;
  std::vector<TriMesh::Triangle*>::const_iterator end;
  mesh.getTriangles(list, begin, end);
  if (begin == end)
    throw Exception("Mesh has no triangles");
  vertexCount = mesh.getNumberOfVertices();
  samples.reserve(vertexCount);
  for (std::uint32_t v = 0; v < vertexCount; ++v)
    samples.addPoint(mesh.getVertex(v).getPoint3D());
  if (!samples.getIsFinite())
    throw Exception("Mesh holds a non-finite vertex");
  for (auto t = begin; t != end; ++t) {
    Corners c;
    (*t)->getVertexIndices(c[0], c[1], c[2]);
    triangles.push_back(c);
  }
  sample();
  tree.construct(samples);
}

// The sampling spacing starts at twice the median longest side, so that a typical triangle is
// stood for by its corners alone, and doubles while the lattice points would outnumber four per
// triangle. A triangle whose longest side is L gets the lattice of m = ⌈L/spacing⌉ steps along
// its sides; every point of it is then within L/(m·√3) of a lattice point (the circumradius
// bound of its sub-triangles, corners included).
void Registration::Reference::sample() {
  auto const longest = [&](Corners const& c) {
    double l = 0.0;
    for (std::uint32_t k = 0; k < 3; ++k)
      l = std::max(l, samples.getPoint(c[k]).getMinMaxDistance(samples.getPoint(c[(k + 1) % 3])));
    return l;
  };
  std::vector<double> lengths;
  lengths.reserve(triangles.size());
  for (Corners const& c : triangles)
    lengths.push_back(longest(c));
  std::vector<double> sorted(lengths);
  std::nth_element(sorted.begin(), sorted.begin() + sorted.size() / 2, sorted.end());
  double spacing = 2.0 * sorted[sorted.size() / 2];
  auto const steps = [&](double length) {
    return spacing > 0.0 ? std::max(1.0, std::ceil(length / spacing)) : 1.0;
  };
  auto const latticeSize = [&](double m) { return (m + 1.0) * (m + 2.0) / 2.0 - 3.0; };
  for (;;) {
    double total = 0.0;
    for (double const length : lengths)
      total += latticeSize(steps(length));
    if (total <= 4.0 * double(triangles.size()))
      break;
    spacing *= 2.0;
  }
  for (std::uint32_t t = 0; t < triangles.size(); ++t) {
    double const m = steps(lengths[t]);
    reach = std::max(reach, lengths[t] / (m * std::sqrt(3.0)));
    auto const steps = static_cast<std::uint32_t>(m);
    Corners const& c = triangles[t];
    Vector const a = position(samples.getPoint(c[0]));
    Vector const ab = position(samples.getPoint(c[1])) - a;
    Vector const ac = position(samples.getPoint(c[2])) - a;
    for (std::uint32_t i = 0; i <= steps; ++i)
      for (std::uint32_t j = 0; i + j <= steps; ++j) {
        if ((i == 0 && j == 0) || i == steps || j == steps)
          continue;
        Vector const p = a + (double(i) / m) * ab + (double(j) / m) * ac;
        samples.addPoint(Point(p.getdX(), p.getdY(), p.getdZ()));
        latticeTriangle.push_back(t);
      }
  }
  // The samples are rounded to float: a little more reach covers that.
  BoundingBoxAA const box = samples.getBoundingBox();
  reach =
      reach * (1.0 + 1e-5) + 1e-6 * (std::sqrt(box.getd().lSqr()) + std::fabs(box.getp().getX()) +
                                     std::fabs(box.getp().getY()) + std::fabs(box.getp().getZ()));
  fanStart.assign(vertexCount + 1, 0);
  for (Corners const& c : triangles)
    for (std::uint32_t const v : c)
      ++fanStart[v + 1];
  for (std::uint32_t v = 0; v < vertexCount; ++v)
    fanStart[v + 1] += fanStart[v];
  fanTriangles.resize(fanStart.back());
  std::vector<std::uint32_t> next(fanStart.begin(), fanStart.end() - 1);
  for (std::uint32_t t = 0; t < triangles.size(); ++t)
    for (std::uint32_t const v : triangles[t])
      fanTriangles[next[v]++] = t;
}

void Registration::Reference::measure(std::uint32_t s, Point const& q, double& best,
                                      Vector& nearest) const {
  auto const triangle = [&](std::uint32_t t) {
    Corners const& c = triangles[t];
    Vector const p = Utility::getClosestPointOnTriangle(
        samples.getPoint(c[0]), samples.getPoint(c[1]), samples.getPoint(c[2]), q);
    double const d = std::sqrt((p - position(q)).lSqr());
    if (d < best) {
      best = d;
      nearest = p;
    }
  };
  if (s >= vertexCount) {
    triangle(latticeTriangle[s - vertexCount]);
    return;
  }
  for (std::uint32_t f = fanStart[s]; f < fanStart[s + 1]; ++f)
    triangle(fanTriangles[f]);
}

// The samples come nearest first; a triangle nearer than the best found has a sample within
// reach of its nearest point, so no sample beyond best + reach can improve it. The first
// request asks for 8 samples, later ones four times as many.
Vector Registration::Reference::getClosest(Point const& q, double& distance) const {
  std::uint32_t const total = samples.getNumberOfPoints();
  if (triangles.empty()) {
    std::uint32_t index = 0;
    tree.getkNearestNeighbourIndices(1, q, &index, &distance);
    return position(samples.getPoint(index));
  }
  double best = std::numeric_limits<double>::infinity();
  Vector nearest;
  std::vector<std::uint32_t> indices;
  std::vector<double> distances;
  std::uint32_t examined = 0;
  for (std::uint32_t k = 8;; k *= 4) {
    std::uint32_t const count = std::min(k, total);
    std::uint32_t fixedIndices[8];
    double fixedDistances[8];
    if (count > 8) {
      indices.resize(count);
      distances.resize(count);
    }
    std::uint32_t* const index = count > 8 ? indices.data() : fixedIndices;
    double* const at = count > 8 ? distances.data() : fixedDistances;
    tree.getkNearestNeighbourIndices(count, q, index, at);
    // The first samples are those of the request before (at the same distances): not again.
    for (std::uint32_t j = examined; j < count; ++j) {
      if (at[j] >= best + reach) {
        distance = best;
        return nearest;
      }
      measure(index[j], q, best, nearest);
    }
    if (count == total) {
      distance = best;
      return nearest;
    }
    examined = count;
  }
}

Registration::Registration(Cloud const& reference)
    : reference(std::make_unique<Reference>(reference)) {}

Registration::Registration(TriMesh::Mesh const& reference)
    : reference(std::make_unique<Reference>(reference)) {}

Registration::Registration(Registration&&) noexcept = default;
Registration& Registration::operator=(Registration&&) noexcept = default;
Registration::~Registration() = default;

Vector Registration::getClosestPoint(Point const& p, double* distance) const {
  double d = 0.0;
  Vector const nearest = reference->getClosest(p, d);
  if (distance != nullptr)
    *distance = d;
  return nearest;
}

namespace {

/// A rigid map as a point of R⁷, about a centre c and at a scale L (those of the cloud being
/// aligned, so that both parts weigh alike): L times its unit quaternion (a ≥ 0 for the first,
/// then on the side of the previous one), and how far it moves c.
struct State {
  double x[7] = {};
};

struct Frame {
  Vector centre;
  double scale = 1.0;
};

State stateOf(AffineMap const& M, Frame const& frame, State const* previous) {
  LinearMap const& R = M.getLinearMap();
  double const trace = R.get(0, 0) + R.get(1, 1) + R.get(2, 2);
  double q[4];
  // Shepperd's choice: divide by the largest of the four candidates.
  if (trace >= R.get(0, 0) && trace >= R.get(1, 1) && trace >= R.get(2, 2)) {
    double const s = 2.0 * std::sqrt(std::max(1.0 + trace, 0.0));
    q[0] = 0.25 * s;
    q[1] = (R.get(2, 1) - R.get(1, 2)) / s;
    q[2] = (R.get(0, 2) - R.get(2, 0)) / s;
    q[3] = (R.get(1, 0) - R.get(0, 1)) / s;
  } else {
    std::uint32_t i = 0;
    for (std::uint32_t k = 1; k < 3; ++k)
      if (R.get(k, k) > R.get(i, i))
        i = k;
    std::uint32_t const j = (i + 1) % 3;
    std::uint32_t const k = (i + 2) % 3;
    double const s = 2.0 * std::sqrt(std::max(1.0 + R.get(i, i) - R.get(j, j) - R.get(k, k), 0.0));
    q[0] = (R.get(k, j) - R.get(j, k)) / s;
    q[1 + i] = 0.25 * s;
    q[1 + j] = (R.get(j, i) + R.get(i, j)) / s;
    q[1 + k] = (R.get(k, i) + R.get(i, k)) / s;
  }
  double side = q[0];
  if (previous != nullptr)
    side = q[0] * previous->x[0] + q[1] * previous->x[1] + q[2] * previous->x[2] +
           q[3] * previous->x[3];
  double const sign = side < 0.0 ? -frame.scale : frame.scale;
  State state;
  for (std::uint32_t k = 0; k < 4; ++k)
    state.x[k] = sign * q[k];
  Vector const shift = M(frame.centre) - frame.centre;
  for (std::uint32_t k = 0; k < 3; ++k)
    state.x[4 + k] = shift.get(k);
  return state;
}

AffineMap mapOf(State const& state, Frame const& frame) {
  LinearMap R;
  Quaternion(state.x[0], state.x[1], state.x[2], state.x[3]).getRotation(R);
  Vector const shift(state.x[4], state.x[5], state.x[6]);
  return AffineMap(R, frame.centre + shift - R * frame.centre);
}

/// Anderson acceleration of the fixed-point iteration x ↦ G(x) that a plain step is (as in the
/// AA-ICP of Pavlov, Ovchinnikov, Shabanov and Ivanov): from the last few states and their plain
/// steps, the next state is the combination of the plain steps whose residuals G(x) − x combine
/// to the least.
class Anderson {
public:
  static constexpr std::uint32_t depth = 5;

  /// The next state from the current state x and its plain step g.
  State next(State const& x, State const& g) {
    State f;
    for (std::uint32_t k = 0; k < 7; ++k)
      f.x[k] = g.x[k] - x.x[k];
    if (count > 0) {
      // Shift in the differences from the previous state.
      for (std::uint32_t j = std::min(count, depth - 1); j > 0; --j) {
        dF[j] = dF[j - 1];
        dG[j] = dG[j - 1];
      }
      for (std::uint32_t k = 0; k < 7; ++k) {
        dF[0].x[k] = f.x[k] - lastF.x[k];
        dG[0].x[k] = g.x[k] - lastG.x[k];
      }
    }
    std::uint32_t const m = std::min(count, depth);
    lastF = f;
    lastG = g;
    ++count;
    State result = g;
    if (m == 0)
      return result;
    // γ minimising |f − ΔF·γ|², by the normal equations, a little damped.
    double normal[depth * depth];
    double right[depth];
    for (std::uint32_t r = 0; r < m; ++r) {
      right[r] = dot(dF[r], f);
      for (std::uint32_t c = 0; c < m; ++c)
        normal[r * m + c] = dot(dF[r], dF[c]);
      normal[r * m + r] *= 1.0 + 1e-10;
    }
    double gamma[depth];
    if (!DenseSolvers::solveSymmetric(m, normal, right, gamma, 1e-14))
      return result;
    for (std::uint32_t j = 0; j < m; ++j)
      for (std::uint32_t k = 0; k < 7; ++k)
        result.x[k] -= gamma[j] * dG[j].x[k];
    return result;
  }

private:
  static double dot(State const& a, State const& b) {
    double sum = 0.0;
    for (std::uint32_t k = 0; k < 7; ++k)
      sum += a.x[k] * b.x[k];
    return sum;
  }

  State dF[depth];
  State dG[depth];
  State lastF;
  State lastG;
  std::uint32_t count = 0;
};

} // namespace

RegistrationResult Registration::align(Cloud const& measured,
                                       RegistrationSettings const& settings) const {
  if (!(settings.overlap > 0.0 && settings.overlap <= 1.0) || !(settings.maxDistance > 0.0) ||
      !(settings.tolerance >= 0.0) || !isFinite(settings.initialMap))
    throw Exception("Invalid registration settings");
  PointSets::check(measured, 3);
  if (settings.listener != nullptr)
    settings.listener->setStatusText("Registering point cloud...");
  std::uint32_t const n = measured.getNumberOfPoints();
  std::vector<Vector> moved(n);
  std::vector<Vector> nearest(n);
  std::vector<double> distances(n);
  std::vector<std::uint32_t> pairs;
  pairs.reserve(n);
  // Pairs the points under map, keeps the closest share, and records the kept pairs' RMS.
  auto const evaluate = [&](AffineMap const& map, RegistrationResult& result) {
    pairs.clear();
    for (std::uint32_t i = 0; i < n; ++i) {
      moved[i] = map(position(measured.getPoint(i)));
      Point const q(moved[i].getdX(), moved[i].getdY(), moved[i].getdZ());
      double unused = 0.0;
      nearest[i] = reference->getClosest(q, unused);
      distances[i] = std::sqrt((nearest[i] - moved[i]).lSqr());
      if (distances[i] <= settings.maxDistance)
        pairs.push_back(i);
    }
    // The closest share, ties in index order.
    auto const keep = std::min<std::size_t>(
        pairs.size(), std::max<std::size_t>(
                          3, static_cast<std::size_t>(std::ceil(settings.overlap * pairs.size()))));
    auto const closer = [&](std::uint32_t a, std::uint32_t b) {
      return distances[a] < distances[b] || (distances[a] == distances[b] && a < b);
    };
    std::nth_element(pairs.begin(), pairs.begin() + static_cast<std::ptrdiff_t>(keep), pairs.end(),
                     closer);
    pairs.resize(keep);
    double sum = 0.0;
    for (std::uint32_t const i : pairs)
      sum += distances[i] * distances[i];
    result.map = map;
    result.rms = keep > 0 ? std::sqrt(sum / double(keep)) : 0.0;
    result.pairs = static_cast<std::uint32_t>(keep);
  };

  // The maps found are rigid maps after the initial one; the plain steps are accelerated, and an
  // accelerated step that raises the RMS distance is replaced by the plain one.
  LinearMap identity;
  identity.setAsIdentity();
  AffineMap rigid(identity, Vector());
  AffineMap plain = rigid;
  bool accelerated = false;
  Anderson anderson;
  Frame frame;
  PointSets::Principal const principal = PointSets::getPrincipal(measured);
  frame.centre = settings.initialMap(principal.centroid);
  frame.scale = principal.scale;
  std::vector<Vector> from;
  std::vector<Vector> to;
  RegistrationResult result;
  RegistrationResult previous;
  for (std::uint32_t step = 0;; ++step) {
    evaluate(rigid * settings.initialMap, result);
    if (accelerated && result.rms > previous.rms) {
      rigid = plain;
      evaluate(rigid * settings.initialMap, result);
    }
    result.iterations = step;
    if (settings.listener != nullptr) {
      settings.listener->setIteration(step);
      settings.listener->setValue("RMS distance", result.rms);
    }
    if (result.pairs < 3) {
      result.stop = RegistrationResult::Stop::TooFewPairs;
      return result;
    }
    if (step > 0 && !(previous.rms - result.rms > settings.tolerance * previous.rms)) {
      // A step that made things worse is taken back.
      if (result.rms > previous.rms)
        result = previous;
      result.stop = RegistrationResult::Stop::Converged;
      return result;
    }
    if (step == settings.maxIterations) {
      result.stop = RegistrationResult::Stop::IterationLimit;
      return result;
    }
    from.clear();
    to.clear();
    for (std::uint32_t const i : pairs) {
      from.push_back(moved[i]);
      to.push_back(nearest[i]);
    }
    plain = PointSets::getRigidBodyMap(from.data(), to.data(), from.size()) * rigid;
    State const current = stateOf(rigid, frame, nullptr);
    State const next = anderson.next(current, stateOf(plain, frame, &current));
    rigid = mapOf(next, frame);
    accelerated = true;
    previous = result;
  }
}

} // namespace QARN::Geometry::ThreeDimensional::PointCloud
