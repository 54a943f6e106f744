#pragma once

/// Marks what the shared library shows: all else is compiled with hidden visibility.
#if defined(__GNUC__)
#define PAINTLAYER_EXPORT __attribute__((visibility("default")))
#else
#define PAINTLAYER_EXPORT
#endif
