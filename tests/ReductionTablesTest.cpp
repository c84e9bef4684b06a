// Tests of the reduction tables: every entry of every table.
#include "ReductionTables.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

struct Case {
  const char* name;
  const ReductionTable& table;
  std::vector<unsigned> firsts;  // the least sample of each level
};

TEST(ReductionTables, EachLevelBeginsAtItsSample) {
  const Case kCases[] = {
      {"2 levels", Reduce256To2Tbl, {0, 140}},
      {"3 levels", Reduce256To3Tbl, {0, 86, 171}},
      {"4 levels", Reduce256To4Tbl, {0, 64, 128, 192}},
      {"5 levels", Reduce256To5Tbl, {0, 52, 103, 154, 205}},
      {"6 levels", Reduce256To6Tbl, {0, 43, 86, 128, 171, 214}},
      {"16 levels",
       Reduce256To16Tbl,
       {0, 16, 32, 48, 64, 80, 96, 112, 128, 144, 160, 176, 192, 208, 224, 240}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    unsigned level = 0;
    for (unsigned v = 0; v < 256; ++v) {
      if (level + 1 < c.firsts.size() && v == c.firsts[level + 1]) ++level;
      EXPECT_EQ(c.table.at(v), level) << "sample " << v;
    }
  }
}

TEST(ReductionTables, NoConversionIsTheIdentity) {
  for (unsigned v = 0; v < 256; ++v) EXPECT_EQ(ReduceNoConvertTbl.at(v), v);
}

TEST(ReductionTables, TwoLevelsTurnAt140) {
  EXPECT_EQ(Reduce256To2Tbl[139], 0);
  EXPECT_EQ(Reduce256To2Tbl[140], 1);
}

TEST(ReductionTables, TheRawMarkerIsAllOnes) {
  EXPECT_EQ(reinterpret_cast<uintptr_t>(rawSamplesMarker()), UINTPTR_MAX);
}

}  // namespace
