// Compresse and Decompresse through the stand-in machine: wide texts come back as texts and
// buffers as buffers with every method, bad methods and damaged buffers are refused with their
// numbered errors, and the same road from the command line.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/machine_fixture.h"
#include "tests/ovrun_process.h"

namespace ovhost {
namespace {

class BlockCompressionEndToEnd : public MachineEndToEnd {
protected:
    CValue clAllerRetour(const CValue& clValeur, int nMethode) {
        const STCallOutcome stCompresse = stCall("Compresse", {clValeur, CValue::Int(nMethode)});
        EXPECT_FALSE(stCompresse.bError) << "method " << nMethode;
        EXPECT_EQ(stCompresse.clResult.eKind, EValueKind::Buffer);
        const STCallOutcome stRetour = stCall("Decompresse", {stCompresse.clResult});
        EXPECT_FALSE(stRetour.bError) << "error " << stRetour.stError.nCode;
        return stRetour.clResult;
    }
};

TEST_F(BlockCompressionEndToEnd, TextsAndBuffersComeBackWithEveryMethod) {
    const std::wstring sTexte = L"\u00c9l\u00e9gant \u00e9t\u00e9 \U0001F600, No\u00ebl \u00e0 l\u2019\u00e9cole";
    std::string sOctets("\x00\x01\xff binaire \x00", 13);
    for (int n = 0; n < 3000; ++n) sOctets += static_cast<char>(n * 7 % 13);
    for (int nMethode = 0; nMethode <= 2; ++nMethode) {
        const CValue clTexte = clAllerRetour(CValue::Text(sTexte), nMethode);
        EXPECT_EQ(clTexte.eKind, EValueKind::Text) << "method " << nMethode;
        EXPECT_EQ(clTexte.sText, sTexte) << "method " << nMethode;
        const CValue clBuffer = clAllerRetour(CValue::Buffer(sOctets), nMethode);
        EXPECT_EQ(clBuffer.eKind, EValueKind::Buffer) << "method " << nMethode;
        EXPECT_EQ(clBuffer.sBytes, sOctets) << "method " << nMethode;
    }
    EXPECT_EQ(clAllerRetour(CValue::Text(L""), 1).sText, L"");
}

TEST_F(BlockCompressionEndToEnd, BadMethodsAndDamagedBuffersRaiseTheirErrors) {
    const STCallOutcome stMethode = stCall("Compresse", {CValue::Text(L"\u00e9t\u00e9"), CValue::Int(3)});
    EXPECT_EQ(stMethode.stError.nCode, 80550);
    EXPECT_EQ(stMethode.clResult.sBytes, "");
    const struct {
        int nLigne;
        std::string sBuffer;
        int nErreur;
    } tabCas[] = {
        {__LINE__, std::string("\x02\x03\x00\x00\x00\x00\x00\x00\x00", 9), 80550},
        {__LINE__, std::string("\x02\x01\x00\x00\x00\x04\x09", 7), 80700},
        {__LINE__, std::string("\x02\x00\x00\x00\x00\x09\x00\x00\x00\x41", 10), 80700},
    };
    for (const auto& c : tabCas) {
        const STCallOutcome st = stCall("Decompresse", {CValue::Buffer(c.sBuffer)});
        EXPECT_TRUE(st.bError) << "row " << c.nLigne;
        EXPECT_EQ(st.stError.nCode, c.nErreur) << "row " << c.nLigne;
        EXPECT_EQ(st.clResult.eKind, EValueKind::Null) << "row " << c.nLigne;
    }
}

TEST(BlockCompressionOvrun, TextAndBufferRoundTripsFromTheCommandLine) {
    const ovtest::STSortieOvrun st = ovtest::stLanceOvrun(
        OVRUN_PATH, {"-e", "Decompresse(Compresse(\"\u00c9l\u00e9gant \u00e9t\u00e9 \U0001F600\", 1))", "-e",
                     "Decompresse(Compresse(x\"00FF41000102\", 2))", "-e", "Compresse(\"abc\", 7)"});
    EXPECT_EQ(st.nStatus, 0);
    EXPECT_EQ(st.sTexte,
              "\u00c9l\u00e9gant \u00e9t\u00e9 \U0001F600\nx\"00ff41000102\"\nx\"\"\n"
              "error 80550 (level 3): Invalid compression method.\n");
}

}  // namespace
}  // namespace ovhost
