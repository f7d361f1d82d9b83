// SPDX-License-Identifier: Apache-2.0
// FFTW behind the transform.
//
// FFTW's planner is one per process and per precision, and not safe by itself; this file is linked into two libraries,
// and the application may use FFTW too. A lock of our own would guard neither the other library nor the application.
// FFTW's planner hooks do: they live in FFTW's shared library, so that everyone who makes or destroys a plan in this
// process takes the same lock. They are set while our library is loaded, which is normally before there is a second
// thread; setting them again is harmless. Execution needs no lock.

#include <fftw3.h>

#include <new>

#include "fourier/cache.h"
#include "fourier/transform.h"
#include "memory/aligned_array.h"

namespace vlix::fourier {
namespace {

template <class Real>
struct Fftw;

template <>
struct Fftw<float> {
  using Plan = fftwf_plan;
  using Complex = fftwf_complex;
  static constexpr auto plan = fftwf_plan_dft_1d;
  static constexpr auto execute = fftwf_execute_dft;
  static constexpr auto destroy = fftwf_destroy_plan;
};

template <>
struct Fftw<double> {
  using Plan = fftw_plan;
  using Complex = fftw_complex;
  static constexpr auto plan = fftw_plan_dft_1d;
  static constexpr auto execute = fftw_execute_dft;
  static constexpr auto destroy = fftw_destroy_plan;
};

[[gnu::constructor]] void make_planners_thread_safe() {
  fftwf_make_planner_thread_safe();
  fftw_make_planner_thread_safe();
}

template <class Real>
class Plan {
 public:
  using Api = Fftw<Real>;

  // Estimated, not timed: a plan must not depend on how busy the machine is. Estimating leaves the arrays alone; only
  // their alignment matters.
  Plan(int32_t length, int sign) {
    // FFTW ends the process when it runs out of memory: see first that there is more than a plan takes.
    memory::aligned_array<typename Api::Complex>(4 * static_cast<std::size_t>(length));
    const auto in = memory::aligned_array<typename Api::Complex>(static_cast<std::size_t>(length));
    const auto out = memory::aligned_array<typename Api::Complex>(static_cast<std::size_t>(length));
    plan_ = Api::plan(length, in.get(), out.get(), sign, FFTW_ESTIMATE);
    if (plan_ == nullptr) throw std::bad_alloc();
  }
  ~Plan() { Api::destroy(plan_); }
  Plan(const Plan&) = delete;
  Plan& operator=(const Plan&) = delete;

  void execute(const std::complex<Real>* in, std::complex<Real>* out) const {
    auto* source = reinterpret_cast<typename Api::Complex*>(const_cast<std::complex<Real>*>(in));
    Api::execute(plan_, source, reinterpret_cast<typename Api::Complex*>(out));
  }

 private:
  typename Api::Plan plan_;
};

template <class Real>
class FftwTransform final : public Transform<Real> {
 public:
  using Complex = std::complex<Real>;
  explicit FftwTransform(int32_t length) : forward_(length, FFTW_FORWARD), inverse_(length, FFTW_BACKWARD) {}
  void forward(const Complex* in, Complex* out) const override { forward_.execute(in, out); }
  void inverse(const Complex* in, Complex* out) const override { inverse_.execute(in, out); }

 private:
  Plan<Real> forward_;
  Plan<Real> inverse_;
};

}  // namespace

template <class Real>
std::shared_ptr<const Transform<Real>> Transform<Real>::of(int32_t length) noexcept try {
  if (length < 1) return nullptr;
  // Never destroyed: other threads may still transform while the program ends.
  static auto& recent = *new RecentLengths<Transform>();
  return recent.get(length, [](int32_t n) { return std::make_shared<const FftwTransform<Real>>(n); });
} catch (const std::bad_alloc&) {
  return nullptr;
}

double transform_cost(int32_t length) noexcept {
  const double per_point = length <= 640 ? 1.05 : length <= 1280 ? 1.2 : length <= 2560 ? 1.45 : 2.5;
  return per_point * length;
}

template class Transform<float>;
template class Transform<double>;

}  // namespace vlix::fourier
