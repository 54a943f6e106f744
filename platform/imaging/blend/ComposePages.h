#pragma once

#include "platform/base/Containers.h"
#include "platform/imaging/kernels/LayerBlendMode.h"
#include "platform/imaging/kernels/Weight.h"
#include "platform/imaging/pages/ilMIOImage.h"

class ilMemoryImg;

/// What fractions are where the levels are whole.
inline constexpr ilPixel kWholeLevels = ilPixel::Rgba(255, 255, 255, 255);

/// One source of a composite: a four-channel image at an offset on the canvas.
struct CompositeSource {
    const ilMIOImage* image = nullptr;  // borrowed
    int x = 0;  // canvas position of the image's (0, 0)
    int y = 0;
    LayerBlendMode mode = kBlendNormal;
    kernels::Weight weight = kernels::kFullWeight;
    const ilMIOImage* stencil = nullptr;  // one channel, borrowed: hides what it covers; null for none
    int stencilX = 0;  // canvas position of the stencil's (0, 0)
    int stencilY = 0;
    /// Of an image that was composed finer than bytes, four channels at the same offset (kernels::KernelTable tells of
    /// fractions, kWholeLevels is their fill value); null for none.
    const ilMIOImage* fractions = nullptr;
    bool isFine = false;  // of normal mode: joined before the sum is rounded. Those after it are fine as well.
};

/// Composes `sources`, bottom to top, into `tile` (canvas pixels) of the four-channel `target`, replacing what it held.
/// What the fine ones leave below the byte goes into `fractions` (four channels) when there is one.
///
/// Works page by page and bottom to top within a page, so that the accumulator stays in the first-level cache; what an
/// opaque page hides is not read, and a page with a single visible source at full weight is shared, not copied. The
/// result is the same as painting the sources one after the other over a transparent target: each to the nearest byte,
/// the fine ones in 1/128 of a level, and to the nearest byte at the end.
void ComposePages(ilMIOImage& target, const ilTile& tile, const qs::vector<CompositeSource>& sources,
                  ilMIOImage* fractions = nullptr);

/// The same for a memory image (the image plane), whose part of `tile` is replaced. What is blank and stays blank is
/// not touched.
void ComposePages(ilMemoryImg& target, const ilTile& tile, const qs::vector<CompositeSource>& sources);
