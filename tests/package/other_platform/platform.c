/* SPDX-License-Identifier: Apache-2.0 */
/* A small platform with the same C interface: malloc for buffers, no primitives (every one fails), status value 77. */
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>

#include "vlix/object.h"
#include "vlix/optim.h"
#include "vlix/util.h"
#include "vlix/xform.h"

#ifdef OTHER_OBJECT
int32_t VlixObjGetSizeBits(int32_t type) {
  switch (type) {
    case ObjType_S8:
    case ObjType_U8: return 8;
    case ObjType_S16:
    case ObjType_U16: return 16;
    case ObjType_PointI32:
    case ObjType_PointF32:
    case ObjType_F64: return 64;
    default: return 32;
  }
}
int32_t VlixObjGetSize(int32_t type) { return VlixObjGetSizeBits(type) / 8; }
const char* VlixObjGetName(int32_t type) { return type == ObjType_F32 ? "single" : "other"; }
int32_t VlixObjCheckEqList(int32_t type, int32_t n, ...) {
  va_list codes;
  va_start(codes, n);
  int32_t found = 0;
  for (int32_t i = 0; i < n; ++i) found |= va_arg(codes, int32_t) == type;
  va_end(codes);
  return found;
}
int32_t VlixOpStatus(int32_t level, int32_t kind, const char* text, ...) {
  (void)level, (void)kind, (void)text;
  return 77;
}
int32_t VlixOptimGetLevel(void) { return 1; }
int32_t VlixImageAlloc(VlixImage* image, int32_t type, int32_t width, int32_t height) {
  image->type = (uint32_t)type;
  image->width = image->roiWidth = width;
  image->height = image->roiHeight = height;
  image->roiX = image->roiY = 0;
  image->data = malloc((size_t)width * (size_t)height * (size_t)VlixObjGetSize(type));
  return image->data != NULL ? 0 : -1;
}
void VlixImageRelease(VlixImage* image, int32_t flag) {
  (void)flag;
  free(image->data);
  memset(image, 0, sizeof(*image));
}
int32_t VlixImageTryUseReservedMem(VlixImage* image, int32_t type, int32_t width, int32_t height,
                                   const char* operation) {
  (void)operation;
  free(image->data);
  return VlixImageAlloc(image, type, width, height);
}
int32_t VlixVectorAlloc(VlixVector* vector, int32_t type, int32_t count) {
  vector->type = (uint32_t)type;
  vector->count = count;
  vector->data = malloc((size_t)count * (size_t)VlixObjGetSize(type) + 1);
  return vector->data != NULL ? 0 : -1;
}
void VlixVectorRelease(VlixVector* vector, int32_t flag) {
  (void)flag;
  free(vector->data);
  memset(vector, 0, sizeof(*vector));
}
int32_t VlixVectorResize(VlixVector* vector, int32_t count) {
  vector->count = count;
  return 0;
}
int32_t VlixVectorCopy(const VlixVector* from, VlixVector* to) {
  if (VlixVectorAlloc(to, (int32_t)from->type, from->count) != 0) return 0;
  memcpy(to->data, from->data, (size_t)from->count * (size_t)VlixObjGetSize((int32_t)from->type));
  return 1;
}
int32_t VlixVectorTryUseReservedMem(VlixVector* vector, int32_t type, int32_t count, const char* operation) {
  (void)operation;
  free(vector->data);
  return VlixVectorAlloc(vector, type, count);
}
#endif

#ifdef OTHER_OPTIM
#define REFUSE(name, parameters) \
  int32_t name parameters;       \
  int32_t name parameters { return 9; }
#pragma GCC diagnostic ignored "-Wunused-parameter"
#pragma GCC diagnostic ignored "-Wredundant-decls"
REFUSE(vlix_ippiHistogramEven_8u_C1R,
       (const uint8_t* s, int32_t st, VlixSize z, int32_t* c, int32_t* l, int32_t n, int32_t a, int32_t b))
REFUSE(vlix_ippiHistogramEven_16u_C1R,
       (const uint16_t* s, int32_t st, VlixSize z, int32_t* c, int32_t* l, int32_t n, int32_t a, int32_t b))
REFUSE(vlix_ippiHistogramEven_16s_C1R,
       (const int16_t* s, int32_t st, VlixSize z, int32_t* c, int32_t* l, int32_t n, int32_t a, int32_t b))
REFUSE(vlix_ippiHistogramEven_8u_AC4R,
       (const uint8_t* s, int32_t st, VlixSize z, int32_t** c, int32_t** l, int32_t* n, int32_t* a, int32_t* b))
REFUSE(vlix_ippiMean_StdDev_8u_C1R, (const uint8_t* s, int32_t st, VlixSize z, double* m, double* d))
REFUSE(vlix_ippiMean_StdDev_8s_C1R, (const int8_t* s, int32_t st, VlixSize z, double* m, double* d))
REFUSE(vlix_ippiMean_StdDev_32f_C1R, (const float* s, int32_t st, VlixSize z, double* m, double* d))
REFUSE(vlix_ippiMinMax_8u_C1R, (const uint8_t* s, int32_t st, VlixSize z, uint8_t* a, uint8_t* b))
REFUSE(vlix_ippiMinMax_32f_C1R, (const float* s, int32_t st, VlixSize z, float* a, float* b))
REFUSE(vlix_ippiCountInRange_8u_C1R, (const uint8_t* s, int32_t st, VlixSize z, int32_t* c, uint8_t a, uint8_t b))
REFUSE(vlix_ippiCrossCorrValid_NormLevel_8u32f_C1R,
       (const uint8_t* s, int32_t st, VlixSize z, const uint8_t* t, int32_t ts, VlixSize tz, float* d, int32_t ds))
REFUSE(vlix_ippiCrossCorrValid_NormLevel_8s32f_C1R,
       (const int8_t* s, int32_t st, VlixSize z, const int8_t* t, int32_t ts, VlixSize tz, float* d, int32_t ds))
REFUSE(vlix_ippiCrossCorrValid_NormLevel_16u32f_C1R,
       (const uint16_t* s, int32_t st, VlixSize z, const uint16_t* t, int32_t ts, VlixSize tz, float* d, int32_t ds))
REFUSE(vlix_ippiCrossCorrValid_NormLevel_32f_C1R,
       (const float* s, int32_t st, VlixSize z, const float* t, int32_t ts, VlixSize tz, float* d, int32_t ds))
REFUSE(vlix_ippiAbsDiff_8u_C1R,
       (const uint8_t* a, int32_t as, const uint8_t* b, int32_t bs, uint8_t* d, int32_t ds, VlixSize z))
REFUSE(vlix_ippiSum_8u_C1R, (const uint8_t* s, int32_t st, VlixSize z, double* sum))
uint8_t* vlix_ippsMalloc_8u(int32_t bytes) { return malloc((size_t)bytes); }
void vlix_ippsFree(void* memory) { free(memory); }
#endif

#ifdef OTHER_UTIL
int32_t VlixUtilComputeHistogram(const VlixImage* image, VlixVector* hist, int32_t flag, int32_t nBins, float lo,
                                 float hi) {
  (void)image, (void)hist, (void)flag, (void)lo, (void)hi;
  return nBins == 3;
}
int32_t VlixUtilCastImage(const VlixImage* from, VlixImage* to, int32_t kind, int32_t mode) {
  (void)from, (void)to, (void)kind, (void)mode;
  return 5;
}
int32_t VlixUtilScanRoi(void* context, void* region, VlixPixelRoutine routine) {
  (void)context, (void)region, (void)routine;
  return 5;
}
int32_t VlixUtilRasterizeRoi(void* context, void* shape, VlixPixelRoutine routine) {
  (void)shape;
  routine(context, 1, 0);
  return 0;
}
#endif

#ifdef OTHER_XFORM
int32_t vlix_fft(const VlixImage* from, VlixImage* to, int32_t direction, int32_t reserved, int32_t realOutput) {
  (void)from, (void)to, (void)direction, (void)reserved, (void)realOutput;
  return 5;
}
#endif
