// The serialisation buffer: strings in their four modes, bounds of every sized read, sections and
// the main header, lazy decoding of the coded region, nested buffers and blocks; golden files pin
// the binary forms (regenerate them with OV_REGENERATE_GOLDEN=1, then check them with
// tools/check_ov_buffer_golden.py, which reads them on its own).
#include "base/ov_buffer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "base/tstring.h"
#include "datetime/date_time.h"
#include "files/memory_stream.h"

namespace {

using TOctets = std::vector<uint8_t>;

const wchar_t* const kTexteFrancais = L"Élève à Noël: «ça coûte 5 €» \U0001D11E";
const wchar_t* const kTexte1252 = L"Élève à Noël: «ça coûte 5 €»";

TOctets Octets(const COVBuffer& clBuffer) {
    return TOctets(clBuffer.pbyGetData(), clBuffer.pbyGetData() + clBuffer.dwGetSize());
}

void Ecrit(COVBuffer* pclBuffer, const TOctets& tab) { ASSERT_TRUE(pclBuffer->SetAll(tab.data(), static_cast<unsigned long>(tab.size()))); }

// The marked form around raw bytes, with a size field that may lie.
TOctets Marque(const std::string& sTexte, uint32_t dwTaille) {
    TOctets tab = {0xff, 0xce, 0x88, 0xf1};
    for (int i = 0; i < 4; ++i) tab.push_back(static_cast<uint8_t>(dwTaille >> (8 * i)));
    tab.insert(tab.end(), sTexte.begin(), sTexte.end());
    tab.push_back(0);
    tab.insert(tab.end(), {0xfe, 0xed, 0x98, 0xe1});
    return tab;
}

// ---------------------------------------------------------------- data

TEST(OVBufferData, ReadsPastTheEndGiveOnlyWhatIsThere) {
    COVBuffer clBuffer;
    clBuffer << uint32_t{0x11223344} << uint16_t{0x5566};
    EXPECT_EQ(Octets(clBuffer), (TOctets{0x44, 0x33, 0x22, 0x11, 0x66, 0x55}));
    ASSERT_TRUE(clBuffer.SeekNoResize(4));
    uint8_t tab[4] = {9, 9, 9, 9};
    EXPECT_EQ(clBuffer.dwGet(tab, 4), 2u);
    EXPECT_EQ(tab[2], 9) << "bytes beyond the data are left alone";
    uint32_t dw = 7;
    clBuffer >> dw;
    EXPECT_EQ(dw, 7u) << "a short read leaves the value";
    EXPECT_FALSE(clBuffer.SeekNoResize(7));
    EXPECT_FALSE(clBuffer.Seek(-1));
    ASSERT_TRUE(clBuffer.Seek(10));
    EXPECT_EQ(clBuffer.dwGetSize(), 10u) << "Seek past the end grows with zeros";
    EXPECT_EQ(clBuffer.pbyGetData()[9], 0);
}

TEST(OVBufferData, GrowthStaysGeometricWithATinyStep) {
    COVBuffer clBuffer(0, 1);
    for (uint32_t i = 0; i < 100000; ++i) clBuffer << i;
    EXPECT_LE(clBuffer.dwGetAllocatedSize(), 2 * clBuffer.dwGetSize());
    ASSERT_TRUE(clBuffer.SeekNoResize(4 * 99999));
    uint32_t dw = 0;
    clBuffer >> dw;
    EXPECT_EQ(dw, 99999u);
}

TEST(OVBufferData, ArraysFillMissingElementsAndSkipExtraOnes) {
    COVBuffer clBuffer;
    const uint16_t tabEcrit[3] = {1, 2, 3};
    ASSERT_TRUE(clBuffer.SetTableau(tabEcrit, 2, 3));
    clBuffer << uint8_t{0xAB};
    clBuffer.SeekNoResize(0);
    uint16_t tabLu[2] = {};
    ASSERT_TRUE(clBuffer.GetTableau(tabLu, 2, 2));
    EXPECT_EQ(tabLu[1], 2);
    uint8_t by = 0;
    clBuffer >> by;
    EXPECT_EQ(by, 0xAB) << "the third element was skipped";
    clBuffer.SeekNoResize(0);
    uint16_t tabPlus[5] = {};
    const uint16_t wDefaut = 0xBEEF;
    ASSERT_TRUE(clBuffer.GetTableau(tabPlus, 2, 5, &wDefaut));
    EXPECT_EQ(tabPlus[2], 3);
    EXPECT_EQ(tabPlus[4], 0xBEEF);
    // A count that claims more than the data holds.
    COVBuffer clFaux;
    clFaux << uint32_t{1000} << uint16_t{1};
    clFaux.SeekNoResize(0);
    EXPECT_FALSE(clFaux.GetTableau(tabPlus, 2, 5));
    EXPECT_EQ(clFaux.dwGetPosition(), 0u);
}

TEST(OVBufferData, OwnDataAsSourceSurvivesGrowth) {
    COVBuffer clBuffer(4, 1);
    clBuffer << uint32_t{0x01020304};
    ASSERT_TRUE(clBuffer.Set(clBuffer.pbyGetData(), 4));  // grows while the source is inside
    EXPECT_EQ(Octets(clBuffer), (TOctets{4, 3, 2, 1, 4, 3, 2, 1}));
    ASSERT_TRUE(clBuffer.MoveData(0, 6, 4));
    EXPECT_EQ(Octets(clBuffer), (TOctets{4, 3, 2, 1, 4, 3, 4, 3, 2, 1}));
    unsigned long nTaille = 0;
    void* p = clBuffer.GetOwnershipMemory(&nTaille);
    EXPECT_EQ(nTaille, 10u);
    EXPECT_EQ(clBuffer.dwGetSize(), 0u);
    COVBuffer clAutre;
    clAutre.GiveOwnershipMemory(p, nTaille);
    EXPECT_EQ(clAutre.pbyGetData()[9], 1);
}

TEST(OVBufferData, DatesRoundTrip) {
    CDateTimeBase clDate;
    clDate.Set(2024, 2, 29, 23, 59, 58, 999);
    COVBuffer clBuffer;
    clBuffer << clDate;
    EXPECT_EQ(clBuffer.dwGetSize(), 8u);
    clBuffer.SeekNoResize(0);
    CDateTimeBase clLue;
    clBuffer >> clLue;
    EXPECT_EQ(clLue.dwGetDate(), clDate.dwGetDate());
    EXPECT_EQ(clLue.dwGetMillisecondes(), clDate.dwGetMillisecondes());
}

// ---------------------------------------------------------------- strings

TEST(OVBufferString, RoundTripsInEveryMode) {
    const struct {
        int nLigne;
        EModeTString eMode;
        const wchar_t* pszTexte;
        unsigned long nTailleAttendue;  // 0: not checked
    } tabCas[] = {
        {__LINE__, eMODETSTRING_UTF8_MARQUE, kTexteFrancais, 0},
        {__LINE__, eMODETSTRING_UTF8_MARQUE_COMPLET, kTexteFrancais, 0},
        {__LINE__, eMODETSTRING_UTF8, kTexteFrancais, 0},
        {__LINE__, eMODETSTRING_ANSI, kTexte1252, 29},
        {__LINE__, eMODETSTRING_UTF8_MARQUE, L"", 1},
        {__LINE__, eMODETSTRING_UTF8_MARQUE_COMPLET, L"", 13},
        {__LINE__, eMODETSTRING_UTF8, L"", 1},
        {__LINE__, eMODETSTRING_ANSI, L"", 1},
    };
    for (const auto& stCas : tabCas) {
        SCOPED_TRACE(stCas.nLigne);
        COVBuffer clBuffer;
        ASSERT_TRUE(clBuffer.SaveString(stCas.pszTexte, stCas.eMode));
        clBuffer << uint8_t{0x5A};  // a byte after the string must not be taken in
        const unsigned long nTaille = clBuffer.dwGetSize() - 1;
        if (stCas.nTailleAttendue != 0) {
            EXPECT_EQ(nTaille, stCas.nTailleAttendue);
        }
        clBuffer.SeekNoResize(0);
        CTString clLu;
        ASSERT_TRUE(clBuffer.bReadString(clLu, stCas.eMode));
        EXPECT_STREQ(clLu.pszGet(), stCas.pszTexte);
        EXPECT_EQ(clBuffer.dwGetPosition(), nTaille);
        clBuffer.SeekNoResize(0);
        ASSERT_TRUE(clBuffer.bSeekString(stCas.eMode));
        EXPECT_EQ(clBuffer.dwGetPosition(), nTaille);
        clBuffer.SeekNoResize(0);
        wchar_t* psz = clBuffer.pszReadCreateString(stCas.eMode);
        ASSERT_NE(psz, nullptr);
        EXPECT_STREQ(psz, stCas.pszTexte);
        std::free(psz);
    }
}

TEST(OVBufferString, OldFormKeepsTheCodePageAndMarksTheUnknown) {
    COVBuffer clBuffer;
    ASSERT_TRUE(clBuffer.SaveStringOldAnsi(L"Noël \U0001D11E"));
    EXPECT_EQ(Octets(clBuffer), (TOctets{'N', 'o', 0xEB, 'l', ' ', '?', 0}));
    clBuffer.SeekNoResize(0);
    char tab[8];
    EXPECT_EQ(clBuffer.nReadStringOldAnsi(tab, 6), -1) << "does not fit";
    EXPECT_EQ(clBuffer.dwGetPosition(), 0u);
    EXPECT_EQ(clBuffer.nReadStringOldAnsi(tab, 8), 6);
}

TEST(OVBufferString, ArrayReadRefusesATextThatDoesNotFit) {
    COVBuffer clBuffer;
    clBuffer.SaveString(L"été", eMODETSTRING_UTF8_MARQUE);
    clBuffer.SeekNoResize(0);
    wchar_t tab[4];
    EXPECT_EQ(clBuffer.nReadString(tab, 3, eMODETSTRING_UTF8_MARQUE), -1);
    EXPECT_EQ(clBuffer.dwGetPosition(), 0u);
    EXPECT_EQ(clBuffer.nReadString(tab, 4, eMODETSTRING_UTF8_MARQUE), 3);
    EXPECT_STREQ(tab, L"été");
}

TEST(OVBufferString, BrokenMarkedFormsFailAndLeaveTheCursor) {
    TOctets tabFinFausse = Marque("abc", 16);
    tabFinFausse[13] = 0;
    TOctets tabZeroInterne = Marque("a\0c", 16);
    tabZeroInterne[9] = 0;
    TOctets tabCoupe = Marque("abcdef", 19);
    tabCoupe.resize(15);
    const struct {
        int nLigne;
        TOctets tab;
        bool bMode4Lit;  // mode 4 falls back to plain UTF-8, which these bytes are not
    } tabCas[] = {
        {__LINE__, Marque("", 12), false},          // a size below the minimum
        {__LINE__, Marque("abc", 17), false},       // end mark not at size - 4
        {__LINE__, Marque("abc", 0x7fffffff), false},  // size past the data
        {__LINE__, tabFinFausse, false},
        {__LINE__, tabZeroInterne, false},          // the text's length disagrees with the size
        {__LINE__, tabCoupe, false},
        {__LINE__, TOctets{0xff, 0xce, 0x88}, false},
    };
    for (const auto& stCas : tabCas) {
        SCOPED_TRACE(stCas.nLigne);
        COVBuffer clBuffer;
        Ecrit(&clBuffer, stCas.tab);
        CTString clTexte(L"avant");
        for (EModeTString eMode : {eMODETSTRING_UTF8_MARQUE, eMODETSTRING_UTF8_MARQUE_COMPLET, eMODETSTRING_UTF8}) {
            EXPECT_FALSE(clBuffer.bReadString(clTexte, eMode)) << eMode;
            EXPECT_EQ(clBuffer.dwGetPosition(), 0u);
            EXPECT_STREQ(clTexte.pszGet(), L"avant");
        }
    }
    // The old form takes the same bytes as 1252 text up to the first zero.
    COVBuffer clBuffer;
    Ecrit(&clBuffer, Marque("", 12));
    CTString clTexte;
    ASSERT_TRUE(clBuffer.bReadString(clTexte, eMODETSTRING_ANSI));
    EXPECT_STREQ(clTexte.pszGet(), L"ÿÎˆñ\x0c");
    EXPECT_EQ(clBuffer.dwGetPosition(), 6u);
}

TEST(OVBufferString, OneByteEmptyIsAcceptedInModeOneOnly) {
    COVBuffer clBuffer;
    Ecrit(&clBuffer, TOctets{0});
    CTString clTexte;
    EXPECT_TRUE(clBuffer.bReadString(clTexte, eMODETSTRING_UTF8_MARQUE));
    clBuffer.SeekNoResize(0);
    EXPECT_FALSE(clBuffer.bReadString(clTexte, eMODETSTRING_UTF8_MARQUE_COMPLET));
    // A mode-3 empty string (size 13) is below mode 1's minimum of 14.
    Ecrit(&clBuffer, Marque("", 13));
    EXPECT_FALSE(clBuffer.bReadString(clTexte, eMODETSTRING_UTF8_MARQUE));
    EXPECT_TRUE(clBuffer.bReadString(clTexte, eMODETSTRING_UTF8_MARQUE_COMPLET));
}

TEST(OVBufferString, TextWithoutItsZeroFailsInTheOldForms) {
    COVBuffer clBuffer;
    Ecrit(&clBuffer, TOctets{'a', 'b'});
    CTString clTexte;
    EXPECT_FALSE(clBuffer.bReadString(clTexte, eMODETSTRING_ANSI));
    EXPECT_FALSE(clBuffer.bReadString(clTexte, eMODETSTRING_UTF8));
    EXPECT_EQ(clBuffer.pszGetStringOldAnsi(), nullptr);
    Ecrit(&clBuffer, TOctets{0xC3, 0x28, 0});  // not UTF-8
    EXPECT_FALSE(clBuffer.bReadString(clTexte, eMODETSTRING_UTF8));
    EXPECT_EQ(clBuffer.dwGetPosition(), 0u);
}

// ---------------------------------------------------------------- sections and header

TEST(OVBufferMark, SectionsNestAndAnOlderReaderSkipsWhatItDoesNotKnow) {
    COVBuffer clBuffer;
    const unsigned long nExterne = COVBufferMark::s_dwWriteBeginMark(&clBuffer);
    clBuffer << uint32_t{1};
    const unsigned long nInterne = COVBufferMark::s_dwWriteBeginMark(&clBuffer);
    clBuffer << uint16_t{2} << uint16_t{3};  // the newer writer's extra field
    COVBufferMark::s_WriteEndMark(&clBuffer, nInterne);
    COVBufferMark::s_WriteEndMark(&clBuffer, nExterne);
    clBuffer << uint8_t{0x77};
    EXPECT_EQ(Octets(clBuffer), (TOctets{16, 0, 0, 0, 1, 0, 0, 0, 8, 0, 0, 0, 2, 0, 3, 0, 0x77}));

    clBuffer.SeekNoResize(0);
    const unsigned long nFinExterne = COVBufferMark::s_dwReadBeginMark(&clBuffer);
    EXPECT_EQ(nFinExterne, 16u);
    uint32_t dw = 0;
    clBuffer >> dw;
    const unsigned long nFinInterne = COVBufferMark::s_dwReadBeginMark(&clBuffer);
    uint16_t w = 0;
    clBuffer >> w;  // the older reader knows one field only
    COVBufferMark::s_ReadEndMark(&clBuffer, nFinInterne);
    COVBufferMark::s_ReadEndMark(&clBuffer, nFinExterne);
    uint8_t by = 0;
    clBuffer >> by;
    EXPECT_EQ(by, 0x77);
}

TEST(OVBufferMark, DamagedSectionSizesNeverOverreadNorGoBack) {
    const struct {
        int nLigne;
        TOctets tab;
        unsigned long nFinAttendue;
        unsigned long nCurseurApres;  // after s_ReadEndMark
    } tabCas[] = {
        {__LINE__, {0x00, 0x01, 0x00, 0x00, 1, 2}, 256, 6},   // past the data: stops at the used size
        {__LINE__, {1, 0, 0, 0, 9, 9}, 4, 4},                 // below its own field: the field alone
        {__LINE__, {0, 0, 0, 0, 9}, 4, 4},
        {__LINE__, {7, 0}, 0, 0},                             // short read: size 0, rewound
    };
    for (const auto& stCas : tabCas) {
        SCOPED_TRACE(stCas.nLigne);
        COVBuffer clBuffer;
        Ecrit(&clBuffer, stCas.tab);
        const unsigned long nFin = COVBufferMark::s_dwReadBeginMark(&clBuffer);
        EXPECT_EQ(nFin, stCas.nFinAttendue);
        COVBufferMark::s_ReadEndMark(&clBuffer, nFin);
        EXPECT_EQ(clBuffer.dwGetPosition(), stCas.nCurseurApres);
    }
    COVBuffer clVide;
    Ecrit(&clVide, TOctets{0, 0, 0, 0});
    EXPECT_EQ(COVBufferMark::s_dwReadBeginMarkFromDummy(&clVide), 0u);
}

TEST(OVBufferMark, PartSizesAndCountsAreFilledInPlace) {
    COVBuffer clBuffer;
    clBuffer << uint8_t{0xEE};
    const unsigned long nTaille = clBuffer.nReserveTaillePartie();
    const unsigned long nNombre = clBuffer.dwReserveNombreElement();
    clBuffer << uint32_t{5} << uint32_t{6};
    ASSERT_TRUE(clBuffer.SetNombreElement(nNombre, 2));
    ASSERT_TRUE(clBuffer.SetTaillePartie(nTaille));
    EXPECT_EQ(clBuffer.dwGetPosition(), clBuffer.dwGetSize()) << "the cursor stays at the end";
    EXPECT_EQ(Octets(clBuffer), (TOctets{0xEE, 12, 0, 0, 0, 2, 0, 0, 0, 5, 0, 0, 0, 6, 0, 0, 0}));
    EXPECT_FALSE(clBuffer.SetNombreElement(clBuffer.dwGetSize() - 2, 1)) << "a field that does not fit";
}

TEST(OVBufferMark, MainHeaderAnswers) {
    auto Entete = [](std::initializer_list<uint32_t> l, size_t nReste) {
        TOctets tab;
        for (uint32_t dw : l)
            for (int i = 0; i < 4; ++i) tab.push_back(static_cast<uint8_t>(dw >> (8 * i)));
        tab.resize(tab.size() + nReste, 0x42);
        return tab;
    };
    TOctets tabCourt = Entete({12, 5}, 0);
    tabCourt.resize(6);
    const struct {
        int nLigne;
        TOctets tab;
        int nAttendu;
        uint32_t dwVersionLue, dwCompatLue;
    } tabCas[] = {
        {__LINE__, Entete({12, 5, 3}, 4), 0, 5, 3},
        {__LINE__, Entete({12, 5, 3}, 0), 0, 5, 3},
        {__LINE__, Entete({16, 5, 3, 0}, 0), 2, 5, 3},  // a longer header with nothing behind it
        {__LINE__, Entete({16, 5, 3, 0}, 1), 0, 5, 3},
        {__LINE__, Entete({11, 5, 3}, 4), 2, 0, 0},
        {__LINE__, Entete({12, 1, 1}, 4), -2, 1, 0},    // the file is older than we can read
        {__LINE__, Entete({12, 9, 7}, 4), -1, 9, 7},    // the file needs a newer reader
        {__LINE__, Entete({12, 5}, 0), 1, 5, 0},
        {__LINE__, tabCourt, 1, 0, 0},
        {__LINE__, TOctets{}, 1, 0, 0},
    };
    for (const auto& stCas : tabCas) {
        SCOPED_TRACE(stCas.nLigne);
        COVBuffer clBuffer;
        Ecrit(&clBuffer, stCas.tab);
        clBuffer.Seek(0, COVBuffer::eORIGINE_FIN);
        uint32_t dwVersion = 0, dwCompat = 0;
        EXPECT_EQ(COVBufferMark::nReadEntetePrincipale(&clBuffer, 6, 4, &dwVersion, &dwCompat), stCas.nAttendu);
        EXPECT_EQ(dwVersion, stCas.dwVersionLue);
        EXPECT_EQ(dwCompat, stCas.dwCompatLue);
    }
}

// ---------------------------------------------------------------- coding

// A main header, then text worth packing.
void Remplit(COVBuffer* pclBuffer) {
    ASSERT_TRUE(COVBufferMark::WriteEntetePrincipale(pclBuffer, 7, 2));
    for (int i = 0; i < 40; ++i) ASSERT_TRUE(pclBuffer->SaveString(kTexteFrancais, eMODETSTRING_UTF8_MARQUE));
}

TEST(OVBufferCoding, PackedAndEncipheredRegionsComeBackAndTheHeaderStaysClear) {
    const struct {
        int nLigne;
        int ePack, eCrypt;
    } tabCas[] = {{__LINE__, 1, 0}, {__LINE__, 0, 1}, {__LINE__, 1, 1}, {__LINE__, 2, 0}, {__LINE__, 2, 1}};
    for (const auto& stCas : tabCas) {
        SCOPED_TRACE(stCas.nLigne);
        COVBuffer clClair;
        Remplit(&clClair);
        COVBuffer clBuffer;
        ASSERT_TRUE(clBuffer.SetPackMethod(stCas.ePack));
        ASSERT_TRUE(clBuffer.SetCryptMethod(stCas.eCrypt));
        if (stCas.eCrypt != 0) {
            ASSERT_TRUE(clBuffer.SetPassword(L"Clé d'été \U0001D11E"));
        }
        Remplit(&clBuffer);
        ASSERT_TRUE(clBuffer.ForceCode());
        EXPECT_TRUE(clBuffer.bEstCode());
        const TOctets tabCode = Octets(clBuffer);
        EXPECT_EQ(TOctets(tabCode.begin(), tabCode.begin() + 12), TOctets(clClair.pbyGetData(), clClair.pbyGetData() + 12));
        EXPECT_NE(tabCode, Octets(clClair));
        if (stCas.ePack == 1) {  // the text packer suits text only; these strings carry binary marks
            EXPECT_LT(tabCode.size(), clClair.dwGetSize());
        }

        // As read back from a file: the header answers without decoding.
        COVBuffer clLu;
        clLu.SetPackMethod(stCas.ePack);
        clLu.SetCryptMethod(stCas.eCrypt);
        if (stCas.eCrypt != 0) clLu.SetPassword(L"Clé d'été \U0001D11E");
        ASSERT_TRUE(clLu.SetCodedData(tabCode.data(), static_cast<unsigned long>(tabCode.size())));
        uint32_t dwVersion = 0, dwCompat = 0;
        EXPECT_EQ(COVBufferMark::nReadEntetePrincipale(&clLu, 7, 2, &dwVersion, &dwCompat), 0);
        EXPECT_TRUE(clLu.bEstCode()) << "a read inside the clear header decoded the buffer";
        CTString clTexte;
        ASSERT_TRUE(clLu.bReadString(clTexte, eMODETSTRING_UTF8_MARQUE));
        EXPECT_FALSE(clLu.bEstCode());
        EXPECT_STREQ(clTexte.pszGet(), kTexteFrancais);
        EXPECT_EQ(Octets(clLu), Octets(clClair));
    }
}

TEST(OVBufferCoding, ARegionThatDoesNotDecodeFailsAndStaysAsItWas) {
    COVBuffer clBuffer;
    clBuffer.SetPackMethod(1);
    clBuffer.SetCryptMethod(1);
    clBuffer.SetPassword(L"première");
    Remplit(&clBuffer);
    ASSERT_TRUE(clBuffer.ForceCode());
    const TOctets tabCode = Octets(clBuffer);

    COVBuffer clMauvais;
    clMauvais.SetPackMethod(1);
    clMauvais.SetCryptMethod(1);
    clMauvais.SetPassword(L"deuxième");
    clMauvais.SetCodedData(tabCode.data(), static_cast<unsigned long>(tabCode.size()));
    clMauvais.DefineFirstCodedByte(12);
    ASSERT_TRUE(clMauvais.SeekNoResize(12));
    uint32_t dw = 0x12345678;
    EXPECT_EQ(clMauvais.dwGet(&dw, 4), 0u);
    EXPECT_EQ(dw, 0x12345678u);
    CTString clTexte;
    EXPECT_FALSE(clMauvais.bReadString(clTexte, eMODETSTRING_UTF8_MARQUE));
    EXPECT_EQ(Octets(clMauvais), tabCode) << "a failed decoding leaves the coded bytes";
    EXPECT_EQ(clMauvais.GetAll(), nullptr);
    // The right password, given afterwards, still opens it.
    ASSERT_TRUE(clMauvais.ChangePassword(L"première", true));
    EXPECT_NE(clMauvais.GetAll(), nullptr);

    // Truncated and damaged packed regions.
    for (size_t nCoupe : {tabCode.size() - 1, size_t{14}, size_t{13}}) {
        SCOPED_TRACE(nCoupe);
        COVBuffer clCoupe;
        clCoupe.SetPackMethod(1);
        clCoupe.DefineFirstCodedByte(12);
        TOctets tab = Octets(clBuffer);
        tab.resize(nCoupe);
        clCoupe.SetCodedData(tab.data(), static_cast<unsigned long>(tab.size()));
        EXPECT_FALSE(clCoupe.bDecode());
    }
}

TEST(OVBufferCoding, WritingBehindACodedRegionDecodesItFirst) {
    COVBuffer clBuffer;
    clBuffer.SetPackMethod(1);
    Remplit(&clBuffer);
    const TOctets tabClair = Octets(clBuffer);
    ASSERT_TRUE(clBuffer.ForceCode());
    ASSERT_TRUE(clBuffer.Seek(0, COVBuffer::eORIGINE_FIN));
    clBuffer << uint8_t{0x99};
    TOctets tabAttendu = tabClair;
    tabAttendu.push_back(0x99);
    EXPECT_EQ(Octets(clBuffer), tabAttendu);
}

TEST(OVBufferCoding, StreamsCarryTheCodedFormBothWays) {
    COVBuffer clBuffer;
    clBuffer.SetPackMethod(1);
    clBuffer.SetCryptMethod(1);
    Remplit(&clBuffer);
    const TOctets tabClair = Octets(clBuffer);
    CMemoryStream clFlux;
    ASSERT_TRUE(clFlux.bOpen(L"m", eACCESS_LECTUREECRITURE, eSHARE_AUCUN, eCREATE_VIDE_OU_CREE, eFLAG_FICHIER, nullptr));
    unsigned long nEcrit = 0;
    ASSERT_TRUE(clBuffer.bToFile(&clFlux, &nEcrit));
    EXPECT_EQ(nEcrit, clBuffer.dwGetSize());
    EXPECT_LT(nEcrit, tabClair.size());
    ASSERT_TRUE(clFlux.bSeek(0, eSEEK_DEBUT));
    COVBuffer clLu;
    clLu.SetPackMethod(1);
    clLu.SetCryptMethod(1);
    unsigned long nLu = 0;
    EXPECT_FALSE(clLu.bSetFromFile(&clFlux, nEcrit + 10, &nLu)) << "the stream holds fewer bytes";
    EXPECT_EQ(nLu, nEcrit);
    EXPECT_TRUE(clLu.bEstCode());
    uint32_t dwVersion = 0, dwCompat = 0;
    EXPECT_EQ(COVBufferMark::nReadEntetePrincipale(&clLu, 7, 2, &dwVersion, &dwCompat), 0);  // sets the clear part
    unsigned long nClair = 0;
    const uint8_t* pbyClair = clLu.GetAll(&nClair);
    ASSERT_NE(pbyClair, nullptr);
    EXPECT_EQ(TOctets(pbyClair, pbyClair + nClair), tabClair);
}

// ---------------------------------------------------------------- nested buffers and blocks

TEST(OVBufferNested, RoundTripsAndRefusesASizePastTheData) {
    COVBuffer clSource;
    clSource.SetPackMethod(1);
    Remplit(&clSource);
    const TOctets tabClair = Octets(clSource);
    clSource.ForceCode();
    COVBuffer clHote;
    ASSERT_TRUE(g_SerialiseBuffer(&clSource, &clHote));
    EXPECT_EQ(clHote.dwGetSize(), 4 + tabClair.size()) << "the nested form holds the clear bytes";
    clHote.SeekNoResize(0);
    COVBuffer clCible;
    ASSERT_TRUE(g_DeserialiseBuffer(&clHote, &clCible));
    EXPECT_EQ(Octets(clCible), tabClair);
    EXPECT_EQ(clCible.dwGetPosition(), 0u);

    Ecrit(&clHote, TOctets{0, 0, 0, 0});
    ASSERT_TRUE(g_DeserialiseBuffer(&clHote, &clCible));
    EXPECT_EQ(clCible.dwGetSize(), 0u);
    Ecrit(&clHote, TOctets{5, 0, 0, 0, 1, 2, 3, 4});
    EXPECT_FALSE(g_DeserialiseBuffer(&clHote, &clCible));
    EXPECT_EQ(clHote.dwGetPosition(), 0u);
}

TEST(OVBufferBlock, ViewTooSmallSkipsTheBytes) {
    COVBuffer clBuffer;
    const uint8_t tab[5] = {1, 2, 3, 4, 5};
    clBuffer << CSimpleConstBufferConveyor(tab, 5) << uint8_t{0x66};
    clBuffer.SeekNoResize(0);
    CSimpleBuffer clPossede;
    clBuffer >> clPossede;
    ASSERT_EQ(clPossede.nGetSize(), 5u);
    EXPECT_EQ(clPossede.pbyGet()[4], 5);
    clBuffer.SeekNoResize(0);
    uint8_t tabPetit[3] = {};
    CSimpleBufferConveyor clVue(tabPetit, 3);
    clBuffer >> clVue;
    EXPECT_EQ(clVue.pbyGet(), nullptr);
    uint8_t by = 0;
    clBuffer >> by;
    EXPECT_EQ(by, 0x66) << "the five bytes were skipped";

    Ecrit(&clBuffer, TOctets{9, 0, 0, 0, 1});
    clBuffer >> clPossede;
    EXPECT_EQ(clPossede.nGetSize(), 0u);
    EXPECT_EQ(clBuffer.dwGetPosition(), 0u);
}

TEST(OVBufferStream, GrowthKeepsEveryCharacter) {
    CBufferStream clFlux(3, 0);
    std::wstring sAttendu;
    for (int i = 0; i < 200; ++i) {
        ASSERT_TRUE(clFlux.Add(L"é\U0001D11E", i % 3));
        sAttendu.append(L"é\U0001D11E", static_cast<size_t>(i % 3));
    }
    EXPECT_EQ(std::wstring(clFlux.pszGet()), sAttendu);
    const int nLongueur = clFlux.nGetLongueur();
    ASSERT_TRUE(clFlux.Add(clFlux.pszGet(), nLongueur));  // its own text, through a reallocation
    EXPECT_EQ(std::wstring(clFlux.pszGet()), sAttendu + sAttendu);
}

// ---------------------------------------------------------------- golden files

std::string CheminGolden(const char* pszNom) { return std::string(OV_BUFFER_GOLDEN) + "/" + pszNom; }

void CompareGolden(const char* pszNom, const TOctets& tab) {
    const std::string sChemin = CheminGolden(pszNom);
    if (std::getenv("OV_REGENERATE_GOLDEN") != nullptr) {
        std::ofstream(sChemin, std::ios::binary).write(reinterpret_cast<const char*>(tab.data()), static_cast<std::streamsize>(tab.size()));
        return;
    }
    std::ifstream clFichier(sChemin, std::ios::binary);
    ASSERT_TRUE(clFichier) << sChemin;
    const TOctets tabGolden((std::istreambuf_iterator<char>(clFichier)), std::istreambuf_iterator<char>());
    EXPECT_EQ(tab, tabGolden) << pszNom;
}

TEST(OVBufferGolden, BinaryFormsMatchTheCommittedFiles) {
    const struct {
        const char* pszNom;
        EModeTString eMode;
    } tabChaines[] = {{"string_mode1.bin", eMODETSTRING_UTF8_MARQUE},
                      {"string_mode2.bin", eMODETSTRING_ANSI},
                      {"string_mode3.bin", eMODETSTRING_UTF8_MARQUE_COMPLET},
                      {"string_mode4.bin", eMODETSTRING_UTF8}};
    for (const auto& stCas : tabChaines) {
        COVBuffer clBuffer;
        clBuffer.SaveString(stCas.eMode == eMODETSTRING_ANSI ? kTexte1252 : kTexteFrancais, stCas.eMode);
        clBuffer.SaveString(L"", stCas.eMode);
        CompareGolden(stCas.pszNom, Octets(clBuffer));
    }

    COVBuffer clSection;
    const unsigned long nSection = COVBufferMark::s_dwWriteBeginMark(&clSection);
    clSection << uint32_t{0xCAFE};
    const unsigned long nPartie = clSection.nReserveTaillePartie();
    const unsigned long nNombre = clSection.dwReserveNombreElement();
    clSection << uint16_t{1} << uint16_t{2} << uint16_t{3};
    clSection.SetNombreElement(nNombre, 3);
    clSection.SetTaillePartie(nPartie);
    COVBufferMark::s_WriteEndMark(&clSection, nSection);
    CompareGolden("section.bin", Octets(clSection));

    COVBuffer clEntete;
    COVBufferMark::WriteEntetePrincipale(&clEntete, 7, 2);
    clEntete << uint32_t{0x01020304};
    CompareGolden("header.bin", Octets(clEntete));
    COVBuffer clLong;
    clLong << uint32_t{16} << uint32_t{7} << uint32_t{2} << uint32_t{0};
    CompareGolden("header_16.bin", Octets(clLong));

    for (int eCrypt : {0, 1}) {
        COVBuffer clBuffer;
        clBuffer.SetPackMethod(1);
        clBuffer.SetCryptMethod(eCrypt);
        if (eCrypt != 0) clBuffer.SetPassword(L"Clé d'été \U0001D11E");
        Remplit(&clBuffer);
        clBuffer.ForceCode();
        CompareGolden(eCrypt != 0 ? "packed_enciphered.bin" : "packed.bin", Octets(clBuffer));
    }

    // The text packer gets the region behind its own 32-bit length, inside the packed stream.
    COVBuffer clTexte;
    clTexte.SetPackMethod(2);
    COVBufferMark::WriteEntetePrincipale(&clTexte, 7, 2);
    for (int i = 0; i < 8; ++i) clTexte.SaveString(kTexte1252, eMODETSTRING_ANSI);
    ASSERT_TRUE(clTexte.ForceCode());
    CompareGolden("packed_text.bin", Octets(clTexte));
    clTexte.SeekNoResize(12);
    CTString clLu;
    ASSERT_TRUE(clTexte.bReadString(clLu, eMODETSTRING_ANSI));
    EXPECT_STREQ(clLu.pszGet(), kTexte1252);
}

}  // namespace
