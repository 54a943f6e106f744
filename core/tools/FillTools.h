#pragma once

#include "layers/PntHandle.h"
#include "platform/imaging/pages/PaintColor.h"
#include "platform/imaging/pages/ilSmartImage.h"
#include "undo/PntUndoStroke.h"

#include <memory>

class LayerStack;
struct PaintSession;
struct ProxyParameters;

/// Flood fill, smooth fill and magic wand while the user tries them: the preview in a proxy, and the one step of undo
/// for all attempts and for what follows them.
class FillTools {
public:
    enum class Tool { Flood, SmoothFlood, Wand };

    /// What a call asks for; x and y in canvas pixels.
    struct Request {
        Tool tool;
        int x, y;
        float tolerance;
        PaintColor color;
        PntHandle layer;
        bool fromAll = false;  // of the wand
    };

    explicit FillTools(PaintSession& session) : session_(session) {}

    /// Shows the result in a proxy, in place of the attempt before.
    void Try(const Request& request);

    /// Fills for good; within a proxy that is still open, as another attempt.
    void Finish(const Request& request);

    bool IsPointBeingFilled(int x, int y, const PaintColor& color) const;

private:
    qs::Reference<LayerStack> Enter(const PntHandle& layer, PntHandle& target, Tool tool);
    bool TryFirst(LayerStack& stack, const PntHandle& target, const Request& request);
    bool Apply(LayerStack& stack, const Request& request);
    void ConnectHost(const ProxyParameters& parameters, const PntHandle& target, Tool tool);
    void KeepAtTheEnd(const ProxyParameters& parameters, const qs::Reference<PntUndoStroke>& step, Tool tool);

    PaintSession& session_;
    bool isSmoothFilling_ = false;  // from the first try to the end of a smooth fill
    qs::TempReference<ilSmartImage> preview_;  // all of the colour of the smooth fill, of its layer's channels
    ilTile filled_;  // canvas pixels of the smooth fill
    std::shared_ptr<PntHandle> open_ = std::make_shared<PntHandle>(kNullHandle);  // what an open proxy of ours holds
};
