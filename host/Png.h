#pragma once

#include <paintlayer/platform/imaging/pages/PaintColor.h>
#include <paintlayer/platform/imaging/pages/ilMemoryImg.h>

#include <optional>
#include <string>

/// Saves a premultiplied RGBA image as an 8-bit PNG: over an opaque background as RGB, without one as straight RGBA.
/// Returns why it failed, or nothing. The file appears under its name only when it is complete.
std::string WritePng(const std::string& path, const ilMemoryImg& image, const std::optional<PaintColor>& background);
