// The smallest host: opens a document, paints one stroke, and looks at what a view would show.

#include <paintlayer/core/PaintManager.h>

#include <cmath>
#include <cstdio>

int main()
{
    PaintCore.InitPaintManager();
    if (PaintCore.AddLayerStack(640, 480) < 0)
        return 1;
    PaintCore.AddLayer({});  // an empty image layer, current from here on

    BrushParameters brush;
    brush.color = PaintColor(0.8F, 0.2F, 0.1F);
    brush.profile.hardness = 0.6F;
    brush.firstSize = brush.secondSize = 12;
    PaintCore.SetBrushParameters(brush, true);

    PaintCore.BeginBrushStroke(false);
    for (int i = 0; i <= 100; ++i) {
        const float t = static_cast<float>(i) / 100;
        PaintCore.AddStrokePoint(60 + 520 * t, 240 + 120 * std::sin(9 * t), 12, t, 1, 0, false, false);
    }
    PaintCore.EndBrushStroke();

    const auto plane = PaintCore.GetImagePlane();  // premultiplied RGBA, 640 × 480
    const ilPixel end = plane->GetPixel(580, 290);
    std::printf("alpha at the end of the stroke: %d\n", end.GetAlpha());
    return end.GetAlpha() > 0 ? 0 : 1;
}
