/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * Records, type codes and tagged handles shared by all VlixMeas libraries.
 *
 * Every record has exactly the fields shown, in this order, with the natural
 * alignment of a 64-bit processor.
 */
#ifndef VLIX_TYPES_H
#define VLIX_TYPES_H

#include <stdint.h>

#if defined(__GNUC__)
#define VLIX_API __attribute__((visibility("default")))
#else
#define VLIX_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** Result of every operation: 0 is success, any other value a failure that has been reported. */
typedef int32_t VlixStatus;

/** Codes of pixel and element types. */
typedef enum ObjType {
  ObjType_S8 = 6,         /**< signed 8-bit integer */
  ObjType_S16 = 7,        /**< signed 16-bit integer */
  ObjType_S32 = 8,        /**< signed 32-bit integer */
  ObjType_U8 = 10,        /**< unsigned 8-bit integer */
  ObjType_U16 = 11,       /**< unsigned 16-bit integer */
  ObjType_U32 = 12,       /**< unsigned 32-bit integer */
  ObjType_U32Alt = 16,    /**< unsigned 32-bit integer, read exactly like #ObjType_U32 */
  ObjType_F32 = 17,       /**< 32-bit IEEE float */
  ObjType_F64 = 18,       /**< 64-bit IEEE float */
  ObjType_Rgba8 = 19,     /**< colour: four bytes, channels 0, 1, 2 in bytes 0, 1, 2; byte 3 is ignored */
  ObjType_Colour20 = 20,  /**< colour, same layout as #ObjType_Rgba8 */
  ObjType_Colour21 = 21,  /**< colour, same layout as #ObjType_Rgba8 */
  ObjType_PointI32 = 24,  /**< #PointI32 */
  ObjType_PointF32 = 29,  /**< #PointF32 */
  ObjType_Colour30 = 30,  /**< colour, same layout as #ObjType_Rgba8 */
  ObjType_Colour36 = 36,  /**< colour: one 32-bit word, 10-bit channels in bits 0-9, 10-19, 20-29 */
  ObjType_Colour39 = 39,  /**< colour: three unsigned 16-bit channels, then 16 unused bits */
  ObjType_Colour44 = 44,  /**< colour: three 8-bit channels, no fourth byte */
  ObjType_Shape53 = 53,   /**< #VlixShape */
  ObjType_Shape54 = 54,   /**< #VlixShape */
  ObjType_ComplexF32 = 70 /**< pair of 32-bit floats, real part first (spectra) */
} ObjType;

/** Kinds of tagged handles, see #VlixVectorHandle, #VlixImageHandle, #VlixRegionHandle, #VlixShapeHandle. */
typedef enum VlixHandleKind {
  VlixHandle_Vector = 2,   /**< a #VlixVector 16 bytes into the handle */
  VlixHandle_Image = 3,    /**< a #VlixImage 16 bytes into the handle */
  VlixHandle_Region = 3,   /**< where a region is expected: a VlixRegion 16 bytes into the handle */
  VlixHandle_Shape53 = 53, /**< a pointer to a #VlixShape 16 bytes into the handle */
  VlixHandle_Shape54 = 54  /**< a pointer to a #VlixShape 16 bytes into the handle */
} VlixHandleKind;

/** Common head of every record and handle. */
typedef struct VlixObj {
  uint32_t type; /**< #ObjType of a record, #VlixHandleKind of a handle */
} VlixObj;

/** Integer point; also one bin of an integer histogram (x = lowest value of the bin, y = count). */
typedef struct PointI32 {
  int32_t x; /**< column, or lowest value of a bin */
  int32_t y; /**< row, or count of a bin */
} PointI32;

/** Float point; also one bin of a float histogram (x = lowest value of the bin, y = count). */
typedef struct PointF32 {
  float x; /**< column, or lowest value of a bin */
  float y; /**< row, or count of a bin */
} PointF32;

/** Size of a region in pixels. */
typedef struct VlixSize {
  int32_t width;  /**< columns */
  int32_t height; /**< rows */
} VlixSize;

/**
 * An image. Rows follow one another without padding: a row takes (bits per pixel x width + 7) / 8 bytes.
 * Operations read and write the region of interest only.
 */
typedef struct VlixImage {
  uint32_t type;     /**< #ObjType of every pixel */
  void* data;        /**< row 0, column 0 of the whole image */
  int32_t width;     /**< pixels in a full row, also the row pitch */
  int32_t height;    /**< rows of the whole image */
  int32_t roiX;      /**< first column of the region of interest */
  int32_t roiY;      /**< first row of the region of interest */
  int32_t roiWidth;  /**< columns of the region of interest */
  int32_t roiHeight; /**< rows of the region of interest */
} VlixImage;

/** A vector of contiguous elements. */
typedef struct VlixVector {
  uint32_t type;    /**< #ObjType of every element */
  void* data;       /**< element 0 */
  int32_t count;    /**< number of elements */
  int32_t reserved; /**< belongs to the object library */
} VlixVector;

/** Handle of a vector, as vlix_stats takes it. */
typedef struct VlixVectorHandle {
  uint32_t kind;     /**< #VlixHandle_Vector */
  uint32_t head[3];  /**< not read */
  VlixVector vector; /**< the vector */
} VlixVectorHandle;

/** Handle of an image, as vlix_stats takes it. */
typedef struct VlixImageHandle {
  uint32_t kind;    /**< #VlixHandle_Image */
  uint32_t head[3]; /**< not read */
  VlixImage image;  /**< the image */
} VlixImageHandle;

/** Kinds of shapes; the geometry that each kind points to is described in vlix/util.h. */
typedef enum VlixShapeKind {
  VlixShape_PixelRect =
      4 /**< axis-aligned rectangle, four floats x0, y0, x1, y1 in whole-image pixels, corners included */
} VlixShapeKind;

/** A shape. */
typedef struct VlixShape {
  uint32_t kind;        /**< #VlixShapeKind, or a kind of vlix/util.h */
  uint32_t head[3];     /**< not read */
  const void* geometry; /**< the numbers that describe a shape of this kind */
} VlixShape;

/** Handle of a single shape. */
typedef struct VlixShapeHandle {
  uint32_t kind;          /**< #VlixHandle_Shape53 or #VlixHandle_Shape54 */
  uint32_t head[3];       /**< not read */
  const VlixShape* shape; /**< the shape */
} VlixShapeHandle;

/** One pixel value of a monochrome type that path sampling treats as "no value here". */
typedef struct VlixInvalidValue {
  uint32_t type;    /**< #ObjType, equal to the image's */
  uint32_t head[3]; /**< not read */
  union {
    int8_t s8;    /**< value of an #ObjType_S8 image */
    uint8_t u8;   /**< value of an #ObjType_U8 image */
    int16_t s16;  /**< value of an #ObjType_S16 image */
    uint16_t u16; /**< value of an #ObjType_U16 image */
    float f32;    /**< value of an #ObjType_F32 image */
  } value;        /**< the value, in the image's own type */
} VlixInvalidValue;

/** Called once per pixel of a region, x and y relative to the region of interest of the image. */
typedef void (*VlixPixelRoutine)(void* context, int32_t x, int32_t y);

#ifdef __cplusplus
}
#endif

#endif
