#include "platform/os/DebugOutput.h"

#include "platform/os/Environment.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <string>

namespace {

std::string received;

class DebugOutput : public testing::Test {
protected:
    void SetUp() override
    {
        received.clear();
        qsOS::SetDebugOutputSink([](const char* text) { received += text; });
    }
    void TearDown() override { qsOS::SetDebugOutputSink(nullptr); }
};

TEST_F(DebugOutput, PassesTextsOnUnchanged)
{
    qsOS::OutputDebugStringA("100 %d\n");
    qsOS::OutputDebugStringA(nullptr);
    qsOS::OutputDebugFormat("[%s] %d", "list", 42);
    EXPECT_EQ(received, "100 %d\n[list] 42");
}

TEST_F(DebugOutput, FormatsTextsOfAnyLength)
{
    for (const std::size_t length : {510U, 511U, 512U, 513U, 100000U}) {
        received.clear();
        const std::string name(length - 1, 'x');
        qsOS::OutputDebugFormat("%s!", name.c_str());
        EXPECT_EQ(received, name + "!");
    }
}

TEST_F(DebugOutput, GoesToTheLogStreamWithoutASink)
{
    qsOS::SetDebugOutputSink(nullptr);
    std::ostringstream log;
    std::streambuf* const before = std::clog.rdbuf(log.rdbuf());
    qsOS::OutputDebugStringA("to the log");
    std::clog.rdbuf(before);
    EXPECT_EQ(log.str(), "to the log");
    EXPECT_EQ(received, "");
}

TEST(Environment, AnUnsetOrUnnamedVariableIsNull)
{
    EXPECT_EQ(qsOS::GetEnvironment("PAINTLAYER_TEST_VARIABLE_THAT_IS_NEVER_SET"), nullptr);
    EXPECT_EQ(qsOS::GetEnvironment(nullptr), nullptr);
    ASSERT_NE(qsOS::GetEnvironment("PATH"), nullptr);
}

}  // namespace
