// SPDX-License-Identifier: Apache-2.0
// Levels 0, 1 and 2 over all operations.
#include <gtest/gtest.h>

#include <set>

#include "support/all_exports.h"
#include "support/test_image.h"

namespace vlix::test {
namespace {

TEST(AllExports, EveryOneIsCovered) {
  std::set<std::string> names;
  for (const ExportCase& item : all_exports()) names.insert(item.export_name);
  EXPECT_EQ(names.size(), 30u);
}

TEST(AllExports, LevelsAgreeBitByBitWhereTheyMust) {
  for (const ExportCase& item : all_exports()) {
    if (!item.levels_agree) continue;
    SCOPED_TRACE(item.name);
    Outcome at[3];
    for (int32_t level : {0, 1, 2}) {
      const LevelScope scope(level);
      at[level] = item.run(nullptr);
      EXPECT_EQ(at[level].status, 0);
      EXPECT_FALSE(at[level].bytes.empty());
    }
    EXPECT_EQ(at[1], at[0]) << "level 1";
    EXPECT_EQ(at[2], at[0]) << "level 2";
  }
}

TEST(AllExports, TheSameCallGivesTheSameBytes) {
  for (int32_t level : {0, 1, 2}) {
    const LevelScope scope(level);
    for (const ExportCase& item : all_exports()) EXPECT_EQ(item.run(nullptr), item.run(nullptr)) << item.name;
  }
}

}  // namespace
}  // namespace vlix::test
