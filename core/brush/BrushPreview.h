#pragma once

#include "platform/base/Uuid.h"
#include "platform/imaging/pages/ilMemoryImg.h"
#include "platform/imaging/pages/ilTile.h"
#include "platform/imaging/stamps/Stamp.h"

class BrushState;
struct PaintSession;

/// One stamp of the brush shown on the image plane, until it is cleared. Layers and composites never see it, and
/// whatever redraws its place in between wipes it.
class BrushPreview {
public:
    explicit BrushPreview(PaintSession& session);

    /// Replaces the preview before; `placement` in canvas pixels. Nothing while it is running already.
    void Show(const StampPlacement& placement);

    /// Shows the document again where the preview was.
    void Clear();

    bool IsRunning() const { return isRunning_; }

private:
    static void DrawStamp(ilSPMemoryImg& plane, const ilTile& tile, const qs::Reference<Stamp>& stamp,
                          const StampPlacement& placement);

    PaintSession& session_;
    const BrushState& brush_;
    bool isRunning_ = false;
    int stackHandle_ = -1;
    qsOS::Uuid instance_;  // tells whether the handle still names the same document
    ilTile tile_;  // canvas pixels; empty without a preview
};
