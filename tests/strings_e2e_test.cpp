// Texts and binary values across the border with the stand-in machine: the machine's allocator
// under the component's counted strings (both of its versions), arguments built by the machine as
// counted blocks and read by the thunk traits, results pushed by the component and read back by the
// machine, and the built library leaving no block behind.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "component/execution.h"
#include "component/thunk.h"
#include "host/allocator.h"
#include "host/machine.h"
#include "host/vm.h"

namespace ovhost {
namespace {

const std::wstring kFrancais = L"Où êtes-vous, Hélène ? Ça déménage \U0001F69A";
const char kFrancaisUtf8[] =
    "O\xC3\xB9 \xC3\xAAtes-vous, H\xC3\xA9l\xC3\xA8ne ? \xC3\x87""a d\xC3\xA9m\xC3\xA9nage \xF0\x9F\x9A\x9A";

using ESlot = CStrMemAllocator::ESlot;

CStrMemAllocator& allocator() { return CMachineServices::s_Instance().clAllocator(); }

// One call of the component's thunk path on the machine: the call record, the machine's
// bookkeeping of the call, and the component's instance that the thunk runs on.
class StringBorder : public ::testing::TestWithParam<int> {
protected:
    void SetUp() override {
        CInformationModule::ms_piStrMemAlloc = &allocator();
        allocator().SetVersion(GetParam());
        m_nLiveAvant = allocator().nLiveBlocks();
        m_stContexte.dwFrame = 0x70001;
        m_clVM.BeginCall(&m_stContexte);
        m_stAppel.piVM = &m_clVM;
        m_stAppel.dwFrame = m_stContexte.dwFrame;
    }
    void TearDown() override {
        m_clVM.EndCall(&m_stContexte);
        CInformationModule::ms_piStrMemAlloc = nullptr;
        allocator().SetVersion(2);
        EXPECT_EQ(allocator().nLiveBlocks(), m_nLiveAvant) << "a block was left behind";
        EXPECT_EQ(allocator().nRejectedFrees(), 0);
    }
    CValue clResultat() const { return m_stContexte.clFinalResult(); }

    CVirtualMachine m_clVM;
    STCallContext m_stContexte;
    STZKAppel m_stAppel{};
    CComposanteStandard m_clThis;
    int64_t m_nLiveAvant = 0;
};

TEST_P(StringBorder, CountedTextGoesInAndComesBackThroughTheMachinesAllocator) {
    void* pArgument = allocator().pvNewWideText(kFrancais);  // as the machine builds a 0x79 argument
    ASSERT_NE(pArgument, nullptr);
    allocator().ResetSlotCalls();
    ovthunk::nCall<0x79>(&m_stAppel, &m_clThis, [&] {
        CXYString<wchar_t> cl = ovthunk::TArg<0x79>::Lit(&pArgument);
        EXPECT_EQ(cl.nGetRef(), 2);  // the machine's and the method's
        cl.nConcat(L" – à bientôt \U0001F44B");
        return cl;
    });
    const CValue cl = clResultat();
    ASSERT_EQ(cl.eKind, EValueKind::Text);
    EXPECT_EQ(cl.sText, kFrancais + L" – à bientôt \U0001F44B");
    // The machine's argument is untouched by the method's write, and it alone holds it again.
    std::wstring sArgument;
    ASSERT_TRUE(CStrMemAllocator::s_bReadWide(pArgument, &sArgument));
    EXPECT_EQ(sArgument, kFrancais);
    EXPECT_EQ(CStrMemAllocator::s_pstHeader(pArgument)->nRef, 1);
    // The version chose the slots: plain below 2, with flags from 2.
    const bool bFlags = GetParam() >= 2;
    EXPECT_EQ(allocator().nSlotCalls(ESlot::Alloue) > 0, !bFlags);
    EXPECT_EQ(allocator().nSlotCalls(ESlot::AlloueAvecFlags) > 0, bFlags);
    EXPECT_EQ(allocator().nSlotCalls(ESlot::Realloue) + allocator().nSlotCalls(ESlot::RealloueAvecFlags), 0);
    EXPECT_EQ(allocator().nSlotCalls(ESlot::Libere), 1);  // the result, once the machine had copied it
    allocator().ReleaseBlock(pArgument);
}

TEST_P(StringBorder, GrowingATextReallocatesThroughTheVersionsSlot) {
    allocator().ResetSlotCalls();
    ovthunk::nCall<0x82>(&m_stAppel, &m_clThis, [&] {
        CXYString<wchar_t> cl(L"é");
        for (int i = 0; i < 100; ++i) cl.nConcat(L"\U0001F600");
        return cl;
    });
    EXPECT_EQ(clResultat().sText.size(), 101u);
    const bool bFlags = GetParam() >= 2;
    EXPECT_GT(allocator().nSlotCalls(bFlags ? ESlot::RealloueAvecFlags : ESlot::Realloue), 0);
    EXPECT_EQ(allocator().nSlotCalls(bFlags ? ESlot::Realloue : ESlot::RealloueAvecFlags), 0);
}

TEST_P(StringBorder, BinaryValueCrossesWithItsZeros) {
    const std::string sOctets("\x00\xFF\x00\x80 \xC3\xA9", 7);
    void* pArgument = allocator().pvNewBytes(sOctets, true);
    ovthunk::nCall<0x1c>(&m_stAppel, &m_clThis, [&] {
        CZKBIN cl = ovthunk::TArg<0x1c>::Lit(&pArgument);
        EXPECT_EQ(cl.nGetTailleUtile(), 7);
        cl.nConcat("\x00", 1);
        return cl;
    });
    const CValue cl = clResultat();
    ASSERT_EQ(cl.eKind, EValueKind::Buffer);
    EXPECT_EQ(cl.sBytes, sOctets + std::string("\x00", 1));
    allocator().ReleaseBlock(pArgument);
}

INSTANTIATE_TEST_SUITE_P(AllocatorVersions, StringBorder, ::testing::Values(1, 2),
                         [](const ::testing::TestParamInfo<int>& st) { return "Version" + std::to_string(st.param); });

// ---------------------------------------------------------------- the built library

TEST(StringBorderLibrary, TextResultsOfTheLoadedLibraryLeaveNoBlockBehind) {
    for (int nVersion : {1, 2}) {
        SCOPED_TRACE(nVersion);
        allocator().SetVersion(nVersion);
        CStandInMachine clMachine;
        std::string sErreur;
        ASSERT_TRUE(clMachine.bLoad(CStandInMachine::s_sDefaultLibraryPath(), &sErreur)) << sErreur;
        ASSERT_EQ(setenv("OV_STRINGS_E2E", kFrancaisUtf8, 1), 0);
        const int64_t nAvant = allocator().nLiveBlocks();
        for (int i = 0; i < 50; ++i) {
            std::vector<CValue> tab{CValue::Text(L"OV_STRINGS_E2E")};
            STCallOutcome st;
            ASSERT_TRUE(clMachine.bCall("SysEnvironnement", tab, &st, &sErreur)) << sErreur;
            ASSERT_EQ(st.clResult.eKind, EValueKind::Text);
            ASSERT_EQ(st.clResult.sText, kFrancais);
        }
        EXPECT_EQ(allocator().nLiveBlocks(), nAvant);
        EXPECT_EQ(allocator().nRejectedFrees(), 0);
        unsetenv("OV_STRINGS_E2E");
    }
    allocator().SetVersion(2);
}

}  // namespace
}  // namespace ovhost
