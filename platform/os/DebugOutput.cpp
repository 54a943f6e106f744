#include "platform/os/DebugOutput.h"

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <iostream>
#include <string>

namespace qsOS {

namespace {

void WriteToLog(const char* text)
{
    std::clog << text;
}

DebugOutputSink currentSink = WriteToLog;

}  // namespace

void OutputDebugStringA(const char* text)
{
    if (text != nullptr)
        currentSink(text);
}

void OutputDebugFormat(const char* format, ...)
{
    char shortText[512];
    std::va_list arguments;
    std::va_list again;
    va_start(arguments, format);
    va_copy(again, arguments);
    const int length = std::vsnprintf(shortText, sizeof(shortText), format, arguments);
    va_end(arguments);
    if (length >= 0 && static_cast<std::size_t>(length) < sizeof(shortText)) {
        OutputDebugStringA(shortText);
    } else if (length >= 0) {
        std::string longText(static_cast<std::size_t>(length), '\0');
        std::vsnprintf(longText.data(), longText.size() + 1, format, again);
        OutputDebugStringA(longText.c_str());
    }
    va_end(again);
}

void SetDebugOutputSink(DebugOutputSink sink)
{
    currentSink = sink != nullptr ? sink : WriteToLog;
}

}  // namespace qsOS
