#pragma once

#include "platform/base/Containers.h"
#include "platform/imaging/LayerBlendMode.h"
#include "platform/imaging/Weight.h"
#include "platform/imaging/ilMIOImage.h"

class ilMemoryImg;

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
};

/// Composes `sources`, bottom to top, into `tile` (canvas pixels) of the four-channel `target`, replacing what it held.
///
/// Works page by page and bottom to top within a page, so that the accumulator stays in the first-level cache; what an
/// opaque page hides is not read, and a page with a single visible source at full weight is shared, not copied. The
/// result is the same as painting the sources one after the other over a transparent target.
void ComposePages(ilMIOImage& target, const ilTile& tile, const qs::vector<CompositeSource>& sources);

/// The same for a memory image (the image plane), whose part of `tile` is replaced. What is blank and stays blank is
/// not touched.
void ComposePages(ilMemoryImg& target, const ilTile& tile, const qs::vector<CompositeSource>& sources);
