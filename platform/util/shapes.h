// SPDX-License-Identifier: Apache-2.0
// Shapes of the C interface, checked and turned into areas whose pixels can be listed.
#pragma once

#include <cstdint>
#include <type_traits>
#include <variant>

#include "util/geometry.h"
#include "util/polygon.h"
#include "util/round_areas.h"
#include "vlix/util.h"

namespace vlix::util {

class RectArea {
 public:
  explicit RectArea(const Box& box)
      : columns_(whole_numbers(box.low.x, box.high.x)), rows_(whole_numbers(box.low.y, box.high.y)) {}

  template <class Emit>
  void each_run(Emit emit) const {
    if (columns_.first >= columns_.end) return;
    for (int32_t y = rows_.first; y < rows_.end; ++y) emit(y, columns_.first, columns_.end);
  }

 private:
  Span columns_;
  Span rows_;
};

// Why a shape is refused; a text for a report.
struct Refusal {
  const char* reason;
};

using Area = std::variant<Refusal, RectArea, PolygonArea, EllipseArea, RingSectorArea>;

// Throws std::bad_alloc.
Area area_of(const VlixShape* shape);

// Bytes of the tables that the area of a shape needs.
int64_t table_bytes(const VlixShape& shape) noexcept;

// Calls emit(y, begin, end) for the runs of an area that is not a refusal: row by row, from left to right.
template <class Emit>
void each_run(Area& area, Emit emit) {
  std::visit(
      [&](auto& a) {
        if constexpr (!std::is_same_v<decltype(a), Refusal&>) a.each_run(emit);
      },
      area);
}

}  // namespace vlix::util
