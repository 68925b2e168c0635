// The fixture of all tests that script the platform.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>

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

    // Fails unless each of these doubles has been called in this process: one that is compiled or
    // linked wrongly is otherwise ignored without a word. For fixtures, behind operations that
    // reach them all.
    static void expectConnected(std::initializer_list<const char*> doubles) {
        for (const char* const name : doubles)
            EXPECT_GT(journal().calls(name), 0) << "the double of " << name << " is not connected";
        forget();
    }

    static void forget() {
        journal().take();
        takeRawLog();
    }
};

}  // namespace zelkcam::test
