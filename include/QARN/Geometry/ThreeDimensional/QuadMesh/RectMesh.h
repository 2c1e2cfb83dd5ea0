#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_RECTMESH_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_RECTMESH_H

#include <QARN/Geometry/ThreeDimensional/AffineMap.h>
#include <QARN/Geometry/ThreeDimensional/BoundingBoxAA.h>
#include <QARN/Geometry/ThreeDimensional/Point.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/BoundaryExtensionAlgorithm.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/CanonicalAxis.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/CanonicalPlane.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/Edge.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/EdgeRule.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadFileHeader.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIndicesEllipseIntersectionInfo.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIndicesIntersectionStatus.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIntersectionData.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadValidityGenerator.h>
#include <QARN/Geometry/ThreeDimensional/Vector.h>
#include <QARN/Geometry/TwoDimensional/BoundingBoxAA.h>
#include <QARN/Geometry/TwoDimensional/Point.h>
#include <QARN/Geometry/TwoDimensional/Vector.h>
#include <QARN/Progress/ProgressListener.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iosfwd>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace QARN::Geometry::ThreeDimensional::TriMesh {
class Mesh;
} // namespace QARN::Geometry::ThreeDimensional::TriMesh

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

/// A structured rectangular grid of surface points addressed by integer scan coordinates
/// (u, v): U × V quads over (U + 1) × (V + 1) points, each point with a flag byte. Quad (u, v)
/// has the corners (u, v), (u + 1, v), (u + 1, v + 1), (u, v + 1), counter-clockwise in (u, v).
/// Every reader of points goes through the virtual getPoint, so that derived meshes can report
/// transformed points. An empty mesh (no storage) has no points at all.
class RectMesh {
public:
  // ---- Grid and point flags ----

  /// Bits of a point's flag byte.
  enum PointFlagID : std::uint32_t {
    Valid = 0,    ///< the point holds a position; only valid points are used
    Interior = 1, ///< measured point inside the measured region
    Boundary = 2, ///< measured point on the border of the measured region
    Marked = 4    ///< border point of a mesh built from a flattened triangle mesh
  };

  /// An empty mesh named "Unnamed<n>.quads", n being the number of meshes constructed so far.
  RectMesh();
  /// Default construction (which counts as one more created mesh) followed by assignment from
  /// other, so the copy has other's file name; never shares storage.
  RectMesh(RectMesh const& other);
  /// Deep copy of the grid, the flags, the quad areas, the search state, the scan-axis flips
  /// and the file name. The target keeps its own offset, double-sided flag, mesh name, active
  /// positions, position and listener. Assigning a mesh to itself does nothing.
  RectMesh& operator=(RectMesh const& other);

  /// The point at column p.u, row p.v, valid or not; a point outside the grid reads as the
  /// origin. Declared ahead of the destructor, so that it takes the first slot of the virtual
  /// table.
  virtual Point getPoint(TwoDimensional::Point<int> const& p) const;
  virtual ~RectMesh();

  /// Frees the grid: no points, U = V = 0, quad areas 0, next search from scratch. Other
  /// settings are kept.
  void clear();
  /// (U, V), the number of quads along u and v.
  TwoDimensional::Vector<std::uint32_t> getExtents() const { return extents; }
  /// Stores x and sets p's Valid bit; ignored outside the grid.
  void setPoint(TwoDimensional::Point<int> const& p, Point const& x);

  /// Bit id of flags.
  bool getFlag(char flags, PointFlagID id) const;
  /// flags with bit id set to on.
  char setFlag(char flags, PointFlagID id, bool on) const;
  /// The flag byte, 0 outside the grid.
  char getPointFlags(TwoDimensional::Point<int> const& p) const;
  /// Stores the flag byte; ignored outside the grid.
  void setPointFlags(TwoDimensional::Point<int> const& p, char const& flags);
  bool getPointFlag(TwoDimensional::Point<int> const& p, PointFlagID id) const;
  void setPointFlag(TwoDimensional::Point<int> const& p, PointFlagID id, bool on);
  bool getPointValidity(TwoDimensional::Point<int> const& p) const;
  void setPointValidity(TwoDimensional::Point<int> const& p, bool valid);
  /// 0 ≤ p.u ≤ U and 0 ≤ p.v ≤ V in a mesh that has storage.
  bool getIsPointInBounds(TwoDimensional::Point<int> const& p) const;
  /// In bounds and valid.
  bool getIsPointValid(TwoDimensional::Point<int> const& p) const;
  /// All four corners of quad p are valid (false for p.u = U or p.v = V).
  bool getIsQuadValid(TwoDimensional::Point<int> const& p) const;
  /// Valid and carrying the Interior or Boundary bit: measured, not added by an extension.
  bool getIsInteriorNonExtendedPoint(TwoDimensional::Point<int> const& p) const;

protected:
  /// Replaces the grid by U × V quads of invalid points and resets the requested search-point
  /// counts to 1. Throws "Insufficient memory to initialise quad-mesh." and leaves the mesh
  /// empty when the storage cannot be had.
  void init(TwoDimensional::Vector<std::uint32_t> const& extents);

private:
  void uninit();
  /// Valid point and one of its in-grid neighbours (+u, −u, +v, −v) is invalid.
  bool getIsBoundaryPoint(TwoDimensional::Point<int> const& p) const;
  /// The analytic builders' memory estimate of a (U + 1) × (V + 1)-point grid in MiB, at 25
  /// bytes a point (the grid itself takes 13).
  static std::uint64_t getNumberOfMBs(std::uint32_t U, std::uint32_t V);
  bool getIsInBounds(std::int64_t u, std::int64_t v) const {
    return getHasStorage() && u >= 0 && v >= 0 && u <= extents.getdU() && v <= extents.getdV();
  }
  bool getIsValidAt(std::int64_t u, std::int64_t v) const {
    return getIsInBounds(u, v) && (flagBytes[getStorageIndex(u, v)] & 1) != 0;
  }
  bool getIsQuadValidAt(std::int64_t u, std::int64_t v) const {
    return getIsValidAt(u, v) && getIsValidAt(u + 1, v) && getIsValidAt(u, v + 1) &&
           getIsValidAt(u + 1, v + 1);
  }

  // ---- Grid storage: every access to the two blocks below goes through these ----

  /// False for an empty mesh, which has no points at all.
  bool getHasStorage() const { return flagBytes != nullptr; }
  /// Position of grid point (u, v) in the blocks, v·(U + 1) + u; (u, v) must be in bounds.
  std::size_t getStorageIndex(std::int64_t u, std::int64_t v) const {
    return static_cast<std::size_t>(v) * (std::size_t{extents.getdU()} + 1) +
           static_cast<std::size_t>(u);
  }
  /// The point stored at index i, its floats as they are.
  Point getStoredPoint(std::size_t i) const {
    float const* const xyz = &coordinates[3 * i];
    return Point(xyz[0], xyz[1], xyz[2]);
  }
  void setStoredPoint(std::size_t i, Point const& x) {
    float* const xyz = &coordinates[3 * i];
    xyz[0] = x.getX();
    xyz[1] = x.getY();
    xyz[2] = x.getZ();
  }
  signed char getStoredFlags(std::size_t i) const { return flagBytes[i]; }
  void setStoredFlags(std::size_t i, signed char flags) { flagBytes[i] = flags; }

  /// Releases a block of std::malloc or std::calloc.
  struct StorageDeleter {
    void operator()(void* block) const { std::free(block); }
  };
  using CoordinateBlock = std::unique_ptr<float[], StorageDeleter>;
  using FlagBlock = std::unique_ptr<signed char[], StorageDeleter>;
  /// Installs blocks for U × V quads as the grid, replacing the old one; the search restarts
  /// from requested counts of 1, as after init.
  void setStorage(TwoDimensional::Vector<std::uint32_t> const& extents,
                  CoordinateBlock coordinateBlock, FlagBlock flagBlock);

  /// The grid in row order, v outer and u inner: each point as its three floats x, y, z, in
  /// packed 12-byte records (a .quads file's float record), and its flag byte. Both null in an
  /// empty mesh.
  CoordinateBlock coordinates;
  FlagBlock flagBytes;
  TwoDimensional::Vector<std::uint32_t> extents;
  double meanQuadArea = 0.0;
  double minQuadArea = 0.0;
  double maxQuadArea = 0.0;

public:
  // ---- Quad geometry (p is the quad's lowest corner, P(q) the point getPoint(q)) ----

  /// out[0..3] := P(p), P(p + (1, 0)), P(p + (1, 1)), P(p + (0, 1)); filling stops at the
  /// first invalid corner.
  void getQuadPoints(TwoDimensional::Point<int> const& p, Point* out) const;
  /// The quad's triangle on one side of the diagonal p → p + (1, 1): first gives
  /// (P(p), P(p + (1, 0)), P(p + (1, 1))), otherwise (P(p), P(p + (1, 1)), P(p + (0, 1))).
  void getQuadTrianglePoints(TwoDimensional::Point<int> const& p, Point* out, bool first) const;
  /// Triangle k of the fan of eight around point p at step s: (P(p), P(p + a_k), P(p + a_k+1))
  /// with a_0..a_7 = (s, 0), (s, s), (0, s), (−s, s), (−s, 0), (−s, −s), (0, −s), (s, −s).
  /// k > 7 leaves out untouched.
  void getQuadTrianglePoints(TwoDimensional::Point<int> const& p, Point* out, std::uint32_t k,
                             int s) const;
  /// (t1 − t0) × (t2 − t0) of a quad triangle: twice its area in length.
  Vector getQuadNormalVector(TwoDimensional::Point<int> const& p, bool first) const;
  /// The same for fan triangle k at step 1 (k = 0 and 1 are the quad's own triangles).
  Vector getQuadNormalVector(TwoDimensional::Point<int> const& p, std::uint32_t k) const;
  Vector getQuadUnitNormalVector(TwoDimensional::Point<int> const& p, bool first) const;
  /// Area-weighted unit normal at a point from the valid quads at p, p + (1, 0), p + (0, 1),
  /// p + (1, 1), else at p, p − (1, 0), p − (0, 1), else (0, 0, 1).
  Vector getPointUnitNormalVector(TwoDimensional::Point<int> const& p) const;
  /// Centroid of the four corners of a valid quad, else the origin.
  Point getMeanQuadPoint(TwoDimensional::Point<int> const& p) const;
  /// (P(p + (1, 0)) − P(p), P(p + (0, 1)) − P(p)).
  std::pair<Vector, Vector> getQuadBasis(TwoDimensional::Point<int> const& p) const;
  /// The smallest box holding every valid point; a default box when there is none.
  BoundingBoxAA getBoundingBoxAA() const;
  /// Area of quad p: half the length of each of its two triangle normals, added (the measure
  /// of the quad-area statistics; p must be a valid quad for a meaningful value).
  double getQuadArea(TwoDimensional::Point<int> const& p) const;
  /// Stored statistics, not recomputed.
  double getMeanQuadArea() const { return meanQuadArea; }
  double getMinQuadArea() const { return minQuadArea; }
  double getMaxQuadArea() const { return maxQuadArea; }

private:
  /// Largest, mean and smallest area of the valid quads (each the sum of its two triangles
  /// about the diagonal p → p + (1, 1)); all 0 when no quad is valid.
  void getMaxMeanMinQuadSize(double* max, double* mean, double* min) const;

public:
  // ---- Derived meshes, transforms and quad-area histogram ----
  // A derived mesh is built into target, which is re-initialised first (it keeps its own
  // settings); this mesh is not changed. Target may be this mesh itself (a LinearScaleRectMesh
  // then stores the scaled points it reported, so its scale applies again when they are read).
  // Points are read through getPoint and each copied point takes its source's whole flag byte
  // along. The target receives fresh quad-area statistics and search points (from this mesh's
  // search budget). Every derived mesh throws what init throws, leaving the target empty; a
  // mesh derived into itself then stays as it was.

  /// How getSubSampled reads its count.
  enum ResampleDataType : std::uint32_t {
    MaxNumberOfQuads = 0, ///< the largest number of quads the result may have
    SampleStep = 1        ///< the sampling step itself
  };

  /// Every f-th point along both axes: target point (i, j) is point (i·f, j·f), U' = U / f and
  /// V' = V / f (a last column or row that f does not reach is dropped). MaxNumberOfQuads: f
  /// doubles while U·V (modulo 2^32), quartered each time, exceeds count. SampleStep: f = count;
  /// 0 throws "Invalid sub-sampling step.". Any other type copies with f = 1. The target takes
  /// this mesh's file name.
  void getSubSampled(ResampleDataType type, std::uint32_t count, RectMesh& target) const;
  /// The quads whose lowest corner lies in the half-open index box, with their far corners:
  /// target point (i, j) is point box.p + (i, j) for 0 ≤ i ≤ d.u, 0 ≤ j ≤ d.v, so the target
  /// has d.u × d.v quads. Points outside this grid are invalid in the target. A negative extent
  /// throws "Invalid restriction box.".
  void getRestrictedToAABB(TwoDimensional::BoundingBoxAA<int> const& box, RectMesh& target) const;
  /// The valid points inside the closed spatial box, cropped to the smallest index window that
  /// holds them all: target point (i, j) is point w + (i, j), w being the window's low corner;
  /// points of the window outside the box are invalid. With no point inside, the target is a
  /// single invalid point (0 × 0 quads).
  void getRestrictedToAABB(BoundingBoxAA const& box, RectMesh& target) const;
  /// The grid laid flat: every valid point (u, v) goes to (u·s, v·s, 0) with s the square root
  /// of the stored mean quad area.
  void getFlattened(RectMesh& target) const;
  /// getNormalised(quadSize, (0, 0, 0), target).
  void getNormalised(double quadSize, RectMesh& target) const;
  /// A copy moved and uniformly scaled so that the centroid of its valid points lies at centre
  /// (a position vector) and its mean quad area becomes quadSize² (measured on this mesh's
  /// points, not taken from the stored statistics). Without a quad of positive mean area the
  /// copy is only moved. A quadSize that is not finite and positive throws "Invalid
  /// normalisation quad size.".
  void getNormalised(double quadSize, Vector const& centre, RectMesh& target) const;

  /// Moves every valid point p to centre + map(p − centre) (map's translation included),
  /// reading through getPoint and writing with setPoint: on a LinearScaleRectMesh the stored
  /// points receive scaled positions, so the scale applies again when they are read. Flags,
  /// invalid points and the stored statistics stay as they are.
  void transform(Point const& centre, AffineMap const& map);
  /// Reflects the mesh in the plane through centre perpendicular to the coordinate axis of
  /// plane, then flipWinding(axis) so that quad normals keep their side of the surface. Throws
  /// "Invalid mirror plane." or "Invalid scan flip axis" for other values before any point
  /// moves. Applying the same mirror twice restores the mesh (up to rounding).
  void mirror(CanonicalPlane plane, Point const& centre, CanonicalAxis axis);

  /// Index ranges, each given by its lowest and highest grid point.
  using GridRanges = std::vector<std::pair<TwoDimensional::Point<int>, TwoDimensional::Point<int>>>;
  /// Tests where a straight linear array probe of aperture quads can scan the mesh in stripes
  /// along v. Stripe k covers the columns u0 = k·step to u0 + aperture, for each u0 with
  /// u0 + aperture ≤ U. In every row v of a stripe the segment of points (u0..u0 + aperture, v)
  /// passes when all its points are valid and each lies within tolerance of the straight line
  /// through the segment's end points (of the end point itself when both coincide).
  /// segmentCount receives the number of segments tested, passedCount the number that passed,
  /// and stripes (cleared first) every run of at least two consecutive passing rows as its
  /// lowest and highest grid point ((u0, va), (u0 + aperture, vb)), stripe by stripe, then by
  /// v. A step of 0 throws "Invalid array stripe step.".
  void testArrayStripes(std::uint32_t aperture, double tolerance, std::uint32_t step,
                        std::uint32_t& segmentCount, std::uint32_t& passedCount,
                        GridRanges& stripes) const;

private:
  /// Reverses the corner order of every quad. U reverses each row ((u, v) ↔ (U − u, v)), V
  /// the order of the rows ((u, v) ↔ (u, V − v)); stored points move with their flag bytes.
  /// The statistics stay; the next search starts afresh from a rebuilt lattice of start
  /// candidates. Other values throw "Invalid scan flip axis".
  void flipWinding(CanonicalAxis axis);
  /// Histogram of the valid quads' areas (as in getMaxMeanMinQuadSize) in bins equal
  /// intervals from min to max: bin = trunc((area − min)·bins / (max − min)), clamped to
  /// [0, bins − 1]; everything goes to bin 0 when max ≤ min (or either is NaN), and NaN areas
  /// are skipped. counts[0..bins − 1] are overwritten; total receives the number of quads
  /// binned (none when bins is 0).
  void getQuadAreaDistribution(double min, double max, std::uint32_t bins, std::uint32_t* counts,
                               std::uint32_t* total) const;
  /// Statistics and search points of a freshly derived grid.
  void finishDerivedGrid(std::uint32_t cellsPerSearchPoint);
  /// Exchanges grids (points, flags, extents, statistics, search points) with other; both
  /// searches start afresh.
  void swapGrid(RectMesh& other);
  /// An empty mesh to build a replacement grid in; it takes no number from the default names.
  static RectMesh makeScratch();

public:
  // ---- Settings and class-wide statics ----

  /// Extra passes the start search may run to escape a poor local minimum.
  static std::uint32_t maxDoNMoreTimes;
  /// Samples per coarse-to-fine pass of the start search: k × k with k = round(√n), 1 ≤ k ≤ 1024.
  static std::uint32_t searchDivideByNTimes;

  /// Reverses the sense of quad normals when the hit angle is measured.
  void setDoFlipNormals(bool on) { doFlipNormals = on; }
  /// Stored only (assignment does not copy it); the intersection test accepts hits from either
  /// side anyway.
  void setDoUseDoubleSided(bool on) { doUseDoubleSided = on; }
  /// Mirrors the indices returned by searches along u and/or v.
  void setAxisFlipFlags(bool u, bool v);
  /// Position of this grid's (0, 0) in a larger scan grid, added to returned indices.
  void setOffset(TwoDimensional::Vector<int> const& o) { offset = o; }
  TwoDimensional::Vector<int> const& getOffset() const { return offset; }
  /// Bit i set: the mesh takes part in position i (mod 32).
  void setActivePositionFlags(std::uint32_t flags) { activePositionFlags = flags; }
  void setPosition(std::uint32_t p) { position = p; }
  void setProgressListener(ProgressListener* listener) { progressListener = listener; }
  /// Writes the class-wide maxDoNMoreTimes: affects every mesh.
  void setMaxDoNMoreTimes(std::uint32_t n) { maxDoNMoreTimes = n; }
  std::string const& getFileName() const { return fileName; }

private:
  void setFileName(std::string const& name) { fileName = name; }

  static std::uint32_t creationCount;

  bool doFlipNormals = false;
  TwoDimensional::Vector<int> offset;
  bool doFlipAxisU = false;
  bool doFlipAxisV = false;
  bool doUseDoubleSided = false;
  std::string fileName;
  std::string meshName;
  std::uint32_t activePositionFlags = 0xFFFFFFFFu;
  std::uint32_t position = 0;
  ProgressListener* progressListener = nullptr;

public:
  // ---- Intersection search ----

  /// The edge rule of every beam query in the process (see EdgeRule): the quad test, the walk,
  /// mesh groups and cone footprints. Strict initially; any value other than Watertight acts as
  /// Strict. Process-wide and unguarded, like maxDoNMoreTimes: set it before querying, not while
  /// another thread queries.
  static EdgeRule edgeRule;
  static void setEdgeRule(EdgeRule rule) { edgeRule = rule; }
  static EdgeRule getEdgeRule() { return edgeRule; }

  /// The quad that the ray position + t·direction meets, walking from the last hit (or, after
  /// a reset or with doFullSearch, from a coarse-to-fine start), at most 32 quads. Returned
  /// indices are flipped and offset; an inactive position gives an invalid record without a
  /// mesh, indices (−1, −1) and measures (−1, −1, −1). Under the watertight edge rule, where a
  /// step leads next door, nowhere or off the valid quads, the walk first tries the eight
  /// neighbours of its quad (once per quad), so that a beam on a shared edge or corner is found
  /// in the neighbour that owns it, and a step off the valid quads keeps the part of it that
  /// stays on them before it backs off.
  ///
  /// Speed, with the same records and state in every case: on a plain RectMesh (dynamic type
  /// RectMesh itself) the search reads each quad's corners once, straight from storage, and a
  /// search from scratch first tests the beam's line against the box of the valid points, kept
  /// with the grid (rebuilt after init, clear, loads and transforms, grown by setPoint and
  /// setPointFlags): a line missing it by a clear margin ends as the full search would, with
  /// no hit and the search reset. Derived meshes, which may report other points than they
  /// store, are read through getPoint and always searched in full. The record's file name is a
  /// copy of the mesh's: names of up to 15 characters cost no allocation.
  QuadIndicesIntersectionStatus getIntersectionStatus(Point const& position,
                                                      Vector const& direction, bool doFullSearch);
  /// An incremental search, retried as a full search unless it gives a valid hit at an angle
  /// of at least π/2.
  QuadIndicesIntersectionStatus getIntersection(Point const& position, Vector const& direction);
  /// The ray (the whole line: hits behind the origin count) against quad indices, triangle by
  /// triangle, each triangle's inside decided by the edge rule. hitPoint receives the plane
  /// intersection of the last triangle tried; data receives the measures of a hit nearer than
  /// 10000. An invalid quad gives false and touches nothing.
  bool getDoesIntersectQuad(TwoDimensional::Point<int> const& indices, Point const& position,
                            Vector const& direction, Point& hitPoint,
                            QuadIntersectionData* data) const;
  /// The grid point of a valid quad corner nearest to point, by a scan of the whole grid
  /// ((0, 0) when no quad is valid); distance receives its distance.
  TwoDimensional::Point<int> getNearestPoint2D(Point const& point, double& distance) const;
  /// The next search starts from scratch.
  void resetQuadIndicesSearch() { isSearchReset = true; }
  /// Stores the requested counts and rebuilds the lattice of start candidates.
  void setNumberOfSearchPoints(std::uint32_t u, std::uint32_t v);
  /// The lattice of start candidates (valid quads), kept for the host.
  std::vector<TwoDimensional::Point<int>> const& getSearchPoints() const { return searchPoints; }

private:
  /// Coarse-to-fine search for the valid quad corner nearest to position.
  TwoDimensional::Point<int> getStartSearchPoint(Point const& position) const;
  /// One batch of the start search: improves best when a valid sample is nearer than
  /// bestDistanceSqr; reports whether it did and whether some sample was invalid.
  bool getIsAnyQuadPointCloser(TwoDimensional::Point<int> const* points, Point const& target,
                               TwoDimensional::Point<int>& best, double& bestDistanceSqr,
                               bool& anyInvalid, std::uint32_t doNMoreCount,
                               std::uint32_t count) const;
  /// The walk from start; true with the hit quad, point and measures on a hit. A start outside
  /// the grid or on its top or right rim gives no hit.
  bool getWalkedIntersection(TwoDimensional::Point<int> const& start, Point const& position,
                             Vector const& direction, TwoDimensional::Point<int>& quad,
                             Point& hitPoint, QuadIntersectionData& data) const;
  /// Whether the beam's line may pass through the grid: false only on a plain mesh (a derived
  /// mesh may report other points than it stores) when the line misses the box of the valid
  /// points by a margin of 2^−16·(1 + the largest absolute coordinate of the position and the
  /// box), which is far more than the rounding of either quad test moves a hit, so that no
  /// quad test could hold the beam. The box is rebuilt when stale.
  bool getMayBeamMeetGrid(Point const& position, Vector const& direction);
  /// Grows a current box of the search by a point that became valid.
  void expandSearchBox(Point const& x);
  /// Rebuilds the lattice of start candidates for about U·V / cellsPerSearchPoint samples
  /// (at least 8) and returns its dimensions.
  void calculateSearchPoints(std::uint32_t const& cellsPerSearchPoint, std::uint32_t& numberU,
                             std::uint32_t& numberV);
  /// Half up: ceil(x) if x − floor(x) ≥ 0.5, else floor(x); round(−2.5) = −2.
  double round(double x) const;

  bool isSearchReset = true;
  TwoDimensional::Point<int> lastSearchIndices;
  std::uint32_t numberOfSearchPointsU = 1;
  std::uint32_t numberOfSearchPointsV = 1;
  std::uint32_t searchPointBudget = 4096;
  std::vector<TwoDimensional::Point<int>> searchPoints;
  /// Low and high corners of the box of the valid points; meaningful while isSearchBoxValid,
  /// which grid rebuilds and transforms clear (setPoint and setPointFlags grow a valid box).
  Point searchBoxLow;
  Point searchBoxHigh;
  bool isSearchBoxValid = false;
  /// No point is valid: no beam can meet the grid.
  bool isSearchBoxEmpty = true;

public:
  // ---- .quads, OBJ and quad-area files ----

  /// Writes a .quads file (version 1, little-endian) when the name contains ".quads" anywhere,
  /// else the OBJ export when it contains ".obj"; both tests are case-sensitive and ".quads"
  /// is tried first. Any other name throws "Unsupported file extension". Points are written
  /// through getPoint, so a derived mesh writes what it reports. Afterwards the mesh's file
  /// name is fileName as given. Throws QARN::IOFailure "Quad-mesh file open failure." when the
  /// file cannot be created; a write that fails later leaves a partial file. An empty mesh is
  /// written as a single invalid point (U = V = 0), in both formats.
  void save(char const* fileName);
  /// Wavefront OBJ text: one "v" line per grid point (valid or not, so that the vertex of
  /// (u, v) is number u + (U + 1)·v + 1), then one "f" line per valid quad. Keeps the file
  /// name.
  void saveAsOBJ(char const* fileName) const;
  /// Replaces the mesh by a .quads file of version 0 or 1 and rebuilds the search points. The
  /// file name becomes the last path component (after the last '/' or '\') without its last
  /// extension. A file that is shorter than its header says, whose name field has no NUL or
  /// whose U or V is 2^31 − 1 or more throws "Invalid .quads file." before the grid is touched;
  /// so do unsupported versions ("Unsupported .quad file version.") and coordinate types
  /// ("Unsupported coordinate data-type"). The flag and point blocks are read once, straight
  /// into the new grid; the old grid is freed before the new points are allocated. Without
  /// memory for the new grid, "Insufficient memory to initialise quad-mesh." leaves the mesh
  /// empty. Should reading fail after that (the file shrinking meanwhile), "Invalid .quads
  /// file." leaves the new grid with the flags and the points read so far, the others at the
  /// origin.
  void load(char const* fileName);
  /// U, V and the mean, smallest and largest quad area from a .quads file's header, without
  /// reading its points. Throws as load does for an unreadable or malformed header.
  static void getFileHeaderItems(char const* fileName, std::uint32_t& quadCountU,
                                 std::uint32_t& quadCountV, double& meanQuadArea,
                                 double& minQuadArea, double& maxQuadArea);
  /// The file name from its last '/' or '\' on, the separator included; the whole name when
  /// it has none.
  std::string getShortFileName() const;
  /// Text file of 1024 lines "a f": the centre area of each histogram bin between the stored
  /// smallest and largest quad area, relative to the stored mean, and the fraction of the
  /// binned quads in that bin (0/0, a NaN, when no quad was binned). Throws QARN::IOFailure
  /// "Quad area distribution file open failure." when the file cannot be created.
  void saveQuadAreaDistribution(std::string const& fileName) const;
  /// The name stored in a .quads header: saved as its first 127 characters, loaded from
  /// version-1 files.
  std::string const& getMeshName() const { return meshName; }
  void setMeshName(std::string const& name) { meshName = name; }

protected:
  /// Reads and checks the header at the stream's position (refusals as in load).
  static void readFileHeader(std::ifstream& in, QuadFileHeader& header);

private:
  /// Version 0: validity bytes, then every point as three doubles; the region bits are
  /// rebuilt from validity.
  void loadv0(QuadFileHeader const& header, std::ifstream& in);
  /// Version 1: whole flag bytes, then the valid points in the header's coordinate type.
  void loadv1(QuadFileHeader const& header, std::ifstream& in);

public:
  // ---- Analytic surfaces and cone footprints ----
  //
  // Each builder checks its arguments and the memory estimate (getNumberOfMBs against maxMB)
  // before it touches the mesh, so a false result leaves the previous grid as it was. It then
  // rebuilds the grid, stores its points with setPoint (valid, no region bits), sets the quad
  // areas and rebuilds the lattice of start candidates. A spacing, radius or curvature that is
  // not finite and positive is refused, and so is a grid whose indices would not fit an int;
  // each builder names its other refusals. Only init's "Insufficient memory to initialise
  // quad-mesh." is thrown.

  /// A rectangle in the plane z = 0 with trunc(size / spacing) quads along each axis, covering
  /// [0, n·spacing] (or, with isCentred, that range centred on 0) along x for u and y for v.
  /// An axis shorter than the spacing has a single point, at the low end of its range. The
  /// memory estimate counts points, not quads (a deliberate over-estimate). Quad areas are
  /// spacing². False on a negative or non-finite size.
  bool setAsPlane(TwoDimensional::Vector<double> const& size, double spacing, bool isCentred,
                  std::uint32_t maxMB);
  /// A parallelogram grid: point (u, v) at origin + spacing·(u·axisU + v·axisV), the axes used
  /// as given (not normalised). A point is valid exactly when the generator accepts one of the
  /// quads it belongs to (asked once per quad, v-major). Quad areas stay 0. False only for a
  /// spacing that is not finite and positive or for extents of 2^31 − 1 or more.
  bool setAsPlane(TwoDimensional::Vector<std::uint32_t> const& extents, double spacing,
                  Point const& origin, Vector const& axisU, Vector const& axisV,
                  QuadValidityGenerator& generator);
  /// An arc of the cylinder of the given radius about the z axis, centred on +x: rows are arc
  /// steps of 2·asin(spacing / 2r) (chords of length spacing), trunc(arcAngle / step) quads,
  /// with row 0 at the largest angle so that quad normals point away from the axis; columns
  /// are trunc(length / spacing) quads along z, column j at (j − ⌊U/2⌋)/U·length. Quad areas
  /// are spacing². False when arcAngle or length is not finite and positive, when
  /// spacing > 2·radius (no chord of that length) or when length < spacing (no column of
  /// quads); an arc shorter than one step gives a single row.
  bool setAsCylinderArc(double radius, double arcAngle, double length, double spacing,
                        std::uint32_t maxMB);
  /// A cap of the sphere of the given radius about the origin, centred on the pole
  /// (0, 0, radius), sampled on a square lattice of the plane z = radius and carried onto the
  /// sphere by stereographic projection from the antipode: the lattice point (s, t) becomes
  /// (μs, μt, radius·(2μ − 1)) with μ = 4r² / (4r² + s² + t²). The lattice spans
  /// ±2r·tan(arcAngleU / 4) along s (u, x) and ±2r·tan(arcAngleV / 4) along t (v, y), so the
  /// cap's middle row and column are great-circle arcs of arcAngleU and arcAngleV (radians),
  /// centred on the pole. Each half-span is divided into the fewest equal steps of at most
  /// one length unit, so U and V are even, the pole is the point (U/2, V/2) and the quads are
  /// at most 1 × 1 there, shrinking by μ towards the rim (the map is conformal, so the quads
  /// stay square). Normals point outwards. Quad areas are measured. False unless both angles
  /// lie in (0, 2π).
  bool setAsSphereArcStereographic(double radius, double const& arcAngleU, double const& arcAngleV,
                                   std::uint32_t maxMB);
  /// Not provided: returns true and leaves the mesh as it was.
  bool setAsSphereArcAreaPreserving(double radius, double const& arcAngleU, double const& arcAngleV,
                                    std::uint32_t maxMB);
  /// The elliptic paraboloid apex + x·axisU + y·axisV + q·n with n = axisU × axisV and
  /// q = (curvatureU·x² + curvatureV·y²) / 2, the axes used as given. The grid samples x and y
  /// at multiples of spacing about the apex, which is the point (U/2, V/2): each half-width
  /// sqrt(2·depth / curvature), where q reaches depth, is enlarged to the next whole multiple
  /// of the spacing beyond it, so U and V are even and the outermost ring of points lies
  /// outside the rim. Only points with q ≤ depth are stored; the others stay invalid. Quad
  /// areas are measured over the valid quads. False on a negative or NaN depth; a depth of 0
  /// leaves only the apex valid.
  bool setAsParaboloid(Point const& apex, Vector const& axisU, Vector const& axisV,
                       double const& curvatureU, double const& curvatureV, double const& depth,
                       double spacing, std::uint32_t maxMB);
  /// A fixed test surface: 128 × 128 quads over [−500, 500]² in x and y, z = 500·cos(4πx')/12
  /// with x' = x/500. Quad areas are measured.
  bool setAsHeightField();

  /// The footprint of a widening beam on the plane of quad quadIndices (indices without
  /// offset or flips), in cells of 1/unity quad measured in that quad's own basis: the centre
  /// quad quadIndices·unity plus the cells by which the central hit lies from the quad's
  /// corner, and the cell offsets from the central hit to the four side hits (A along
  /// directionU, B along directionV; 1 on the positive side, 2 on the negative). The central
  /// ray starts at position along w = directionU × directionV; each side ray starts
  /// lateralOffset along its lateral direction and leans outwards by one lateral unit per
  /// axialFactor units of w. With the strict edge rule cell counts are truncated towards zero,
  /// so the cells on either side of the quad's corner both count as 0. With the watertight rule
  /// cells are half-open, [i, i + 1) quad units / unity, so that every hit lies in exactly one
  /// cell: the centre is the cell of the central hit and each axis the offset from it to the
  /// cell of its side hit. False, info untouched, when the quad is invalid, a ray runs
  /// parallel to the quad's plane, the quad is degenerate or a result does not fit an int.
  bool getConeIntersection(Point const& position, Vector const& directionU,
                           Vector const& directionV, double axialFactor, double lateralOffset,
                           TwoDimensional::Point<int> const& quadIndices, int unity,
                           QuadIndicesEllipseIntersectionInfo& info) const;

private:
  /// The five rays of getConeIntersection intersected with the plane through the corner of
  /// quad quadIndices with its first triangle's normal (not with the surface). False, outputs
  /// untouched, when the quad is invalid; a ray parallel to the plane gives non-finite points.
  bool getEllipseAxisPoints(Point const& position, Vector const& directionU,
                            Vector const& directionV, double axialFactor, double lateralOffset,
                            TwoDimensional::Point<int> const& quadIndices, Point& centrePoint,
                            Point& pointU1, Point& pointV1, Point& pointU2, Point& pointV2) const;

public:
  // ---- Construction from a flattened triangle mesh, and boundary extension ----
  //
  // A border edge has a valid quad on its left and an invalid one (or none: quads outside the
  // grid count as invalid) on its right; border points are the origins of border edges, i.e.
  // the valid points that are corners of both a valid and an invalid quad.

  /// Replaces the grid by a sampling of a flattened triangle mesh, whose vertices carry their
  /// 3-D points and their 2-D points in the scan plane (triangles counter-clockwise in 2-D).
  ///
  /// Spacing h = √(maxQuadArea / r), r the largest ratio of surface area to flat area over the
  /// triangles, so that no flat h × h square covers more than maxQuadArea of surface. U and V
  /// are B.d / h + 1 rounded half up, B the box of the vertices' flat points, and grid point
  /// (i, j) stands for the flat position B.p + (i·h, j·h) (B.p is the origin for a mesh in its
  /// canonical flat position). Triangle by triangle, in the order of Mesh::getTriangles, every
  /// grid point of the triangle's flat box that lies inside it, edges and corners included,
  /// receives the barycentric interpolation of its 3-D corners; a later triangle overwrites an
  /// earlier one's value at a shared point. The side test of an edge is exactly antisymmetric,
  /// so a grid point on an edge shared by two triangles is always sampled, and a grid point on a
  /// corner receives that corner's 3-D point exactly. Triangles without positive flat area
  /// (folded or degenerate) give no samples and no ratio; a non-finite ratio is left out.
  ///
  /// Flags: the points of every border loop (walked from getBoundaryEdge, then the loops it
  /// does not reach) and the valid points on no valid quad receive Boundary, every other valid
  /// point Interior. A Boundary point whose outside lies across the cut seam also receives
  /// Marked: the segment to one of its invalid 8-neighbours meets a seam edge, that is a
  /// boundary edge of the triangle mesh whose two vertices both appear in its cut pairs (a pair
  /// of two equal indices, like the (0, 0) that ends a loaded cut file, is ignored). The true
  /// border is not Marked, except where it meets the seam. Quad-area statistics and search
  /// points are rebuilt and the next search starts afresh.
  ///
  /// Names: meshName becomes the triangle mesh's file name and fileName that name plus
  /// ".quads"; an empty file name (a mesh not loaded from a file) leaves both. Progress:
  /// "Constructing quad-mesh...", then (d·100)/n + 1 after each triangle, d being the number
  /// of triangles done (so the last value is 101), when it changes.
  ///
  /// Failures, each leaving the mesh as it was unless said otherwise:
  /// - "Invalid maximum quad area.": maxQuadArea is not finite and positive, or so large for
  ///   the mesh that h is not finite;
  /// - "Empty triangle mesh.": no vertex or no triangle;
  /// - "Triangle mesh has non-finite coordinates.": a vertex's 2-D or 3-D point;
  /// - "Invalid cut-edge vertex index.": a cut pair names a vertex beyond the vertex count;
  /// - "Triangle mesh is not flattened.": no triangle has a positive flat area (for instance a
  ///   mesh loaded without 2-D points);
  /// - "Triangle mesh has no surface area.": none of those has a positive surface area;
  /// - "Quad-mesh grid too large.": the grid's indices would not fit an int, or its memory
  ///   estimate (getNumberOfMBs, 25 bytes a point) exceeds maxMB; nothing is allocated;
  /// - "Insufficient memory to initialise quad-mesh." (init) leaves the mesh empty;
  /// - "No boundary found" (getBoundaryEdge) leaves the mesh empty: no quad came out valid (a
  ///   mesh smaller than a quad), or every valid quad lies in a row above U, beyond the rows
  ///   getBoundaryEdge scans (possible when V > U; kept deliberately).
  void construct(TriMesh::Mesh const& mesh, double maxQuadArea, std::uint32_t maxMB = 8192);

  /// Grows the valid region by numberOfLayers layers of extrapolated points. Refused before
  /// anything changes: an algorithm other than Basic ("Unsupported boundary extension
  /// algorithm.") and a parameter above 4 ("Unsupported boundary extension parameter.").
  ///
  /// One layer adds the invalid 8-neighbours p of the border points that have a source. A
  /// source is a valid 8-neighbour n = p − d that is not Marked, with c consecutive valid points
  /// n, n − d, n − 2d, ... on the grid line through p, c at most `parameter` (0 stands for 3)
  /// and at least 2 (1 when parameter is 1). It gives p as the next step of the polynomial
  /// through those points: n (c = 1), 2n − (n − d), 3n − 3(n − d) + (n − 2d), or
  /// 4n − 6(n − d) + 4(n − 2d) − (n − 3d); p is the mean over its sources of the largest c,
  /// grid axes before diagonals. The layer is built in two steps: first the points with a
  /// source along a grid axis, read from the points valid before the layer, then the others
  /// (the layer's corners), which may read the first step's points; within a step every
  /// position is computed before any is stored, so the result does not depend on the order of
  /// the points. (Corners continued along diagonals instead make the layers diverge after a
  /// few steps.) These are affine combinations: a plane stays a plane (exactly for exactly
  /// represented points, else up to float rounding, which grows about as k³ over k layers) and
  /// a uniformly spaced straight grid line stays one. With c = 3 a circle of radius R sampled
  /// every h is continued k steps with an error of about k(k + 1)(k + 2)·h³ / (6R²), mostly
  /// along the surface. The stored points are continued, so that a derived mesh (a
  /// LinearScaleRectMesh) reports the new points transformed like the old.
  ///
  /// Seam: a Marked point is never a source, so the surface is not continued across a cut seam;
  /// a new point with a Marked 4-neighbour is Marked itself, so that the seam's barrier
  /// continues through the layers. New points are stored with setPoint: valid, without the
  /// Interior and Boundary bits (getIsInteriorNonExtendedPoint tells them apart).
  ///
  /// When a layer reaches past the rim, enlargeDomain grows the grid by the number of layers
  /// still to add (this one included), so a call grows it at most once; every point's indices
  /// then shift by that margin (the offset is not changed) and the next search starts afresh.
  /// Quad-area statistics and search points are rebuilt at the end (not for zero layers).
  /// Progress: "Extending quad-mesh boundary...", then (i·100)/numberOfLayers before layer i
  /// when it changes, then 100. A mesh without a border edge in the rows getBoundaryEdge scans
  /// throws its "No boundary found" before any change; enlargeDomain's failure leaves the layers
  /// added before it.
  void extendBoundary(BoundaryExtensionAlgorithm algorithm, std::uint32_t numberOfLayers,
                      std::uint32_t parameter);

private:
  /// One layer of extendBoundary; a layer that reaches past the rim first grows the grid by
  /// margin on every side.
  void extendBoundaryBasic(std::uint32_t parameter, std::uint32_t margin = 1);
  /// Grows the grid by margin on every side: point (u, v) and its flag byte move to
  /// (u + margin, v + margin), the new points are invalid. Statistics and search points are
  /// rebuilt. Throws "Insufficient memory to initialise quad-mesh." when the grid cannot be
  /// had or its indices would not fit an int, leaving the mesh as it was.
  void enlargeDomain(std::uint32_t margin);
  /// The first border edge in a scan of the points (u, v), v outer and u inner, both from 0
  /// to U: the rows are bounded by U + 1 like the columns, a kept quirk (with V > U the rows
  /// above U are not searched). At each point the four edges of the quad it is the lowest
  /// corner of are tried counter-clockwise from the right one, as rot() turns them. Throws
  /// "No boundary found".
  Edge getBoundaryEdge();
  /// Edge(this, p, PositiveU).
  Edge getVertexArbitraryEdge(TwoDimensional::Point<int> const& p);
  /// Every border edge, loop by loop with the valid region on the left (a walk turns as far
  /// left as it can): first the loop of getBoundaryEdge, whose throw it passes on, then the
  /// loops that one misses, in v-major order of their first edge.
  std::vector<Edge> getBorderEdges();
};

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh

#endif
