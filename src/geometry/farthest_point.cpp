// SPDX-License-Identifier: Apache-2.0
#include "geometry/farthest_point.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

#include "frame/multiversion.h"

namespace vlix {
namespace {

// Cheap distances, squared; returns the largest one.
VLIX_MULTIVERSION double evaluate(const CheapLine& line, const float* __restrict x, const float* __restrict y,
                                  const double* __restrict excess, int32_t count, double* __restrict squared) {
  const double c = line.cosine;
  const double s = line.sine;
  const double rho = line.rho;
  for (int32_t i = 0; i < count; ++i) {
    const double px = x[i];
    const double py = y[i];
    const double across = py * c - px * s - rho;
    const double shift = excess[i] * (px * c + py * s);
    squared[i] = across * across + shift * shift;
  }
  // Squares are not negative, so that they compare like their bits, which the compiler vectorises.
  int64_t largest = 0;
  for (int32_t i = 0; i < count; ++i) largest = std::max(largest, std::bit_cast<int64_t>(squared[i]));
  return std::bit_cast<double>(largest);
}

// The largest of the distances, and of those that equal it the lowest index. Floats that are not negative compare like
// their bits.
VLIX_MULTIVERSION int32_t index_of_largest(const float* __restrict distance, const int32_t* __restrict index,
                                           int32_t count) {
  int32_t largest = 0;
  for (int32_t i = 0; i < count; ++i) largest = std::max(largest, std::bit_cast<int32_t>(distance[i]));
  int32_t lowest = std::numeric_limits<int32_t>::max();
  for (int32_t i = 0; i < count; ++i) {
    const int32_t other = std::bit_cast<int32_t>(distance[i]) != largest ? std::numeric_limits<int32_t>::max() : 0;
    lowest = std::min(lowest, index[i] | other);
  }
  return lowest;
}

// An odd number without a pattern, near 2^64 divided by the golden ratio.
constexpr uint64_t kHashFactor = 0x9E3779B97F4A7C15u;

// Two stated distances whose cheap ones differ by more than this are in the same order, also as 32-bit floats: both
// errors, and two units of the float.
double margin_of(double distance, double error) { return 2.0 * error + 0x1p-22 * distance + 0x1p-147; }

// The square of a cheap distance below which a place is not the farthest one.
double least_square(double largest, double error) {
  const double least = largest - margin_of(largest, error);
  return least > 0.0 ? least * least * (1.0 - 0x1p-50) : 0.0;
}

}  // namespace

// Fills x_, y_, index_, next_ and count_. From the last point on, so that the first one of a place comes to stand for
// it.
bool FarthestPoint::make_places(const PointF32* points, int32_t count) {
  const std::size_t size = std::bit_ceil(2 * static_cast<std::size_t>(count));
  const auto table = HeapArray<int32_t>::zeroed(size);  // slots, from 1 on
  if (!table) return false;
  count_ = 0;
  for (int32_t point = count - 1; point >= 0; --point) {
    const auto bits = std::bit_cast<uint64_t>(points[point]);
    std::size_t at = static_cast<std::size_t>(bits * kHashFactor >> 32) & (size - 1);
    while (table[at] != 0 && std::bit_cast<uint64_t>(place(table[at] - 1)) != bits) at = (at + 1) & (size - 1);
    const bool is_new = table[at] == 0;
    if (is_new) table[at] = ++count_;
    const auto slot = static_cast<std::size_t>(table[at] - 1);
    next_[static_cast<std::size_t>(point)] = is_new ? -1 : index_[slot];
    x_[slot] = points[point].x;
    y_[slot] = points[point].y;
    index_[slot] = point;
  }
  return true;
}

bool FarthestPoint::set(const PointF32* points, int32_t count) {
  const auto n = static_cast<std::size_t>(count);
  x_ = HeapArray<float>::uninitialised(n);
  y_ = HeapArray<float>::uninitialised(n);
  excess_ = HeapArray<double>::uninitialised(n);
  squared_ = HeapArray<double>::uninitialised(n);
  index_ = HeapArray<int32_t>::uninitialised(n);
  next_ = HeapArray<int32_t>::uninitialised(n);
  stored_ = HeapArray<float>::zeroed(n);
  if (!x_ || !y_ || !excess_ || !squared_ || !index_ || !next_ || !stored_) return false;
  if (!make_places(points, count)) return false;

  float low_x = x_[0], high_x = low_x, low_y = y_[0], high_y = low_y;
  for (int32_t slot = 0; slot < count_; ++slot) {
    const auto i = static_cast<std::size_t>(slot);
    const PointF32 p = place(slot);
    if (!has_cheap_distance(p)) return false;
    excess_[i] = radius_excess(p);
    excess_magnitude_ = std::max(excess_magnitude_, std::fabs(excess_[i]));
    low_x = std::min(low_x, p.x);
    high_x = std::max(high_x, p.x);
    low_y = std::min(low_y, p.y);
    high_y = std::max(high_y, p.y);
  }
  const double far_x = std::max(std::fabs(low_x), std::fabs(high_x));
  const double far_y = std::max(std::fabs(low_y), std::fabs(high_y));
  radius_ = radius_bound(far_x, far_y);
  centre_x_ = (static_cast<double>(low_x) + high_x) / 2;
  centre_y_ = (static_cast<double>(low_y) + high_y) / 2;
  half_width_ = (static_cast<double>(high_x) - low_x) / 2 * 1.001;
  half_height_ = (static_cast<double>(high_y) - low_y) / 2 * 1.001;
  return true;
}

// By how much the cheap distance of any point can have changed since the last sorting. The offset of a line is measured
// at the centre of the points; a line whose angle has left (-pi/2, pi/2] on one side and come back on the other has all
// signs reversed, which no distance notices.
double FarthestPoint::drift_to(const CheapLine& line) const {
  const auto offset = [&](const CheapLine& l) { return centre_y_ * l.cosine - centre_x_ * l.sine - l.rho; };
  const auto moved = [&](double sign) {
    const double turn_c = std::fabs(line.cosine - sign * sorted_for_.cosine);
    const double turn_s = std::fabs(line.sine - sign * sorted_for_.sine);
    const double across =
        half_height_ * turn_c + half_width_ * turn_s + std::fabs(offset(line) - sign * offset(sorted_for_));
    const double shift = excess_magnitude_ * radius_ * (turn_c + turn_s);
    return across + shift;
  };
  return std::min(moved(1.0), moved(-1.0)) + line.error(radius_) + sorted_for_.error(radius_);
}

bool FarthestPoint::limit_holds(const CheapLine& line, double largest) const {
  return front_ == count_ || limit_ + drift_to(line) <= largest - margin_of(largest, line.error(radius_));
}

// A distance that a small part of the points exceeds, clearly below the largest one.
double FarthestPoint::choose_limit(double largest, double error) const {
  constexpr int32_t kSample = 512;
  constexpr int32_t kAlwaysInFront = 64;
  constexpr int32_t kPart = 64;
  const int32_t wanted = count_ / kPart + kAlwaysInFront;
  if (wanted >= count_) return -1.0;
  double sample[kSample];
  const int32_t size = std::min(kSample, count_);
  for (int32_t i = 0; i < size; ++i) {
    sample[i] = squared_[static_cast<std::size_t>(int64_t{i} * count_ / size)];
  }
  const auto rank = static_cast<int32_t>(int64_t{size} * (count_ - wanted) / count_);
  std::nth_element(sample, sample + rank, sample + size);
  return std::min(std::sqrt(sample[rank]), largest - 2.0 * margin_of(largest, error));
}

void FarthestPoint::swap_slots(int32_t a, int32_t b) {
  const auto i = static_cast<std::size_t>(a);
  const auto k = static_cast<std::size_t>(b);
  std::swap(x_[i], x_[k]);
  std::swap(y_[i], y_[k]);
  std::swap(excess_[i], excess_[k]);
  std::swap(squared_[i], squared_[k]);
  std::swap(index_[i], index_[k]);
  std::swap(stored_[i], stored_[k]);
}

void FarthestPoint::sort_out(const CheapLine& line) {
  const double largest = std::sqrt(evaluate(line, x_.get(), y_.get(), excess_.get(), count_, squared_.get()));
  limit_ = choose_limit(largest, line.error(radius_));
  sorted_for_ = line;
  // What equals the limit goes to the front: a root that was rounded down must not hide a point.
  const double square = limit_ < 0.0 ? -1.0 : limit_ * limit_ * (1.0 - 0x1p-50);
  front_ = 0;
  for (int32_t i = 0; i < count_; ++i) {
    if (squared_[static_cast<std::size_t>(i)] > square) swap_slots(i, front_++);
  }
}

int32_t FarthestPoint::find(const Line& line) {
  if (all_stored_ && line.phi == stored_for_.phi && line.rho == stored_for_.rho) {
    found_ = slot_of_largest_stored();
    return index_[static_cast<std::size_t>(found_)];
  }
  const CheapLine cheap(line);
  found_ = decide(line, cheap, evaluate_front(cheap)).slot;
  return index_[static_cast<std::size_t>(found_)];
}

int32_t FarthestPoint::find(const LooseLine& line) {
  const CheapLine cheap(line.line, line.doubt);
  const double least = least_square(evaluate_front(cheap), cheap.error(radius_));
  int32_t candidates = 0;
  for (int32_t slot = 0; slot < front_; ++slot) {
    if (squared_[static_cast<std::size_t>(slot)] < least) continue;
    if (++candidates > 1) return -1;
    found_ = slot;
  }
  return index_[static_cast<std::size_t>(found_)];
}

// Moves to the front what may be the farthest place; returns its cheap distance.
double FarthestPoint::evaluate_front(const CheapLine& line) {
  double largest = std::sqrt(evaluate(line, x_.get(), y_.get(), excess_.get(), front_, squared_.get()));
  if (front_ == 0 || !limit_holds(line, largest)) {
    sort_out(line);
    largest = std::sqrt(evaluate(line, x_.get(), y_.get(), excess_.get(), front_, squared_.get()));
  }
  return largest;
}

int32_t FarthestPoint::slot_of_largest_stored() const {
  const int32_t* first = index_.get();
  const int32_t wanted = index_of_largest(stored_.get(), first, count_);
  return static_cast<int32_t>(std::find(first, first + count_, wanted) - first);
}

// Among the places in front whose cheap distance does not rule them out.
FarthestPoint::Best FarthestPoint::decide(const Line& line, const CheapLine& cheap, double largest) {
  const LineDistance distance(line);
  const double error = cheap.error(radius_);
  const double least_squared = least_square(largest, error);
  Best best = {-1.0f, 0};
  int32_t candidates = 0;
  for (int32_t slot = 0; slot < front_; ++slot) {
    const auto i = static_cast<std::size_t>(slot);
    if (squared_[i] < least_squared) continue;
    ++candidates;
    stored_[i] = stored_distance(distance, {x_[i], y_[i]}, std::sqrt(squared_[i]), error);
    const bool earlier = index_[i] < index_[static_cast<std::size_t>(best.slot)];
    if (stored_[i] > best.distance || (stored_[i] == best.distance && earlier)) best = {stored_[i], slot};
  }
  all_stored_ = candidates == count_;
  stored_for_ = line;
  return best;
}

void FarthestPoint::remove_found() {
  const auto found = static_cast<std::size_t>(found_);
  const int32_t next = next_[static_cast<std::size_t>(index_[found])];
  if (next >= 0) {
    index_[found] = next;
    return;
  }
  // The hole moves to the end of the front, then to the end of the places. Stored distances of all places hold on.
  if (found_ < front_) {
    --front_;
    swap_slots(found_, front_);
    found_ = front_;
  }
  --count_;
  swap_slots(found_, count_);
}

}  // namespace vlix
