// Erases with the brush, takes a stroke back, and saves the document without its views' decorations.

#include <paintlayer/core/PaintManager.h>
#include <paintlayer/undo/UndoStore.h>

#include <cstdint>
#include <cstdio>
#include <vector>

namespace {

void Stroke(float fromX, float fromY, float toX, float toY, bool erases)
{
    PaintCore.SetBrushErases(erases);
    PaintCore.BeginBrushStroke(false);
    PaintCore.AddStrokePoint(fromX, fromY, 12, 1, 1, 0, false, false);
    PaintCore.AddStrokePoint(toX, toY, 12, 1, 1, 0, false, false);
    PaintCore.EndBrushStroke();
}

/// As a PAM file, whose colours are straight; the library's are premultiplied by alpha.
bool SavePam(const char* path, const ilImage& image, int width, int height)
{
    const ptrdiff_t stride = ptrdiff_t{4} * width;
    std::vector<uint8_t> rgba(static_cast<size_t>(stride * height));
    image.ReadTile({0, 0, width, height}, rgba.data(), stride);
    for (size_t i = 0; i < rgba.size(); i += 4)
        for (size_t c = i; c < i + 3 && rgba[i + 3] > 0; ++c)
            rgba[c] = static_cast<uint8_t>((rgba[c] * 255 + rgba[i + 3] / 2) / rgba[i + 3]);
    std::FILE* const file = std::fopen(path, "wb");
    if (file == nullptr)
        return false;
    std::fprintf(file, "P7\nWIDTH %d\nHEIGHT %d\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n", width, height);
    const bool isWritten = std::fwrite(rgba.data(), 1, rgba.size(), file) == rgba.size();
    return std::fclose(file) == 0 && isWritten;
}

}  // namespace

int main()
{
    SetupPntUndoQueue();  // before the edits that it shall keep
    PaintCore.InitPaintManager();
    if (PaintCore.AddLayerStack(320, 240) < 0)
        return 1;
    PaintCore.AddLayer({});

    Stroke(40, 120, 280, 120, false);
    Stroke(160, 40, 160, 200, true);
    Stroke(40, 40, 280, 200, false);
    PaintUndoQueue()->Undo();  // the last stroke goes

    // The composite is the document alone; the image plane, which views show, holds the tint of a selection as well.
    const auto picture = PaintCore.GetCompositeImage();
    const bool isRight = picture && picture->GetPixel(60, 120).GetAlpha() > 0 &&
                         picture->GetPixel(160, 120).GetAlpha() == 0 && picture->GetPixel(60, 53).GetAlpha() == 0;
    if (!isRight || !SavePam("picture.pam", *picture, 320, 240))
        return 1;
    std::puts("The picture is in picture.pam");
    return 0;
}
