// The line the machine's gauge draws; the drawing itself, on a terminal and off one, is checked
// end to end through ovrun (tests/split_merge_e2e_test.cpp).
#include "host/gauge.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace ovhost {
namespace {

TEST(GaugeLine, ShowsTheShareOfTheRangeWithOneDecimalWithinZeroAndAHundred) {
    struct {
        int nLine;
        int nPosition, nMin, nMax;
        const char* pszAttendu;
    } const tabCas[] = {
        {__LINE__, 375, 0, 1000, "\r fDecoupe  37.5 %"},
        {__LINE__, 0, 0, 1000, "\r fDecoupe   0.0 %"},
        {__LINE__, 1000, 0, 1000, "\r fDecoupe 100.0 %"},
        {__LINE__, 1999, 1000, 3000, "\r fDecoupe  49.9 %"},
        {__LINE__, 1500, 0, 1000, "\r fDecoupe 100.0 %"},  // past the end
        {__LINE__, -5, 0, 1000, "\r fDecoupe   0.0 %"},    // before the start
        {__LINE__, 0, INT_MIN, INT_MAX, "\r fDecoupe  50.0 %"},  // the widest range, no overflow
        {__LINE__, INT_MAX, INT_MIN, INT_MAX, "\r fDecoupe 100.0 %"},
        {__LINE__, 5, 5, 5, "\r fDecoupe 100.0 %"},  // an empty range is done once reached
        {__LINE__, 4, 5, 5, "\r fDecoupe   0.0 %"},
    };
    for (const auto& c : tabCas)
        EXPECT_EQ(sLigneJauge("fDecoupe", c.nPosition, c.nMin, c.nMax), c.pszAttendu) << "row " << c.nLine;
}

}  // namespace
}  // namespace ovhost
