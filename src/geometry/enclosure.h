// SPDX-License-Identifier: Apache-2.0
// Doubles with a bound of what they can be off, for proofs at run time that a rounded result cannot change.
#pragma once

#include <cmath>
#include <limits>

namespace vlix {

// Stands for every number in [mid - radius, mid + radius]. The rule of all operators: for any a in A and b in B, the
// exact a op b and the rounded double of a op b both lie in A op B. Hence an expression of enclosures holds the result
// of the same expression in doubles, whichever members of the operands that started with.
//
// Why the rule holds: with unit roundoff e = 2^-53, the rounded result differs from the exact one by at most
// e |exact|, and so does mid from the result of the exact mids; together less than 4 e |mid| plus what kInflate adds to
// the propagated radii. kInflate also covers the few roundings of the radius itself, all of whose terms are positive,
// and kTiny what underflow loses. An infinite or undefined radius is a valid answer: nothing is then known.
struct Enclosure {
  double mid = 0.0;
  double radius = 0.0;

  static constexpr double kRounding = 0x1p-51;
  static constexpr double kInflate = 1.0 + 0x1p-40;
  static constexpr double kTiny = 1e-300;

  static Enclosure around(double mid, double propagated) {
    return {mid, propagated * kInflate + (kRounding * std::fabs(mid) + kTiny)};
  }
  double low() const { return mid - radius * kInflate; }
  double high() const { return mid + radius * kInflate; }
  // The largest magnitude.
  double magnitude() const { return (std::fabs(mid) + radius) * kInflate; }
};

inline Enclosure operator+(const Enclosure& a, const Enclosure& b) {
  return Enclosure::around(a.mid + b.mid, a.radius + b.radius);
}
inline Enclosure operator-(const Enclosure& a, const Enclosure& b) {
  return Enclosure::around(a.mid - b.mid, a.radius + b.radius);
}
inline Enclosure operator*(const Enclosure& a, const Enclosure& b) {
  return Enclosure::around(a.mid * b.mid,
                           std::fabs(a.mid) * b.radius + std::fabs(b.mid) * a.radius + a.radius * b.radius);
}

// |a / b - A / B| <= (radius of A + |A / B| radius of B) / |b|, capital letters for the mids.
inline Enclosure operator/(const Enclosure& a, const Enclosure& b) {
  const double smallest = std::fabs(b.mid) - b.radius * Enclosure::kInflate;
  if (!(smallest > 0.0)) return {0.0, std::numeric_limits<double>::infinity()};
  const double mid = a.mid / b.mid;
  return Enclosure::around(mid, (a.radius + std::fabs(mid) * b.radius) / smallest);
}

// |sqrt(a) - sqrt(A)| = |a - A| / (sqrt(a) + sqrt(A)).
inline Enclosure sqrt(const Enclosure& a) {
  if (!(a.low() > 0.0)) return {0.0, std::numeric_limits<double>::infinity()};
  const double mid = std::sqrt(a.mid);
  return Enclosure::around(mid, a.radius / mid);
}

}  // namespace vlix
