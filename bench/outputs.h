// SPDX-License-Identifier: Apache-2.0
// Output records that are released with the case.
#pragma once

#include <memory>
#include <vector>

#include "vlix/object.h"

namespace vlix::bench {

// `count` empty vector records side by side.
inline std::shared_ptr<VlixVector[]> output_vectors(std::size_t count = 1) {
  return {new VlixVector[count](), [count](VlixVector* vectors) {
            for (std::size_t i = 0; i < count; ++i) VlixVectorRelease(&vectors[i], 0);
            delete[] vectors;
          }};
}

template <class Element>
const Element* values_of(const VlixVector& vector) {
  return static_cast<const Element*>(vector.data);
}

}  // namespace vlix::bench
