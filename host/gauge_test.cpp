// The machine's gauge as a user sees it: the line it draws, on a pseudo-terminal and on a pipe.
#include "host/gauge.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
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

// Drives one call of the gauge: positions that repeat, or differ without changing the text shown.
void UnAppel(CJaugeMachine& clJauge) {
    clJauge.DebutAppel("fRegroupe");
    clJauge.InitJauge(0, 1000);
    for (int n : {0, 0, 375, 375, 1000, 1000}) clJauge.MajJauge(n);
    clJauge.FinAppel();
    clJauge.DebutAppel("fRegroupe");  // a call that reports nothing draws nothing, not even a newline
    clJauge.FinAppel();
}

TEST(GaugeDrawing, RedrawsOnATerminalOnlyWhenTheTextChangesAndEndsTheLine) {
    const int nMaitre = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(nMaitre, 0);
    ASSERT_EQ(grantpt(nMaitre), 0);
    ASSERT_EQ(unlockpt(nMaitre), 0);
    const int nEsclave = open(ptsname(nMaitre), O_RDWR | O_NOCTTY);
    ASSERT_GE(nEsclave, 0);
    // Raw, so the terminal hands back exactly the bytes written (no CR added before the newline).
    struct termios st {};
    ASSERT_EQ(tcgetattr(nEsclave, &st), 0);
    cfmakeraw(&st);
    ASSERT_EQ(tcsetattr(nEsclave, TCSANOW, &st), 0);

    CDessinJauge clDessin(nEsclave);
    EXPECT_TRUE(clDessin.bActif());
    CJaugeMachine clJauge;
    clJauge.SetDessin(&clDessin);
    UnAppel(clJauge);

    std::string sLu;
    char sz[256];
    ASSERT_EQ(fcntl(nMaitre, F_SETFL, O_NONBLOCK), 0);
    for (ssize_t n; (n = read(nMaitre, sz, sizeof sz)) > 0;) sLu.append(sz, static_cast<size_t>(n));
    EXPECT_EQ(sLu, "\r fRegroupe   0.0 %\r fRegroupe  37.5 %\r fRegroupe 100.0 %\n");
    close(nEsclave);
    close(nMaitre);
}

TEST(GaugeDrawing, DrawsNothingOnAPipe) {
    int anTube[2];
    ASSERT_EQ(pipe(anTube), 0);
    CDessinJauge clDessin(anTube[1]);
    EXPECT_FALSE(clDessin.bActif());
    CJaugeMachine clJauge;
    clJauge.SetDessin(&clDessin);
    UnAppel(clJauge);
    close(anTube[1]);
    char c;
    EXPECT_EQ(read(anTube[0], &c, 1), 0);
    close(anTube[0]);
}

}  // namespace
}  // namespace ovhost
