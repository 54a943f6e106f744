// A host whose classes are named as the library's (OwnClasses.cpp), and whose include path begins with folders that are
// named as the library's. Paints, takes back, and looks at the pixels.

#include "OwnClasses.h"

#include <paintlayer/core/PaintManager.h>
#include <paintlayer/undo/UndoStore.h>

#include <cstdio>
#include <cstdlib>

namespace {

void Check(bool holds, const char* what)
{
    if (!holds) {
        std::printf("failed: %s\n", what);
        std::exit(1);
    }
}

int AlphaAt(int x, int y)
{
    return PaintCore.GetImagePlane()->GetPixel(x, y).GetAlpha();
}

void Paint(float x)
{
    PaintCore.BeginBrushStroke(false);
    for (int y = 20; y <= 80; ++y)
        PaintCore.AddStrokePoint(x, static_cast<float>(y), 4, 1, 1, 0, false, false);
    PaintCore.EndBrushStroke();
}

}  // namespace

int main()
{
    Check(SetupPntUndoQueue(), "undo is set up");
    PaintCore.InitPaintManager();
    Check(PaintCore.AddLayerStack(200, 100) >= 0, "a document opens");
    PaintCore.AddLayerFolder(kLayerModeImage);
    const PntHandle layer = PaintCore.AddLayer({});

    BrushParameters brush;
    brush.profile.hardness = 1;
    brush.firstSize = brush.secondSize = 4;
    PaintCore.SetBrushParameters(brush, true);
    Paint(50);
    Check(AlphaAt(50, 50) == 255 && AlphaAt(150, 50) == 0, "a stroke is painted");

    Paint(80);
    Check(AlphaAt(80, 50) == 255, "a second stroke is painted");
    PaintUndoQueue()->Undo();
    Check(AlphaAt(80, 50) == 0 && AlphaAt(50, 50) == 255, "undo takes one stroke back");

    PaintCore.SetLayerOpacity(0.5F, layer);
    Check(AlphaAt(50, 50) == 128, "the opacity is the library's");
    Check(SumOfOwnNumbers() == 11111, "the host's classes are its own");
    return 0;
}
