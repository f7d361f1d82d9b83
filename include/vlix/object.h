/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * Object library: type queries, images and vectors, the status channel and the optimisation level.
 *
 * A null record is refused, never dereferenced. All functions may be called from any thread; one record must not be
 * changed by two threads at once.
 */
#ifndef VLIX_OBJECT_H
#define VLIX_OBJECT_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @name Type queries
 * Nothing is reported. Cost: constant. */
/** @{ */

/**
 * Bytes per element or pixel.
 * @param[in] type an #ObjType code
 * @return the size in bytes (1, 2, 3, 4, 8 or the size of #VlixShape), 0 for an unknown code
 */
VLIX_API int32_t VlixObjGetSize(int32_t type);

/**
 * Bits per element or pixel.
 * @param[in] type an #ObjType code
 * @return the size in bits, 0 for an unknown code
 */
VLIX_API int32_t VlixObjGetSizeBits(int32_t type);

/**
 * Name of a type or handle kind for messages.
 * @param[in] type any code
 * @return a constant text, never null; "unknown" for a code that this library does not know
 */
VLIX_API const char* VlixObjGetName(int32_t type);

/**
 * Tests a type code against a list.
 * @param[in] type the code to look for
 * @param[in] n number of codes that follow
 * @param[in] ... n further codes, each an int32_t
 * @return 1 when @p type equals one of them, otherwise 0
 */
VLIX_API int32_t VlixObjCheckEqList(int32_t type, int32_t n, ...);

/** @} */

/** @name Status channel
 * Nothing is printed by default: the last report is kept per thread, and a handler may be set. Cost: constant, one
 * lock where a handler is set, and what the handler takes. */
/** @{ */

/** Kinds of reports. */
typedef enum VlixStatusKind {
  VlixStatusKind_OutOfMemory = 0,     /**< text: operation; argument: int64_t bytes asked for */
  VlixStatusKind_UnsupportedType = 1, /**< text: operation; argument: const char* type name */
  VlixStatusKind_Message = 100        /**< text: printf format; arguments: its conversions */
} VlixStatusKind;

/** Result codes of #VlixOpStatus, one per kind of report. */
enum {
  VLIX_STATUS_OUT_OF_MEMORY = -1,    /**< a report of #VlixStatusKind_OutOfMemory */
  VLIX_STATUS_UNSUPPORTED_TYPE = -2, /**< a report of #VlixStatusKind_UnsupportedType */
  VLIX_STATUS_MESSAGE = -3,          /**< a report of #VlixStatusKind_Message */
  VLIX_STATUS_UNKNOWN_KIND = -4      /**< a report of any other kind; its text is kept without arguments */
};

/** Longest text of a report, terminating zero included; longer texts are cut. */
#define VLIX_REPORT_TEXT_SIZE 512

/** The last report of a thread. */
typedef struct VlixOpReport {
  int32_t kind;                     /**< #VlixStatusKind */
  int32_t status;                   /**< what #VlixOpStatus returned */
  uint64_t count;                   /**< reports of this thread since its start or #VlixOpClear */
  char text[VLIX_REPORT_TEXT_SIZE]; /**< the message, without trailing line feeds; empty when there is none */
} VlixOpReport;

/**
 * Receives every report.
 * @param[in] report the report; valid during the call only
 * @param[in] user the pointer given to #VlixOpSetHandler
 */
typedef void (*VlixOpHandler)(const VlixOpReport* report, void* user);

/**
 * Reports a failure: keeps it as the calling thread's last report and hands it to the handler, if there is one.
 * @param[in] level severity; 1 (error) is the only level in use
 * @param[in] kind #VlixStatusKind, which tells what the further arguments are
 * @param[in] text operation name or printf format, see #VlixStatusKind; may be null
 * @return the negative VLIX_STATUS_ code of the kind
 */
VLIX_API int32_t VlixOpStatus(int32_t level, int32_t kind, const char* text, ...);

/**
 * Copies the calling thread's last report.
 * @param[out] report receives it; count 0 and an empty text when there is none; may be null
 */
VLIX_API void VlixOpLastReport(VlixOpReport* report);

/** Forgets the calling thread's last report. */
VLIX_API void VlixOpClear(void);

/**
 * Sets the handler of all threads.
 * @param[in] handler called on the reporting thread, outside of any lock; null removes it
 * @param[in] user handed to the handler as it is
 */
VLIX_API void VlixOpSetHandler(VlixOpHandler handler, void* user);

/** @} */

/** @name Optimisation level
 * 0 = plain loops, 1 = primitives (the default), 2 = primitives and packed-integer kernels. Nothing is reported. Cost:
 * constant. */
/** @{ */

/**
 * The process-wide level: what #VlixOptimSetLevel set last, else the environment variable VLIX_OPTIM_LEVEL
 * (0, 1 or 2; anything else is ignored), else 1.
 * @return 0, 1 or 2
 */
VLIX_API int32_t VlixOptimGetLevel(void);

/**
 * Sets the level for the whole process.
 * @param[in] level 0, 1 or 2
 * @return 0 on success, non-zero (nothing changed) for any other value
 */
VLIX_API int32_t VlixOptimSetLevel(int32_t level);

/** @} */

/** @name Images
 * A record starts as all zeros. Its buffer is own (allocated here, aligned to 64 bytes, freed here), wrapped (see
 * #VlixImageWrap) or foreign (memory that this library has never seen, put into the record by hand). Wrapped and
 * foreign buffers are never grown nor freed.
 *
 * Cost: an allocation or a release at most; no pixel is touched. */
/** @{ */

/**
 * Gives a record a new buffer. What the record held before is neither read nor released.
 * @param[out] image the record; refused when null
 * @param[in] type pixel type
 * @param[in] width,height size in pixels, both at least 1; the bits of a row must fit 31 bits
 * @return 0 on success; negative, with the record emptied, on failure; nothing is reported
 */
VLIX_API int32_t VlixImageAlloc(VlixImage* image, int32_t type, int32_t width, int32_t height);

/**
 * Empties a record and frees its buffer if it is an own one. Releasing an empty record, or a record twice, is harmless.
 * @param[in,out] image the record; null is ignored
 * @param[in] flag 1 for the records of temporaries; both values release alike
 *
 * Nothing is reported.
 */
VLIX_API void VlixImageRelease(VlixImage* image, int32_t flag);

/**
 * Shapes an output: reuses the record's buffer when it is large enough, otherwise replaces an own buffer by a larger
 * one. Pixels are not cleared. The region of interest becomes the whole image.
 * @param[in,out] image the record, empty or filled
 * @param[in] type,width,height as for #VlixImageAlloc
 * @param[in] operation name for the report
 * @return 0 on success; otherwise non-zero, reported under @p operation, with record and contents as they were
 */
VLIX_API int32_t VlixImageTryUseReservedMem(VlixImage* image, int32_t type, int32_t width, int32_t height,
                                            const char* operation);

/**
 * Makes a record a view of the caller's memory. The memory must outlive the record; it is never grown nor freed here.
 * Release the record when done with it.
 * @param[out] image the record; what it held before is neither read nor released
 * @param[in] type pixel type
 * @param[in] data (width x height) pixels, rows without padding; not null, not the start of a buffer of this library
 * @param[in] width,height size in pixels, both at least 1
 * @return 0 on success; otherwise non-zero, reported, with the record as it was
 */
VLIX_API int32_t VlixImageWrap(VlixImage* image, int32_t type, void* data, int32_t width, int32_t height);

/**
 * Sets the region of interest.
 * @param[in,out] image the record
 * @param[in] x,y first column and row
 * @param[in] width,height size, both at least 1; the region must lie inside the image
 * @return 0 on success; otherwise non-zero, reported, with the record as it was
 */
VLIX_API int32_t VlixImageSetRoi(VlixImage* image, int32_t x, int32_t y, int32_t width, int32_t height);

/**
 * Makes the region of interest the whole image.
 * @param[in,out] image the record; null is ignored
 *
 * Nothing is reported.
 */
VLIX_API void VlixImageResetRoi(VlixImage* image);

/** @} */

/** @name Vectors
 * As for images; a vector of 0 elements is legal and has a buffer.
 *
 * Cost: an allocation or a release at most; #VlixVectorCopy and a #VlixVectorResize that grows copy the elements. */
/** @{ */

/**
 * Gives a record a new buffer. What the record held before is neither read nor released.
 * @param[out] vector the record; refused when null
 * @param[in] type element type
 * @param[in] count number of elements, at least 0
 * @return 0 on success; negative, with the record emptied, on failure; nothing is reported
 */
VLIX_API int32_t VlixVectorAlloc(VlixVector* vector, int32_t type, int32_t count);

/**
 * Empties a record and frees its buffer if it is an own one.
 * @param[in,out] vector the record; null is ignored
 * @param[in] flag both values release alike
 *
 * Nothing is reported.
 */
VLIX_API void VlixVectorRelease(VlixVector* vector, int32_t flag);

/**
 * Changes the number of elements and keeps those that both sizes have. Elements that are new are not cleared.
 * @param[in,out] vector the record, with a type
 * @param[in] count at least 0; a wrapped or foreign buffer does not grow beyond what it holds
 * @return 0 on success; negative, with the record as it was, on failure; nothing is reported
 */
VLIX_API int32_t VlixVectorResize(VlixVector* vector, int32_t count);

/**
 * Copies a vector into a new buffer.
 * @param[in] from the vector to copy
 * @param[out] to a record that holds nothing; neither read nor released
 * @return non-zero on success; 0 on failure, with @p to emptied; nothing is reported
 */
VLIX_API int32_t VlixVectorCopy(const VlixVector* from, VlixVector* to);

/**
 * Shapes an output: reuses the record's buffer when it is large enough, otherwise replaces an own buffer by a larger
 * one. Elements are not cleared.
 * @param[in,out] vector the record, empty or filled
 * @param[in] type,count as for #VlixVectorAlloc
 * @param[in] operation name for the report
 * @return 0 on success; otherwise non-zero, reported under @p operation, with record and contents as they were
 */
VLIX_API int32_t VlixVectorTryUseReservedMem(VlixVector* vector, int32_t type, int32_t count, const char* operation);

/**
 * Makes a record a view of the caller's memory; see #VlixImageWrap.
 * @param[out] vector the record; what it held before is neither read nor released
 * @param[in] type element type
 * @param[in] data @p count elements; not null unless count is 0, not the start of a buffer of this library
 * @param[in] count number of elements, at least 0
 * @return 0 on success; otherwise non-zero, reported, with the record as it was
 */
VLIX_API int32_t VlixVectorWrap(VlixVector* vector, int32_t type, void* data, int32_t count);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
