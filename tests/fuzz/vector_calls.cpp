// SPDX-License-Identifier: Apache-2.0
#include "histogram/vector_diff_twin.h"
#include "trial.h"

namespace vlix::fuzz {
namespace {

// A numeric vector of any type, and its elements as the definition reads them.
struct Operand {
  VlixVector record = {};
  std::vector<double> elements;
  std::shared_ptr<void> memory;
};

template <class T>
Operand make_operand(Bytes& bytes, int32_t count, ObjType code) {
  auto vector = std::make_shared<test::TestVector<T>>(bytes.values<T>(static_cast<std::size_t>(count)));
  Operand operand;
  operand.elements.assign(vector->data(), vector->data() + count);
  operand.record = vector->record;
  operand.record.type = code;
  operand.memory = vector;
  return operand;
}

Operand any_operand(Bytes& bytes, int32_t count) {
  switch (bytes.integer(0, 8)) {
    case 0: return make_operand<int8_t>(bytes, count, ObjType_S8);
    case 1: return make_operand<uint8_t>(bytes, count, ObjType_U8);
    case 2: return make_operand<int16_t>(bytes, count, ObjType_S16);
    case 3: return make_operand<uint16_t>(bytes, count, ObjType_U16);
    case 4: return make_operand<int32_t>(bytes, count, ObjType_S32);
    case 5: return make_operand<uint32_t>(bytes, count, ObjType_U32);
    case 6: return make_operand<uint32_t>(bytes, count, ObjType_U32Alt);
    case 7: return make_operand<float>(bytes, count, ObjType_F32);
    default: return make_operand<double>(bytes, count, ObjType_F64);
  }
}

void call_vector_diff(Bytes& bytes, RecordingPlatform& platform) {
  Trial trial(bytes, platform);
  const int32_t count = bytes.integer(0, 40);
  Operand a = any_operand(bytes, count);
  Operand b = any_operand(bytes, bytes.rarely(10) ? bytes.integer(0, 40) : count);
  if (bytes.rarely(16)) a.record.type = ObjType_Rgba8;
  if (bytes.rarely(16)) b.record.type = ObjType_PointF32;
  const int32_t op = bytes.integer(-1, 6);
  const int32_t normalise = bytes.integer(0, 2);
  const bool wanted = !bytes.rarely(10);
  constexpr double kUntouched = 5.5;
  double result = kUntouched;

  trial.call(vlix_vectorDiff, &a.record, &b.record, wanted ? &result : nullptr, op, normalise);

  std::vector<Report> expected;
  if (a.record.type == ObjType_Rgba8) {
    expected = {wrong_type("vectorDiff", a.record.type)};
  } else if (b.record.type == ObjType_PointF32) {
    expected = {wrong_type("vectorDiff", b.record.type)};
  } else if (a.record.count != b.record.count) {
    expected = {message("vectorDiff: input vectors must be the same size\n")};
  } else if (wanted && a.record.count > 0 && (op < 0 || op > 4)) {
    expected = {message("vectorDiff: unknown operation code %d\n",
                        "vectorDiff: unknown operation code " + std::to_string(op) + "\n")};
  }
  if (!trial.succeeds(expected) || !wanted) {
    FUZZ_CHECK(same(result, kUntouched));
  } else {
    FUZZ_CHECK(same(result, test::vector_diff_twin(a.elements, b.elements, op, normalise)));
  }
}

}  // namespace

void call_vector_family(Bytes& bytes, RecordingPlatform& platform) { call_vector_diff(bytes, platform); }

}  // namespace vlix::fuzz
