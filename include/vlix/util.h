/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * Utility library: float histograms, casts, regions and shapes.
 */
#ifndef VLIX_UTIL_H
#define VLIX_UTIL_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Histogram over a float range: nBins bins of equal width over [lo, hi].
 *
 * Bin i starts at x[i] = lo + i (hi - lo) / nBins, computed in double and rounded to float. A value belongs to the last
 * bin that starts at or below it; where bins are narrower than the steps between floats and several of them start at
 * the same x, to the first of those. A value equal to hi belongs to the last bin, also for lo = hi. Not-a-number pixels
 * and values outside the range are not counted. Counts are integers until they are stored.
 *
 * Cost: one pass; counts of the bins and tables for the time of the call.
 * @param[in] image monochrome (U8, S8, U16, S16, F32); its region of interest is counted
 * @param[out] hist shaped as PointF32, nBins elements: x = lowest value of the bin, y = count
 * @param[in] flag non-zero turns the counts into running sums
 * @param[in] nBins number of bins, at least 1
 * @param[in] lo,hi finite bounds, lo <= hi
 * @return non-zero on success, 0 on failure, with @p hist as it was; nothing is reported, except by the object library
 *   when @p hist cannot be shaped
 */
VLIX_API int32_t VlixUtilComputeHistogram(const VlixImage* image, VlixVector* hist, int32_t flag, int32_t nBins,
                                          float lo, float hi);

/**
 * Converts an image to another pixel type. Every value fits a 32-bit float exactly.
 *
 * Cost: one pass and the new image.
 * @param[in] from monochrome image (U8, S8, U16, S16, F32); its region of interest, which has to lie inside, is
 * converted
 * @param[out] to an empty record; receives a new image that consists of just that region
 * @param[in] kind 4 = F32, the only one
 * @param[in] mode 0, the only one: values as they are
 * @return 0 on success; non-zero, with @p to emptied, on failure; nothing is reported
 */
VLIX_API int32_t VlixUtilCastImage(const VlixImage* from, VlixImage* to, int32_t kind, int32_t mode);

/** @name Regions
 * A region is a set of pixels, given by coordinates relative to the region of interest of the image that it is used
 * with; pixels may lie outside of any image. A record starts as all zeros, which is the region without pixels. The
 * functions that make a region replace what the record holds: the runs of an earlier region are freed, and the record
 * may be one of the operands. They return 0 on success; otherwise non-zero, reported, with the record as it was. A null
 * record is refused.
 *
 * Cost: one pass over the mask, the rows of the shape, or the runs of both operands; 12 bytes for each run. Counting
 * passes over the runs, releasing is one call of the heap, and a scan takes one call of the routine for each pixel. */
/** @{ */

/** Neighbouring pixels of one row. */
typedef struct VlixRun {
  int32_t y;     /**< row */
  int32_t begin; /**< first column */
  int32_t end;   /**< column behind the last one, above begin */
} VlixRun;

/** A region. */
typedef struct VlixRegion {
  VlixRun* runs;    /**< ordered by row, then by column; runs do not overlap */
  int64_t count;    /**< number of runs */
  int64_t capacity; /**< runs that a buffer of this library holds; 0 when the runs are the caller's, who frees them */
} VlixRegion;

/** Handle of a region, as vlix_histRoi takes it. */
typedef struct VlixRegionHandle {
  uint32_t kind;     /**< #VlixHandle_Region */
  uint32_t head[3];  /**< not read */
  VlixRegion region; /**< the region */
} VlixRegionHandle;

/**
 * The pixels of a mask that are not 0 (not-a-number counts as not 0).
 * @param[in] mask monochrome image (U8, S8, U16, S16, F32); its region of interest is the whole mask, which begins at
 * 0, 0
 * @param[out] region receives the pixels; not null
 * @return 0 on success, otherwise non-zero and reported
 */
VLIX_API int32_t VlixRegionFromMask(const VlixImage* mask, VlixRegion* region);

/**
 * The pixels of a shape.
 * @param[in] shape any kind that #VlixUtilRasterizeRoi takes
 * @param[out] region receives the pixels; not null
 * @return 0 on success, otherwise non-zero and reported
 */
VLIX_API int32_t VlixRegionFromShape(const VlixShape* shape, VlixRegion* region);

/**
 * The pixels that belong to at least one of two regions.
 * @param[in] a,b the operands; neither may be null
 * @param[out] region receives the pixels; not null
 * @return 0 on success, otherwise non-zero and reported
 */
VLIX_API int32_t VlixRegionUnion(const VlixRegion* a, const VlixRegion* b, VlixRegion* region);

/**
 * The pixels that belong to both of two regions.
 * @param[in] a,b the operands; neither may be null
 * @param[out] region receives the pixels; not null
 * @return 0 on success, otherwise non-zero and reported
 */
VLIX_API int32_t VlixRegionIntersection(const VlixRegion* a, const VlixRegion* b, VlixRegion* region);

/**
 * The pixels that belong to the first region and not to the second.
 * @param[in] a,b the operands; neither may be null
 * @param[out] region receives the pixels; not null
 * @return 0 on success, otherwise non-zero and reported
 */
VLIX_API int32_t VlixRegionDifference(const VlixRegion* a, const VlixRegion* b, VlixRegion* region);

/**
 * Number of pixels. Nothing is reported.
 * @param[in] region the region; null has none
 * @return the sum of the lengths of its runs
 */
VLIX_API int64_t VlixRegionPixelCount(const VlixRegion* region);

/**
 * Empties a record and frees its runs, unless they are the caller's. Releasing an empty record is harmless, and nothing
 * is reported.
 * @param[in,out] region the record; null is ignored
 */
VLIX_API void VlixRegionRelease(VlixRegion* region);

/**
 * Calls a routine once for every pixel of a region, row by row and from left to right. Nothing is reported.
 * @param[in,out] context handed to the routine
 * @param[in] region a #VlixRegion
 * @param[in] routine called with coordinates relative to the region of interest
 * @return 0 on success; non-zero, without a call, when something is null or the runs are not ordered as they have to be
 */
VLIX_API int32_t VlixUtilScanRoi(void* context, void* region, VlixPixelRoutine routine);

/** @} */

/** @name Shapes
 * Coordinates are relative to the region of interest; x runs along columns, y along rows, and the centre of pixel
 * (x, y) is the point (x, y). Angles are in degrees, from the x axis towards the y axis (clockwise where rows run
 * down).
 *
 * A pixel belongs to a shape when its centre does. Of a straight border, the parts that face lower columns belong to
 * the shape and those that face higher columns do not; a horizontal part belongs to it when it faces lower rows. So
 * shapes with a common straight border share no pixel and leave none out. Polygons and rotated rectangles are computed
 * exactly after their corners are rounded to 2^-32 pixel, the other shapes in double precision.
 *
 * Refused are shapes with a number that is not finite, without an area, that reach beyond +-2^24 (the centre and the
 * radii of ring sectors included), or whose bounding box holds more than 2^31 pixels.
 *
 * Cost: one call of the routine for each pixel; a polygon also sorts its edges and needs a table of them. */
/** @{ */

/** Kinds of shapes besides #VlixShape_PixelRect; `geometry` points to the struct that is named. */
typedef enum VlixUtilShapeKind {
  VlixShape_Rect = 100,        /**< #VlixRectShape */
  VlixShape_RotatedRect = 101, /**< #VlixRotatedRectShape */
  VlixShape_Ellipse = 102,     /**< #VlixEllipseShape */
  VlixShape_RingSector = 103,  /**< #VlixRingSectorShape */
  VlixShape_Polygon = 104      /**< #VlixPolygonShape */
} VlixUtilShapeKind;

/** Axis-aligned rectangle: low <= coordinate < high. From (X, Y) to (X + W, Y + H) it covers W x H pixels. */
typedef struct VlixRectShape {
  float x0; /**< column of a corner */
  float y0; /**< row of a corner */
  float x1; /**< column of the opposite corner, other than x0 */
  float y1; /**< row of the opposite corner, other than y0 */
} VlixRectShape;

/** Rectangle of any direction. */
typedef struct VlixRotatedRectShape {
  float centreX;      /**< column of the centre */
  float centreY;      /**< row of the centre */
  float width;        /**< size along the direction of the angle, above 0 */
  float height;       /**< size across it, above 0 */
  float angleDegrees; /**< direction of the width */
} VlixRotatedRectShape;

/** Ellipse; its border does not belong to it. */
typedef struct VlixEllipseShape {
  float centreX;      /**< column of the centre */
  float centreY;      /**< row of the centre */
  float radiusX;      /**< semi-axis along the direction of the angle, above 0 */
  float radiusY;      /**< semi-axis across it, above 0 */
  float angleDegrees; /**< direction of the first semi-axis */
} VlixEllipseShape;

/**
 * Part of a ring: innerRadius <= distance from the centre < outerRadius and startDegrees <= direction < endDegrees, so
 * that rings and sectors with common radii or angles share no pixel. The centre itself has direction 0.
 */
typedef struct VlixRingSectorShape {
  float centreX;      /**< column of the centre */
  float centreY;      /**< row of the centre */
  float innerRadius;  /**< at least 0; 0 makes it a sector of a disc */
  float outerRadius;  /**< above the inner radius */
  float startDegrees; /**< where the sector begins */
  float endDegrees;   /**< where it ends: above the start, at most 360 above it, which is the full ring */
} VlixRingSectorShape;

/** Polygon, closed from the last vertex to the first. Where it overlaps itself the even-odd rule holds. */
typedef struct VlixPolygonShape {
  const PointF32* vertices; /**< the corners in order, either way round, not all on one line */
  int32_t count;            /**< at least 3 */
} VlixPolygonShape;

/**
 * Calls a routine once for every pixel of a shape, row by row and from left to right. Nothing is reported.
 * @param[in,out] context handed to the routine
 * @param[in] shape a #VlixShape of a #VlixUtilShapeKind. #VlixShape_PixelRect is refused: it lies in whole-image
 *   coordinates, which cannot be told apart here; the operations that take shapes walk it themselves
 * @param[in] routine called with coordinates relative to the region of interest
 * @return 0 on success; non-zero, without a call, when something is null, the shape is refused, or memory is short
 */
VLIX_API int32_t VlixUtilRasterizeRoi(void* context, void* shape, VlixPixelRoutine routine);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
