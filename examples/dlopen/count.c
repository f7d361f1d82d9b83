/* SPDX-License-Identifier: Apache-2.0 */
/* Loads the library at run time: no link-time dependency on it. */
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>

#include "vlix/types.h"

typedef VlixStatus (*CountPix)(const VlixImage*, uint32_t*);

int main(int argc, char** argv) {
  void* library = dlopen(argc > 1 ? argv[1] : "libVlixMeas.so.1", RTLD_NOW);
  if (library == NULL) {
    fprintf(stderr, "%s\n", dlerror());
    return EXIT_FAILURE;
  }
  CountPix count_pix;
  *(void**)&count_pix = dlsym(library, "vlix_countPix");
  if (count_pix == NULL) return EXIT_FAILURE;

  uint16_t pixels[6] = {0, 3, 0, 65535, 1, 0};
  VlixImage image = {ObjType_U16, pixels, 3, 2, 0, 0, 3, 2};
  uint32_t count = 0;
  if (count_pix(&image, &count) != 0) return EXIT_FAILURE;
  printf("%u of 6 pixels are not zero\n", (unsigned)count);
  return dlclose(library) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
