// The fixture every end-to-end test shares: a stand-in machine with the built library loaded, and
// a call that reports why it could not be made.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/machine.h"

namespace ovhost {

class MachineEndToEnd : public ::testing::Test {
protected:
    void SetUp() override {
        std::string sError;
        ASSERT_TRUE(m_cl.bLoad(CStandInMachine::s_sDefaultLibraryPath(), &sError)) << sError;
    }

    STCallOutcome stCall(const char* pszName, std::vector<CValue> tab) {
        STCallOutcome st;
        std::string sError;
        EXPECT_TRUE(m_cl.bCall(pszName, tab, &st, &sError)) << pszName << ": " << sError;
        return st;
    }

    // The message of a call the machine refuses to make.
    std::string sRefused(const char* pszName, std::vector<CValue> tab) {
        STCallOutcome st;
        std::string sError;
        EXPECT_FALSE(m_cl.bCall(pszName, tab, &st, &sError)) << pszName;
        return sError;
    }

    CStandInMachine m_cl;
};

}  // namespace ovhost
