// SPDX-License-Identifier: Apache-2.0
// KissFFT behind the transform, for those who cannot use FFTW's licence. Both precisions are computed in double: its
// twiddle factors lose digits in single precision.

#include <kissfft.hh>
#include <new>
#include <vector>

#include "fourier/cache.h"
#include "fourier/transform.h"

namespace vlix::fourier {
namespace {

// Other factors go through scratch memory inside the kissfft object, which threads must not share.
bool has_other_factors_than_2_3_5(int32_t length) {
  for (const int32_t factor : {2, 3, 5}) {
    while (length % factor == 0) length /= factor;
  }
  return length > 1;
}

template <class Real>
class KissTransform final : public Transform<Real> {
 public:
  using Complex = std::complex<Real>;
  explicit KissTransform(int32_t length)
      : length_(static_cast<std::size_t>(length)),
        uses_scratch_(has_other_factors_than_2_3_5(length)),
        forward_(length_, false),
        inverse_(length_, true) {}
  void forward(const Complex* in, Complex* out) const override { run(forward_, in, out); }
  void inverse(const Complex* in, Complex* out) const override { run(inverse_, in, out); }

 private:
  using Kiss = kissfft<double>;

  void run(const Kiss& shared, const std::complex<double>* in, std::complex<double>* out) const {
    if (uses_scratch_) {
      Kiss(shared).transform(in, out);
    } else {
      shared.transform(in, out);
    }
  }

  void run(const Kiss& shared, const std::complex<float>* in, std::complex<float>* out) const {
    const std::vector<std::complex<double>> wide(in, in + length_);
    std::vector<std::complex<double>> result(length_);
    run(shared, wide.data(), result.data());
    for (std::size_t k = 0; k < length_; ++k) out[k] = std::complex<float>(result[k]);
  }

  std::size_t length_;
  bool uses_scratch_;
  Kiss forward_;
  Kiss inverse_;
};

}  // namespace

template <class Real>
std::shared_ptr<const Transform<Real>> Transform<Real>::of(int32_t length) noexcept try {
  if (length < 1) return nullptr;
  // Never destroyed: other threads may still transform while the program ends.
  static auto& recent = *new RecentLengths<Transform>();
  return recent.get(length, [](int32_t n) { return std::make_shared<const KissTransform<Real>>(n); });
} catch (const std::bad_alloc&) {
  return nullptr;
}

double transform_cost(int32_t length) noexcept { return 6.0 * length; }

template class Transform<float>;
template class Transform<double>;

}  // namespace vlix::fourier
