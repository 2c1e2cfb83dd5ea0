#ifndef QARN_QARNGEOMETRY_H
#define QARN_QARNGEOMETRY_H

// Every public class of the library.
#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/AffineMap.h>
#include <QARN/Geometry/ThreeDimensional/BinarySpacePartition/Object.h>
#include <QARN/Geometry/ThreeDimensional/BoundingBoxAA.h>
#include <QARN/Geometry/ThreeDimensional/LinearMap.h>
#include <QARN/Geometry/ThreeDimensional/Plane.h>
#include <QARN/Geometry/ThreeDimensional/Point.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/CanonicalAxis.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/CanonicalPlane.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/Edge.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/LinearScaleRectMesh.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIndicesEllipseIntersectionInfo.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIndicesIntersectionStatus.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIntersectionData.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadSearchFailure.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadValidityGenerator.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/TransformedRectMesh.h>
#include <QARN/Geometry/ThreeDimensional/Quaternion.h>
#include <QARN/Geometry/ThreeDimensional/Utility/Utility.h>
#include <QARN/Geometry/ThreeDimensional/Vector.h>
#include <QARN/Geometry/TwoDimensional/BoundingBoxAA.h>
#include <QARN/Geometry/TwoDimensional/DefaultLinearMaps.h>
#include <QARN/Geometry/TwoDimensional/LinearMap.h>
#include <QARN/Geometry/TwoDimensional/Point.h>
#include <QARN/Geometry/TwoDimensional/Vector.h>
#include <QARN/IOFailure.h>
#include <QARN/LinearAlgebra/RowVector.h>
#include <QARN/LinearAlgebra/SparseMatrix.h>
#include <QARN/LinearAlgebra/Utility.h>
#include <QARN/LinearAlgebra/Vector.h>
#include <QARN/Progress/ProgressListener.h>
#include <QARN/Progress/ProgressTerminator.h>

#endif
