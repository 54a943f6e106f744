// Any bytes, read as calls of PaintCore on small documents, with any numbers in them. What must hold: no fault that a
// sanitizer or an assertion finds, every call returns, and undoing all and redoing all shows the same picture.
//
//   build/fuzz/fuzz/fuzz-commands FILE     replays a crash

#include <paintlayer/core/PaintManager.h>
#include <paintlayer/undo/UndoStore.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

namespace {

constexpr int kMostCommands = 60;
constexpr int kMostSide = 200;  // of a canvas that grows by itself

/// A host whose every choice comes from the bytes.
class Host {
public:
    explicit Host(FuzzedDataProvider& bytes) : bytes_(bytes) {}

    void Run()
    {
        PaintCore.AddLayerStack(Below(kMostSide), Below(kMostSide));
        PaintCore.AddLayer({});
        for (int i = 0; i < kMostCommands && bytes_.remaining_bytes() > 0; ++i)
            RunCommand();
    }

private:
    // --- numbers: mostly near the canvas, now and then anything ---

    int Below(int limit) { return bytes_.ConsumeIntegralInRange(0, limit - 1); }
    bool Flip() { return bytes_.ConsumeBool(); }
    bool Rarely() { return Below(32) == 31; }
    int Place() { return Rarely() ? bytes_.ConsumeIntegral<int>() : Below(300) - 50; }
    float Part() { return Rarely() ? Any() : static_cast<float>(Below(256)) / 255; }
    float Number() { return Rarely() ? Any() : static_cast<float>(Below(4096)) / 8 - 100; }
    float Any() { return std::bit_cast<float>(bytes_.ConsumeIntegral<uint32_t>()); }
    ilTile Tile() { return {Place(), Place(), Rarely() ? Place() : Below(150), Rarely() ? Place() : Below(150)}; }
    PaintColor Color() { return {Part(), Part(), Part(), Part()}; }
    FilterMethod Filter() { return FilterMethodFrom(Below(5)); }
    LayerMode Mode() { return static_cast<LayerMode>(Below(3)); }

    PntHandle Container()
    {
        std::vector<PntHandle> all = {kCurrentLayerHandle, PaintCore.GetSelectionMaskHandle(), PntHandle()};
        for (const LayerMode mode : {kLayerModeImage, kLayerModeMask, kLayerModeStencil})
            for (const PntHandle& handle : PaintCore.GetLayerContainerHandles(mode, false))
                all.push_back(handle);
        return all[static_cast<size_t>(Below(static_cast<int>(all.size())))];
    }

    LayerStackTransform Turn()
    {
        return LayerStackTransform(Number(), Number(), 2 * Part(), 2 * Part(), Number(), Number(), 360 * Part());
    }

    // --- commands, by subject ---

    void RunCommand()
    {
        switch (Below(10)) {
        case 0: ChangeDocuments(); break;
        case 1: AddContainers(); break;
        case 2: ChangeStructure(); break;
        case 3: ChangeProperties(); break;
        case 4: Stroke(); break;
        case 5: ChangePixels(); break;
        case 6: Select(); break;
        case 7: Flood(); break;
        case 8: Transform(); break;
        default: ChangeCanvas(); break;
        }
        if (Below(8) == 7)
            Flip() ? PaintUndoQueue()->Undo() : PaintUndoQueue()->Redo();
    }

    void ChangeDocuments()
    {
        switch (Below(8)) {
        case 0:
            if (PaintCore.GetLayerStackCount() < 3)
                PaintCore.AddLayerStack(Below(kMostSide), Below(kMostSide));
            break;
        case 1: CloseDocument(Below(4) - 2, Flip()); break;
        case 2: PaintCore.SetCurrentLayerStack(Below(4) - 1); break;
        case 3: PaintCore.EndProxy(); break;
        case 4: PaintCore.DamageRegion(Tile()); break;
        case 5: PaintCore.SetBackgroundColor(Color()); break;
        case 6: PaintCore.PickLayer(Place(), Place(), Part()); break;
        default: PaintCore.ForceUpdate(); break;
        }
    }

    /// Steps of a document that was closed without one open it again: they go with it.
    void CloseDocument(int handle, bool record)
    {
        record = record && (handle == -2 || handle == PaintCore.GetCurrentLayerStack());
        PaintCore.DeleteLayerStack(handle, record);
        if (!record)
            PaintCore.FlushUndoQueue();
    }

    void AddContainers()
    {
        if (PaintCore.GetLayerContainerHandles(kLayerModeImage, false).size() > 12)
            return;
        switch (Below(8)) {
        case 0: PaintCore.AddLayerFolder(Mode(), Container()); break;
        case 1: PaintCore.DuplicateCurrentLayer(); break;
        case 2: PaintCore.CopyLayerToImage(Container()); break;
        case 3: PaintCore.CopyLayerToMask(Container(), Flip()); break;
        case 4: PaintCore.CopyLayerToStencil(Container(), Flip()); break;
        default:
            PaintCore.AddLayer({}, Mode(), kLayerTypeRaster, Flip(), Container(), Place(), Place());
            PaintCore.FillLayer(Tile(), Color());
            break;
        }
    }

    void ChangeStructure()
    {
        switch (Below(16)) {
        case 0: PaintCore.DeleteLayer(Container()); break;
        case 1: PaintCore.DeleteAllLayers(); break;
        case 2: PaintCore.DeleteAllMasks(); break;
        case 3: PaintCore.DeleteAllStencils(Flip()); break;
        case 4: PaintCore.DeleteInvisibleLayers(); break;
        case 5: PaintCore.MoveLayer(Container(), Container(), Flip()); break;
        case 6: PaintCore.AddOwnerToLayer(Container(), Container(), Flip()); break;
        case 7: PaintCore.RemoveOwnerFromLayer(Container(), Container()); break;
        case 8: PaintCore.SetCurrentLayer(Container()); break;
        case 9: PaintCore.MergeLayerWithBelow(Container()); break;
        case 10: PaintCore.MergeFolder(-2, Container()); break;
        case 11: PaintCore.MergeAllLayers(); break;
        case 12: PaintCore.MergeVisibleLayers(); break;
        case 13: PaintCore.BakeAllStencils(); break;
        case 14: PaintCore.AddTransformGroup({Container(), Container()}); break;
        default: PaintCore.DeleteTransformGroup(Container()); break;
        }
    }

    void ChangeProperties()
    {
        const PntHandle container = Container();
        switch (Below(6)) {
        case 0: PaintCore.SetLayerVisible(Flip(), container); break;
        case 1: PaintCore.SetLayerOpacity(Part(), container); break;
        case 2: PaintCore.SetLayerBlend(static_cast<LayerBlendMode>(Below(kLayerBlendModeCount)), container); break;
        case 3: PaintCore.SetLayerActive(Flip(), container); break;
        case 4: PaintCore.SetLayerFolderActive(Flip(), container); break;
        default: PaintCore.SetLayerContainerName(bytes_.ConsumeRandomLengthString(8).c_str(), container); break;
        }
    }

    void Stroke()
    {
        BrushParameters brush;
        brush.color = Color();
        brush.profile.hardness = Part();
        brush.firstSize = Rarely() ? Any() : static_cast<float>(Below(40));
        brush.secondSize = Rarely() ? Any() : static_cast<float>(Below(40));
        brush.threshold = Flip() ? 0.0F : 1.0F;  // 16 bits or 8
        PaintCore.SetBrushParameters(brush, Flip());
        StrokeParameters stroke;
        stroke.markerBlend = Flip();
        stroke.spacing = Rarely() ? Any() : 0.25F;
        stroke.interpolation = Below(3);
        PaintCore.SetStrokeParameters(stroke);
        PaintCore.BeginBrushStroke(Flip());
        for (int i = Below(6); i >= 0; --i) {
            PaintCore.AddStrokePoint(Number(), Number(), static_cast<float>(Below(40)), Part(), Part(), Number(),
                                     Flip(), Flip());
            if (Rarely())
                ChangeStructure();
        }
        if (!Rarely())
            PaintCore.EndBrushStroke();
    }

    void ChangePixels()
    {
        const PntHandle layer = Container();
        ColorAdjustParm colors;
        switch (Below(12)) {
        case 0: PaintCore.SetLayerOffset(Place(), Place(), layer); break;
        case 1: PaintCore.ClearCurrentLayer(); break;
        case 2: PaintCore.ClearLayerImageByRect(Tile(), layer); break;
        case 3: PaintCore.CropLayer(Tile(), layer); break;
        case 4: PaintCore.ClearLayerImageBySelMask(layer); break;
        case 5: PaintCore.InvertImageLayer(layer); break;
        case 6: PaintCore.InvertMaskLayer(layer); break;
        case 7: PaintCore.InvertStencilLayer(layer); break;
        case 8: PaintCore.FlipImageLayer(Flip(), Flip(), layer); break;
        case 9:
            colors.brightness = Part();
            colors.hue = 360 * Part();
            Flip() ? PaintCore.ColorAdjust(colors, Part(), layer) : PaintCore.ProxyColorAdjust(colors, Part(), layer);
            break;
        case 10: PaintCore.SharpenOrBlurDone(2 * Part() - 1, 5 * Part(), layer); break;
        default: PaintCore.FillLayer(Tile(), Color(), layer); break;
        }
    }

    void Select()
    {
        const float points[] = {Number(), Number(), Number(), Number(), Number(), Number(), Number(), Number()};
        switch (Below(10)) {
        case 0: PaintCore.FillSelectionMask(Tile()); break;
        case 1: PaintCore.ClearSelectionMask(); break;
        case 2: PaintCore.AddToSelection(Container()); break;
        case 3: PaintCore.SubtractFromSelection(Tile()); break;
        case 4: PaintCore.CopyToSelection(Container()); break;
        case 5:
            PaintCore.SelectLasso(points, Below(5), static_cast<SelectionMode>(Below(4)),
                                  Flip() ? FillRule::NonZero : FillRule::EvenOdd);
            break;
        case 6: PaintCore.MoveSelection(Place(), Place()); break;
        case 7: PaintCore.InvertSelection(); break;
        case 8: PaintCore.GrowSelection(Below(30) - 15); break;
        default: PaintCore.FeatherSelection(10 * Part()); break;
        }
    }

    void Flood()
    {
        const PntHandle layer = Container();
        const int x = Place();
        const int y = Place();
        PaintColor color = Color();
        switch (Below(6)) {
        case 0: PaintCore.DoFloodFill(x, y, Part(), color, layer); break;
        case 1: PaintCore.DoSmoothFloodFill(x, y, Part(), color, layer); break;
        case 2: PaintCore.DoMagicWand(x, y, Part(), color, Flip(), layer); break;
        case 3: PaintCore.FloodFillDone(x, y, Part(), color, layer); break;
        case 4: PaintCore.SmoothFloodFillDone(x, y, Part(), color, layer); break;
        default: PaintCore.MagicWandDone(x, y, Part(), color, Flip(), layer); break;
        }
    }

    void Transform()
    {
        const PntHandle layer = Container();
        const Rect8f quad{{Number(), Number(), Number(), Number()}, {Number(), Number(), Number(), Number()}};
        switch (Below(4)) {
        case 0: PaintCore.XForm(Turn(), Filter(), Filter(), layer); break;
        case 1: PaintCore.ProxyXForm(Turn(), Filter(), Filter(), layer); break;
        case 2: PaintCore.Deform(quad, Filter(), Below(2), layer); break;
        default: PaintCore.ProxyDeform(quad, Filter(), Below(2), layer); break;
        }
    }

    void ChangeCanvas()
    {
        ilTile size;
        PaintCore.GetLayerStackSize(size);
        switch (Below(5)) {
        case 0: PaintCore.FlipDocument(Flip(), Flip()); break;
        case 1:
            if (std::max(size.nx, size.ny) < kMostSide)
                PaintCore.RotateCanvas(Number(), Filter(), Filter());
            break;
        case 2: PaintCore.ScaleAllLayers(Below(kMostSide), Below(kMostSide), Filter(), Filter()); break;
        case 3: PaintCore.CropDocument(Tile()); break;
        default: PaintCore.ResizeDocument({Below(40) - 20, Below(40) - 20, Below(kMostSide), Below(kMostSide)}); break;
        }
    }

    FuzzedDataProvider& bytes_;
};

/// The pictures of all documents.
std::vector<uint8_t> Shown()
{
    std::vector<uint8_t> bytes;
    for (int handle = 0; handle < PaintManager::kMaxLayerStacks; ++handle) {
        const qs::Reference<LayerStack> stack = PaintCore.GetLayerStack(handle);
        if (!stack)
            continue;
        PaintCore.ForceUpdate(handle);
        const qs::TempReference<ilSPMemoryImg> plane = PaintCore.GetImagePlane(handle);
        for (int y = 0; plane && y < plane->GetHeight(); ++y)
            bytes.insert(bytes.end(), plane->GetRow(y), plane->GetRow(y) + ptrdiff_t{4} * plane->GetWidth());
    }
    return bytes;
}

void CheckUndo()
{
    PaintCore.EndBrushStroke();
    PaintCore.EndProxy();
    while (PaintUndoQueue()->Redo()) {
    }
    const std::vector<uint8_t> before = Shown();
    while (PaintUndoQueue()->Undo()) {
    }
    while (PaintUndoQueue()->Redo()) {
    }
    if (Shown() != before) {
        std::fputs("Undoing all and redoing all shows another picture\n", stderr);
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    SetupPntUndoQueue();
    PaintCore.SetBrushParameters({}, true);
    PaintCore.SetStrokeParameters({});
    FuzzedDataProvider bytes(data, size);
    Host(bytes).Run();
    CheckUndo();
    for (int handle = 0; handle < PaintManager::kMaxLayerStacks; ++handle)
        PaintCore.DeleteLayerStack(handle, false);
    PaintCore.FlushUndoQueue();
    return 0;
}
