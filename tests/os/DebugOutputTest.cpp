#include "platform/os/DebugOutput.h"

#include "platform/os/Environment.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <string>

namespace {

TEST(DebugOutput, PassesTextsOfAnyLengthToTheSinkAndWithoutOneToTheLogStream)
{
    static std::string received;
    qsOS::SetDebugOutputSink([](const char* text) { received += text; });
    qsOS::OutputDebugStringA("100 %d\n");
    qsOS::OutputDebugStringA(nullptr);
    qsOS::OutputDebugFormat("[%s] %d", "list", 42);
    EXPECT_EQ(received, "100 %d\n[list] 42");
    for (const std::size_t length : {510U, 511U, 512U, 513U, 100000U}) {
        received.clear();
        const std::string name(length - 1, 'x');
        qsOS::OutputDebugFormat("%s!", name.c_str());
        EXPECT_EQ(received, name + "!");
    }
    qsOS::SetDebugOutputSink(nullptr);
    std::ostringstream log;
    std::streambuf* const before = std::clog.rdbuf(log.rdbuf());
    qsOS::OutputDebugStringA("to the log");
    std::clog.rdbuf(before);
    EXPECT_EQ(log.str(), "to the log");
}

TEST(Environment, AnUnsetOrUnnamedVariableIsNull)
{
    EXPECT_EQ(qsOS::GetEnvironment("PAINTLAYER_TEST_VARIABLE_THAT_IS_NEVER_SET"), nullptr);
    EXPECT_EQ(qsOS::GetEnvironment(nullptr), nullptr);
    EXPECT_NE(qsOS::GetEnvironment("PATH"), nullptr);
}

}  // namespace
