// The fixture of all tests that script the platform.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/Journal.h"
#include "tests/support/LogCapture.h"

namespace zelkcam::test {

class DoublesTest : public testing::Test {
  protected:
    void SetUp() override {
        setLog({});
        setErrorOutputWanted(true);
        forget();
    }

    static void forget() {
        journal().take();
        takeRawLog();
    }
};

}  // namespace zelkcam::test
