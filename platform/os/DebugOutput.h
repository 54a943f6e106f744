#pragma once

#include "platform/base/Export.h"

namespace qsOS {

using DebugOutputSink = void (*)(const char* text);

/// Sends `text`, as it is, to the debug output; a null pointer is ignored.
PAINTLAYER_EXPORT void OutputDebugStringA(const char* text);

/// The same with a printf format, of any resulting length.
[[gnu::format(printf, 1, 2)]] PAINTLAYER_EXPORT void OutputDebugFormat(const char* format, ...);

/// Redirects the debug output of the whole process; null brings back the default, the standard log stream.
PAINTLAYER_EXPORT void SetDebugOutputSink(DebugOutputSink sink);

}  // namespace qsOS
