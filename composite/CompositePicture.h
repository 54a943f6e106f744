#pragma once

#include "composite/CompositeBase.h"

/// The node of a picture that stands for containers, as for a layer that is only tried.
class CompositePicture : public CompositeBase {
public:
    /// image: four channels, at the canvas.
    CompositePicture(LayerStack* stack, qs::TempReference<ilSmartImage> image, LayerBlendMode blend)
        : CompositeBase(stack), image_(std::move(image)), blend_(blend)
    {
        state_.mode = blend != kBlendNormal ? CompositeMode::Effect : CompositeMode::Plain;
    }

    void AppendSources(const ilTile&, qs::vector<CompositeSource>& sources) override
    {
        CompositeSource source;
        source.image = image_.get();
        source.mode = blend_;
        sources.push_back(source);
    }

private:
    qs::TempReference<ilSmartImage> image_;
    LayerBlendMode blend_;
};
