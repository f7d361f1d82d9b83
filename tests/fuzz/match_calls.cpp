// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "match/nxcorr_twin.h"
#include "match/sod_twin.h"
#include "match/xcorr_twin.h"
#include "trial.h"

namespace vlix::fuzz {
namespace {

using test::TestImage;

// An image and a template of any of the 25 pairs of types; now and then one of them has a type that no operation takes.
template <class Target, class Template>
struct Pair {
  Pair(Bytes& bytes, int32_t most_width, int32_t most_height)
      : floats_are_tame(!bytes.rarely(4)),
        target(bytes.image<Target>(most_width, most_height, false, floats_are_tame)),
        templ(bytes.image<Template>(bytes.rarely(8) ? most_width + 2 : most_width / 3, most_height / 2 + 1, false,
                                    floats_are_tame)) {
    const auto wrong = [&] { return bytes.pick<uint32_t>({0, 8, 12, 18, 19, 36}); };
    if (bytes.rarely(16)) target->record.type = wrong();
    if (bytes.rarely(16)) templ->record.type = wrong();
  }
  bool target_is_wrong() const { return target->record.type != static_cast<uint32_t>(test::code_of<Target>()); }
  bool template_is_wrong() const { return templ->record.type != static_cast<uint32_t>(test::code_of<Template>()); }
  int32_t columns() const { return target->record.roiWidth - templ->record.roiWidth + 1; }
  int32_t rows() const { return target->record.roiHeight - templ->record.roiHeight + 1; }
  bool fits() const { return columns() >= 1 && rows() >= 1; }

  bool floats_are_tame;
  std::unique_ptr<TestImage<Target>> target;
  std::unique_ptr<TestImage<Template>> templ;
};

// ---- sod ----

template <class Target, class Template>
void call_sod(Bytes& bytes, RecordingPlatform& platform) {
  Trial trial(bytes, platform);
  Pair<Target, Template> pair(bytes, 20, 10);
  AnyImage dst(bytes, trial, ObjType_U16, pair.columns(), pair.rows());
  const bool in_place = bytes.rarely(32);
  VlixImage* const out = in_place ? &pair.target->record : dst.pointer();
  trial.call(vlix_sod, &pair.target->record, &pair.templ->record, out);
  std::vector<Report> expected;
  if (in_place) {
    expected = {message("sod: destination image should be different than source image\n")};
  } else if (pair.target_is_wrong()) {
    expected = {wrong_type("sod", pair.target->record.type)};
  } else if (pair.template_is_wrong()) {
    expected = {wrong_type("sod", pair.templ->record.type)};
  } else if (!pair.fits()) {
    expected = {message("sod: templateIm is larger than target\n")};
  }
  if (!trial.succeeds(expected) || out == nullptr) return;
  FUZZ_CHECK(dst.holds(ObjType_U16, pair.columns(), pair.rows(), test::sod_twin(*pair.target, *pair.templ)));
}

// ---- nxcorr ----

template <class Pixel>
bool is_finite(TestImage<Pixel>& image, int32_t x, int32_t y, int32_t width, int32_t height) {
  for (int32_t v = 0; v < height; ++v) {
    for (int32_t u = 0; u < width; ++u) {
      if (!std::isfinite(static_cast<float>(image.roi_at(x + u, y + v)))) return false;
    }
  }
  return true;
}

// What the primitives promise: 2e-6 around the coefficient, 0 where something is flat or not finite, never beyond 1.
// Floats of any size are only held to the latter.
template <class Target, class Template>
bool is_promised(Pair<Target, Template>& pair, float score, int32_t x, int32_t y) {
  if (!(std::abs(score) <= 1.0f)) return false;
  const VlixImage& t = pair.templ->record;
  if (!is_finite(*pair.templ, 0, 0, t.roiWidth, t.roiHeight) ||
      !is_finite(*pair.target, x, y, t.roiWidth, t.roiHeight)) {
    return score == 0.0f;
  }
  if (!pair.floats_are_tame) return true;
  const double exact = test::nxcorr_exact_at(*pair.target, *pair.templ, x, y);
  return exact == 0.0 ? std::abs(score) < 2e-6f : std::abs(score - exact) < 2e-6;
}

template <class Target, class Template>
void check_scores(Trial& trial, Pair<Target, Template>& pair, const AnyImage& dst) {
  FUZZ_CHECK(dst.is_shaped(ObjType_F32, pair.columns(), pair.rows()) && dst.margins_are_untouched());
  for (int32_t y = 0; y < pair.rows(); ++y) {
    for (int32_t x = 0; x < pair.columns(); ++x) {
      const float score = dst.at<float>(x, y);
      if (trial.level() != 0) {
        FUZZ_CHECK(is_promised(pair, score, x, y));
      } else {
        FUZZ_CHECK(same(score, test::nxcorr_twin_at(*pair.target, *pair.templ, x, y)));
      }
    }
  }
}

// The two routes through a primitive fail without a report, and the second one keeps the float copies.
template <class Target, class Template>
void finish_primitive_route(Trial& trial, Pair<Target, Template>& pair, const AnyImage& dst, bool directly) {
  if (!directly) {
    trial.keeps((std::is_same_v<Target, float> ? 0 : 1) + (std::is_same_v<Template, float> ? 0 : 1));
  }
  if (!pair.fits() || !dst.wanted) return trial.fails_silently();
  if (!trial.succeeds({})) return;
  // A failed shaping is ignored where copies are scored: the primitive takes what room there is.
  if (directly || !trial.is_disturbed()) check_scores(trial, pair, dst);
}

template <class Target, class Template>
void call_nxcorr(Bytes& bytes, RecordingPlatform& platform) {
  Trial trial(bytes, platform);
  Pair<Target, Template> pair(bytes, 40, 8);
  AnyImage dst(bytes, trial, ObjType_F32, pair.columns(), pair.rows());
  const bool in_place = bytes.rarely(32);
  trial.call(vlix_nxcorr, &pair.target->record, &pair.templ->record, in_place ? &pair.target->record : dst.pointer());
  constexpr bool kSameType = std::is_same_v<Target, Template>;
  const int copy_of_target = std::is_same_v<Target, float> ? 0 : 1;
  if (in_place) {
    trial.succeeds({message("nxcorr: destination image should be different than source image\n")});
  } else if (pair.target_is_wrong()) {
    trial.succeeds({wrong_type("nxcorr", pair.target->record.type)});
  } else if (pair.template_is_wrong()) {
    trial.keeps(copy_of_target);
    trial.succeeds({wrong_type("nxcorr", pair.templ->record.type)});
  } else if (trial.level() != 0) {
    finish_primitive_route(trial, pair, dst, kSameType && !std::is_same_v<Target, int16_t>);
  } else if (!pair.fits()) {
    if (trial.is_disturbed()) trial.keeps(copy_of_target);
    trial.succeeds({message("nxcorr: template is larger than target\n")});
  } else {
    // A template that the platform refuses leaves the copy of the target behind.
    if (trial.is_disturbed()) trial.keeps(copy_of_target);
    if (trial.succeeds({}) && dst.wanted) check_scores(trial, pair, dst);
  }
}

// ---- xCorr ----

template <class Target, class Template>
void call_xcorr(Bytes& bytes, RecordingPlatform& platform) {
  Trial trial(bytes, platform);
  Pair<Target, Template> pair(bytes, 14, 8);
  const int32_t width = pair.target->record.roiWidth;
  const int32_t height = pair.target->record.roiHeight;
  AnyImage dst(bytes, trial, ObjType_F32, width, height);
  trial.call(vlix_xCorr, &pair.target->record, &pair.templ->record, dst.pointer());
  std::vector<Report> expected;
  if (pair.target_is_wrong()) {
    expected = {wrong_type("xCorr", pair.target->record.type)};
  } else if (pair.template_is_wrong()) {
    expected = {wrong_type("xCorr", pair.templ->record.type)};
  }
  if (!trial.succeeds(expected) || !dst.wanted) return;
  FUZZ_CHECK(dst.is_shaped(ObjType_F32, width, height) && dst.margins_are_untouched());
  if (!pair.floats_are_tame) return;
  const std::vector<double> twin = test::xcorr_twin(*pair.target, *pair.templ);
  const double tolerance = test::xcorr_tolerance(*pair.target, *pair.templ);
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      const double expected_score = twin[static_cast<std::size_t>(y * width + x)];
      FUZZ_CHECK(std::abs(dst.at<float>(x, y) - expected_score) <= tolerance);
    }
  }
}

template <class Target, class Template>
void call_operation(Bytes& bytes, RecordingPlatform& platform) {
  switch (bytes.integer(0, 2)) {
    case 0: return call_sod<Target, Template>(bytes, platform);
    case 1: return call_nxcorr<Target, Template>(bytes, platform);
    default: return call_xcorr<Target, Template>(bytes, platform);
  }
}

template <class Target>
void call_with_target(Bytes& bytes, RecordingPlatform& platform) {
  // Most templates have their target's type.
  switch (bytes.integer(0, 7)) {
    case 0: return call_operation<Target, uint8_t>(bytes, platform);
    case 1: return call_operation<Target, int8_t>(bytes, platform);
    case 2: return call_operation<Target, uint16_t>(bytes, platform);
    case 3: return call_operation<Target, int16_t>(bytes, platform);
    case 4: return call_operation<Target, float>(bytes, platform);
    default: return call_operation<Target, Target>(bytes, platform);
  }
}

}  // namespace

void call_match_family(Bytes& bytes, RecordingPlatform& platform) {
  switch (bytes.integer(0, 4)) {
    case 0: return call_with_target<uint8_t>(bytes, platform);
    case 1: return call_with_target<int8_t>(bytes, platform);
    case 2: return call_with_target<uint16_t>(bytes, platform);
    case 3: return call_with_target<int16_t>(bytes, platform);
    default: return call_with_target<float>(bytes, platform);
  }
}

}  // namespace vlix::fuzz
