// Random numbers and colours: bounds and byte layout.
#include <gtest/gtest.h>

#include <climits>
#include <set>

#include "component/composante.h"
#include "numeric/hasard.h"

namespace {

TEST(Hasard, StaysWithinBothBoundsInEitherOrder) {
    std::set<int> setVus;
    for (int i = 0; i < 2000; ++i) {
        int n = CHasard::s_nHasard(5, 1);
        ASSERT_GE(n, 1);
        ASSERT_LE(n, 5);
        setVus.insert(n);
    }
    EXPECT_EQ(setVus.size(), 5u) << "both bounds are reachable";
    EXPECT_EQ(CHasard::s_nHasard(7, 7), 7);
}

TEST(Hasard, ExtremeBoundsDoNotOverflow) {
    for (int i = 0; i < 100; ++i) {
        int n = CHasard::s_nHasard(INT_MIN, INT_MAX);
        (void)n;  // any int is in range; the point is no signed overflow under the sanitizer
    }
    for (int i = 0; i < 100; ++i) ASSERT_GE(CHasard::s_nHasard(INT_MAX - 1, INT_MAX), INT_MAX - 1);
}

TEST(Hasard, ReleaseDeletesAtZero) {
    IHasard* pi = new CHasard;
    EXPECT_EQ(pi->AddRef(), 2);
    EXPECT_EQ(pi->Release(), 1);
    EXPECT_EQ(pi->Release(), 0);  // deleted here; the sanitizer catches a leak or a double free
}

TEST(Colour, ComponentsCarryIntoTheNextByteAndReadBack) {
    CComposanteStandard cl;
    int n = cl.RVB(1, 2, 3);
    EXPECT_EQ(n, 1 + 2 * 256 + 3 * 65536);
    EXPECT_EQ(cl.RVBRouge(n), 1);
    EXPECT_EQ(cl.RVBVert(n), 2);
    EXPECT_EQ(cl.RVBBleu(n), 3);
    EXPECT_EQ(cl.RVB(256, 0, 0), 256) << "red above 255 spills into green";
    EXPECT_EQ(cl.RVBVert(cl.RVB(256, 0, 0)), 1);
    EXPECT_EQ(cl.RVBRouge(-1), 255);
}

TEST(Parity, NegativeNumbersAndExtremes) {
    CComposanteStandard cl;
    EXPECT_TRUE(cl.EstPair(0));
    EXPECT_TRUE(cl.EstPair(-4));
    EXPECT_TRUE(cl.EstImpair(-3));
    EXPECT_TRUE(cl.EstPair(INT_MIN));
    EXPECT_TRUE(cl.EstImpair(INT_MAX));
}

}  // namespace
