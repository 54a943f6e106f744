#pragma once

#include <paintlayer/core/PaintManager.h>

#include <cstdlib>
#include <string>

/// Takes what it is shown and asks for nothing.
class BenchView : public LayerStackView {
public:
    void UpdateView(qs::TempReference<ilSPMemoryImg>) override
    {
        ilTile tile;
        while (GetNextUpdateTile(tile))
            ++tiles_;
    }
    void BeginTimerBasedUpdate(int) override {}
    void EndTimerBasedUpdate() override {}
    void CheckTimerBasedUpdate() override { PaintCore.ForceUpdate(); }

    uint64_t GetTileCount() const { return tiles_; }

private:
    uint64_t tiles_ = 0;
};

/// An open document with a view, current until it goes.
class BenchDocument {
public:
    BenchDocument(int width, int height) : handle_(PaintCore.AddLayerStack(width, height))
    {
        PaintCore.InitPaintManager();
        PaintCore.AddViewer(&view_);
    }
    ~BenchDocument()
    {
        PaintCore.RemoveViewer(&view_, handle_);
        PaintCore.DeleteLayerStack(handle_, false);
    }
    BenchDocument(const BenchDocument&) = delete;
    BenchDocument& operator=(const BenchDocument&) = delete;

    LayerStack& GetStack() const { return *PaintCore.GetLayerStack(handle_); }

private:
    BenchView view_;
    int handle_;
};

/// A round brush of hardness 0.5 whose stamps lie half a radius apart on straight lines between the samples.
inline void SetBenchBrush(float radius, bool use16Bit)
{
    BrushParameters brush;
    brush.color = PaintColor(0.14F, 0.36F, 0.7F);
    brush.profile.hardness = 0.5F;
    brush.firstSize = radius;
    brush.secondSize = use16Bit ? std::max(radius, 6.0F) : radius;  // 16 bits need a brush above 5
    brush.threshold = use16Bit ? 0.0F : 1.0F;
    StrokeParameters stroke;
    stroke.spacing = 0.5F;
    stroke.interpolation = 0;
    PaintCore.SetStrokeParameters(stroke);
    PaintCore.SetBrushParameters(brush, true);
}

/// Side of the canvas of the heavy benchmarks, pixels; smaller when they are only tried.
inline int GetBenchCanvas()
{
    const char* side = std::getenv("PAINTLAYER_BENCH_CANVAS");
    return side != nullptr ? std::atoi(side) : 4096;
}
