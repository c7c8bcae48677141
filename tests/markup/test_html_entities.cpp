#include "norvane/markup/html_entities.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

using namespace norvane;

namespace {

std::u16string Name(const THtEntity* e) { return e ? std::u16string(e->Name()) : u"<none>"; }

TEST(HtmlEntities, TableFacts) {
  const auto rows = HtEntities();
  ASSERT_EQ(rows.size(), 2125u);
  int above = 0;
  uint32_t max = 0;
  for (size_t i = 0; i < rows.size(); ++i) {
    EXPECT_EQ(rows[i].Key.Length, int32_t(rows[i].Name().size()));
    if (i) {
      EXPECT_LT(rows[i - 1].Name(), rows[i].Name()) << "sorted, no duplicates, at row " << i;
    }
    above += rows[i].Code > 0xFFFF;
    max = std::max(max, rows[i].Code);
  }
  EXPECT_EQ(above, 133);
  EXPECT_EQ(max, 120171u);
}

TEST(HtmlEntities, FindByName) {
  const THtEntityDictionary& d = GlobalEntityDictionary();
  EXPECT_EQ(d.Count(), 2125);
  struct Case {
    std::u16string_view name;
    uint32_t code;  // 0: absent
  } cases[] = {
      {u"amp", 38},
      {u"AMP", 38},       // case matters: two rows
      {u"Amp", 0},
      {u"acE", 8766},     // two code points: the first is kept
      {u"fjlig", 102},
      {u"nbsp", 160},
      {u"zopf", 120171},  // the largest code
      {u"CounterClockwiseContourIntegral", 8755},  // the longest name
      {u"amp;", 0},       // names carry no ";"
      {u"am", 0},
      {u"", 0},
  };
  for (const Case& c : cases) {
    const THtEntity* e = d.FindEntity(c.name);
    if (c.code == 0) {
      EXPECT_EQ(e, nullptr) << std::string(c.name.begin(), c.name.end());
    } else {
      ASSERT_NE(e, nullptr) << std::string(c.name.begin(), c.name.end());
      EXPECT_EQ(e->Code, c.code);
      EXPECT_EQ(e->Name(), c.name);
    }
  }
  // A name inside a longer text, by pointer and length.
  const char16_t text[] = u"&lt;&amp;x";
  EXPECT_EQ(Name(d.FindEntity(text + 5, 3)), u"amp");
  // Every row is found as itself.
  for (const THtEntity& e : HtEntities()) ASSERT_EQ(d.FindEntity(e.Name()), &e);
}

TEST(HtmlEntities, ReverseLookup) {
  const THtEntityReverseDictionary& r = GlobalEntityReverseDictionary();
  struct Case {
    int32_t code;
    std::u16string_view name;  // empty: no row
  } cases[] = {
      {38, u""},       // up to 255: printed as itself
      {160, u""},
      {338, u""},      // OElig, in 256-591
      {913, u""},      // Alpha, in 880-1279
      {1488, u""},     // in 1328-1871
      {8212, u""},     // mdash, in 8192-8351
      {8364, u"euro"},
      {8501, u"alefsym"},
      {8730, u"Sqrt"},  // "Sqrt" and "radic": the first in table order
      {8766, u"ac"},    // before "acE", which shares its first code
      {120171, u"zopf"},
      {65, u""},
      {0x10FFFF, u""},
  };
  for (const Case& c : cases) {
    const THtEntity* e = r.FindEntity(c.code);
    EXPECT_EQ(Name(e), c.name.empty() ? u"<none>" : std::u16string(c.name)) << c.code;
  }
  // Whole table: every code outside the skipped ranges maps to its first row.
  std::set<uint32_t> seen;
  for (const THtEntity& e : HtEntities()) {
    const bool skipped = THtEntityReverseDictionary::Skipped(int32_t(e.Code));
    if (skipped) {
      EXPECT_EQ(r.FindEntity(int32_t(e.Code)), nullptr);
    } else if (seen.insert(e.Code).second) {
      EXPECT_EQ(r.FindEntity(int32_t(e.Code)), &e);
    }
  }
  EXPECT_EQ(r.Count(), int32_t(seen.size()));
  EXPECT_EQ(r.Count(), 995);
}

}  // namespace
