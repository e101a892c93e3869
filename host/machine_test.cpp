// The stand-in machine's load as the component sees it: the binding of the conversions, checked
// against a component that records what the machine hands it.
#include "host/machine.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>

namespace ovhost {
namespace {

class MachineLoad : public ::testing::Test {
protected:
    void SetUp() override {
        // Held open by the test too, so that what the fake recorded outlives the machine's unload.
        m_hFake = dlopen(OV_FAKE_COMPONENT, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(m_hFake, nullptr) << dlerror();
        m_pfnSetAnswer = reinterpret_cast<void (*)(int)>(dlsym(m_hFake, "FakeSetAnswer"));
        m_pfnMachine = reinterpret_cast<void* (*)(int*, int*)>(dlsym(m_hFake, "FakeMachine"));
        ASSERT_NE(m_pfnSetAnswer, nullptr);
        ASSERT_NE(m_pfnMachine, nullptr);
    }
    void TearDown() override {
        if (m_hFake != nullptr) dlclose(m_hFake);
    }

    void* m_hFake = nullptr;
    void (*m_pfnSetAnswer)(int) = nullptr;
    void* (*m_pfnMachine)(int*, int*) = nullptr;
};

TEST_F(MachineLoad, BindsTheConversionsWithItsOwnModuleAndVersionTwo) {
    m_pfnSetAnswer(1);
    CStandInMachine cl;
    std::string sError;
    EXPECT_FALSE(cl.bLoad(OV_FAKE_COMPONENT, &sError)) << "the fake has no tables";
    EXPECT_NE(sError.find("descriptor tables"), std::string::npos) << "past the binding: " << sError;
    int nVersion = 0, nVersionCompat = 0;
    void* hMachine = m_pfnMachine(&nVersion, &nVersionCompat);
    ASSERT_NE(hMachine, nullptr);
    EXPECT_EQ(nVersion, 2);
    EXPECT_EQ(nVersionCompat, 2);
    // The handle is the machine's module: the component finds the conversion entries in it.
    EXPECT_NE(dlsym(hMachine, "nConversionDepassementExt"), nullptr);
    EXPECT_NE(dlsym(hMachine, "FinConversion"), nullptr);
    EXPECT_FALSE(cl.bLoaded());
}

TEST_F(MachineLoad, RefusesALibraryThatCannotBindTheConversions) {
    m_pfnSetAnswer(0);
    CStandInMachine cl;
    std::string sError;
    EXPECT_FALSE(cl.bLoad(OV_FAKE_COMPONENT, &sError));
    EXPECT_NE(sError.find("bInitZKConvFromVM answered 0"), std::string::npos) << sError;
    EXPECT_NE(sError.find(OV_FAKE_COMPONENT), std::string::npos) << "names the path: " << sError;
    EXPECT_TRUE(cl.sLoadNote().empty());
    // The machine is left clean: a second attempt goes through the same steps again.
    m_pfnSetAnswer(1);
    EXPECT_FALSE(cl.bLoad(OV_FAKE_COMPONENT, &sError));
    EXPECT_NE(sError.find("descriptor tables"), std::string::npos) << sError;
}

}  // namespace
}  // namespace ovhost
