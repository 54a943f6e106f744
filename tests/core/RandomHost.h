#pragma once

#include "PaintCoreFixture.h"
#include "core/FlagScope.h"
#include "undo/PntUndoStroke.h"

#include <cstdlib>
#include <cstring>
#include <random>
#include <span>

/// A host that edits a few small documents at random, and describes all of them in a text.
///
/// Where it begins is the seed, printed with every failure; the environment variable PAINTLAYER_SEED sets it.
class RandomHost : public PaintCoreTest {
protected:
    /// An edit that can be undone by one step at most. It chooses what it works on by itself.
    struct Command {
        const char* name;
        void (*run)(RandomHost& host);
    };

    /// All that can be undone: a new command is one line.
    static std::span<const Command> GetCommands()
    {
        static const Command commands[] = {
            {"stroke", [](RandomHost& host) { host.Stroke(); }},
            {"stroke", [](RandomHost& host) { host.Stroke(); }},
            {"fill", [](RandomHost& host) { PaintCore.FillLayer(host.Tile(), host.Color(), host.Layer_()); }},
            {"fill", [](RandomHost& host) { PaintCore.FillLayer(host.Tile(), host.Color(), host.Layer_()); }},
            {"fill selection",
             [](RandomHost& host) {
                 PaintCore.FillLayer(host.Tile(), {1, 1, 1, 1}, PaintCore.GetSelectionMaskHandle());
             }},
            {"offset", [](RandomHost& host) { PaintCore.SetLayerOffset(host.Shift(), host.Shift(), host.Layer_()); }},
            {"offset current", [](RandomHost& host) { PaintCore.SetCurrentLayerOffset(host.Shift(), host.Shift()); }},
            {"add layer",
             [](RandomHost& host) {
                 PaintCore.AddLayer({}, host.Mode(), kLayerTypeRaster, host.Flip(), host.Container(), host.Shift());
             }},
            {"add follower", [](RandomHost& host) { host.AddFollower(); }},
            {"add folder", [](RandomHost& host) { PaintCore.AddLayerFolder(host.Mode(), host.Container()); }},
            {"delete layer", [](RandomHost& host) { PaintCore.DeleteLayer(host.Layer_()); }},
            {"move layer",
             [](RandomHost& host) { PaintCore.MoveLayer(host.Container(), host.Container(), host.Flip()); }},
            {"record alone",
             [](RandomHost& host) {
                 const FlagScope holding(host.isHoldingDocument_);
                 PaintCore.EndBrushStroke();  // which the record ends
                 PaintCore.EndProxy();
                 const std::string before = host.Describe();
                 PaintCore.AddUndoLayerStack(-2, true);
                 EXPECT_EQ(host.Describe(), before) << "the copy that goes on is as its source";
             }},
            {"properties", [](RandomHost& host) { host.ChangeProperties(); }},
            {"recorded property", [](RandomHost& host) { host.ChangeRecordedProperty(); }},
            {"several layers", [](RandomHost& host) { host.ChangeSeveralLayers(); }},
            {"delete many", [](RandomHost& host) { host.DeleteMany(); }},
            {"merge down", [](RandomHost& host) { PaintCore.MergeLayerWithBelow(host.Layer_()); }},
            {"merge folder", [](RandomHost& host) { PaintCore.MergeFolder(-2, host.Container()); }},
            {"merge all", [](RandomHost& host) { host.MergeAll(); }},
            {"duplicate", [](RandomHost&) { PaintCore.DuplicateCurrentLayer(); }},
            {"copy as", [](RandomHost& host) { host.CopyAs(); }},
            {"clear", [](RandomHost& host) { host.Clear(); }},
            {"invert", [](RandomHost& host) { host.Invert(); }},
            {"flip", [](RandomHost& host) { PaintCore.FlipImageLayer(host.Flip(), true, host.Layer_()); }},
            {"owners", [](RandomHost& host) { host.ChangeOwners(); }},
            {"select", [](RandomHost& host) { host.Select(); }},
            {"select", [](RandomHost& host) { host.Select(); }},
            {"flood", [](RandomHost& host) { host.Flood(); }},
            {"flood", [](RandomHost& host) { host.Flood(); }},
            {"transform", [](RandomHost& host) { host.Transform(); }},
            {"adjust", [](RandomHost& host) { host.Adjust(); }},
            {"group", [](RandomHost& host) { host.Group(); }},
            {"document", [](RandomHost& host) { host.ChangeDocument(); }},
        };
        return commands;
    }

    void Begin(unsigned seed)
    {
        random_.seed(seed);
        CloseAll();
        documents_ = {Open(200, 150), Open(130, 70), Open(64, 64)};
        trace_.clear();
    }

    static unsigned FirstSeed()
    {
        const char* const set = std::getenv("PAINTLAYER_SEED");
        return set != nullptr ? static_cast<unsigned>(std::strtoul(set, nullptr, 10)) : 1;
    }

    void RunCommand()
    {
        PaintCore.SetCurrentLayerStack(OneOf(documents_));
        const Command& command = GetCommands()[static_cast<size_t>(Below(static_cast<int>(GetCommands().size())))];
        Note(command.name);
        command_ = command.name;
        command.run(*this);
    }

    void Note(const std::string& what) { trace_ += what + "; "; }
    const std::string& GetTrace() const { return trace_; }
    const std::string& GetCommand() const { return command_; }  // the last one run
    int Below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
    bool Flip() { return Below(2) == 0; }

    template <class T>
    T OneOf(const qs::vector<T>& values)
    {
        return values[static_cast<size_t>(Below(static_cast<int>(values.size())))];
    }

    // --- all that there is, as text ---

    std::string Describe() const
    {
        std::string text;
        for (const int handle : documents_) {
            const qs::Reference<LayerStack> stack = PaintCore.GetLayerStack(handle);
            text += "document " + std::to_string(handle) + (stack ? "\n" + Describe(*stack) : " is closed\n");
        }
        return text;
    }

    /// Fails where an image plane is not what composing afresh, without any cache, gives.
    void ExpectTruePlanes() const { EXPECT_EQ(FindUntruePlane(), "") << GetTrace(); }

    std::string FindUntruePlane() const
    {
        for (const int handle : documents_) {
            const qs::Reference<LayerStack> stack = PaintCore.GetLayerStack(handle);
            if (!stack)
                continue;
            stack->ForceUpdate();
            const auto shown = BytesOf(*stack->GetImagePlane(), stack->GetSize());
            stack->GetLayerFolder(kLayerModeImage)->SetStencilCompositeDirty(true);
            const qs::TempReference<ilImage> composed = stack->GetUpdateImagePlaneBits(true);
            const bool isSame =
                composed ? shown == BytesOf(*composed, stack->GetSize()) : shown == qs::vector<uint8_t>(shown.size());
            if (!isSame || (composed == nullptr) != (stack->GetCurrentLayerPtr() == nullptr))
                return "the plane of document " + std::to_string(handle);
        }
        return "";
    }

    qs::vector<int> documents_;
    bool isHoldingDocument_ = false;  // works on what a further command could replace

private:
    static std::string Describe(const PntHandle& handle) { return handle.own.asString().c_str(); }

    /// All stored pixels, whatever pages they lie in.
    static uint64_t HashOf(const ilMIOImage& image)
    {
        const uint32_t fill = image.GetFillValue().GetPacked();
        uint64_t sum = fill;
        image.VisitPages({-(1 << 30), -(1 << 30), INT32_MAX, INT32_MAX}, [&](int px, int py, const Page& page) {
            if (page.IsUniform() && page.GetUniformValue() == fill)
                return;
            const uint8_t* bytes = page.GetBytes();
            const auto word = [&](size_t at) {
                uint64_t value = 0;
                std::memcpy(&value, bytes + at, sizeof value);
                return value;
            };
            const uint64_t blank =
                image.GetNumChannels() == 1 ? (fill & 255) * 0x0101010101010101U : uint64_t{fill} << 32 | fill;
            uint64_t hash = static_cast<uint64_t>(px) * 0x9E3779B97F4A7C15U + static_cast<uint64_t>(py);
            bool isBlank = true;
            for (size_t at = 0; at < page.GetByteCount(); at += sizeof blank) {
                isBlank = isBlank && word(at) == blank;
                hash = (hash ^ word(at)) * 0x9E3779B97F4A7C15U;
                hash ^= hash >> 29;
            }
            sum += isBlank ? 0 : hash;  // pages come in no order
        });
        return sum;
    }

    static std::string Describe(Layer& layer)
    {
        std::string text = Describe(layer.GetLayerContainerHandle()) + ' ' + layer.GetLayerContainerName();
        for (const int value : {layer.getXOffset(), layer.getYOffset(), int{layer.GetLayerBlend()},
                                int{layer.GetLayerMode()}, int{layer.isVisible()}, int{layer.isActive()},
                                int{layer.IsLocked()}, int{layer.IsHardLinkToOwnerLayer()}})
            text += ' ' + std::to_string(value);
        text += ' ' + std::to_string(layer.GetOpacity()) + ' ' + layer.GetAppData("key").c_str();
        for (const PntHandle& owner : layer.GetOwnerLayerArray())
            text += " of " + Describe(owner);
        const qs::TempReference<ilMIOImage> image = layer.GetImage();
        return text + " pixels " + (image ? std::to_string(HashOf(*image)) : "none") + '\n';
    }

    static std::string Describe(const LayerFolder& folder)
    {
        std::string text = Describe(folder.GetLayerContainerHandle()) + ' ' + folder.GetLayerContainerName() +
                           (folder.isActive() ? " active" : "") + (folder.IsLocked() ? " locked" : "") + " (\n";
        for (LayerContainer* child : folder.GetLCArray())
            if (auto* inner = dynamic_cast<LayerFolder*>(child))
                text += Describe(*inner);
            else
                text += Describe(dynamic_cast<Layer&>(*child));
        return text + ")\n";
    }

    static std::string Describe(LayerStack& stack)
    {
        std::string text;
        for (const LayerMode mode : {kLayerModeImage, kLayerModeMask, kLayerModeStencil})
            text += Describe(*stack.GetLayerFolder(mode));
        int x = 0;
        int y = 0;
        stack.GetResolution(x, y);
        const Symmetry* symmetry = stack.GetSymmetry();
        text += "selection " + Describe(*stack.GetSelectionMask()) + "current " +
                Describe(stack.GetCurrentLayerContainerHandle());
        for (const int value : {stack.GetSize().nx, stack.GetSize().ny, x, y, int{stack.GetShowCurrentLayerOnly()},
                                int{stack.GetMaskDisable()}, int{stack.GetMaskVisible()},
                                symmetry != nullptr ? static_cast<int>(symmetry->GetCenterX()) : -1,
                                static_cast<int>(255 * stack.GetBackgroundColor().r)})
            text += ' ' + std::to_string(value);
        for (const qs::vector<PntHandle>& group : stack.GetTransformGroups()) {
            std::string members;  // those that are still there
            for (const PntHandle& handle : group)
                members += stack.GetLayerFromHandle(handle) != nullptr ? ' ' + Describe(handle) : "";
            text += members.empty() ? "" : " group" + members;
        }
        return text + '\n';
    }

    // --- choices ---

    LayerMode Mode() { return static_cast<LayerMode>(std::max(0, Below(5) - 2)); }
    ilTile Tile() { return {Below(220) - 20, Below(170) - 20, 1 + Below(90), 1 + Below(90)}; }
    int Shift() { return Below(90) - 45; }
    float Part() { return static_cast<float>(Below(256)) / 255; }
    PaintColor Color() { return {Part(), Part(), Part(), Flip() ? 1 : Part()}; }

    qs::vector<PntHandle> Containers()
    {
        qs::vector<PntHandle> all = {kCurrentLayerHandle};
        for (const LayerMode mode : {kLayerModeImage, kLayerModeMask, kLayerModeStencil}) {
            const qs::vector<PntHandle> some = PaintCore.GetLayerContainerHandles(mode, false);
            all.insert(all.end(), some.begin(), some.end());
        }
        return all;
    }
    PntHandle Container() { return OneOf(Containers()); }
    PntHandle Layer_()
    {
        qs::vector<PntHandle> layers = Containers();
        std::erase_if(layers, [](const PntHandle& handle) { return Stack().GetLayerFromHandle(handle) == nullptr; });
        layers.push_back(PaintCore.GetSelectionMaskHandle());
        return OneOf(layers);
    }

    // --- commands ---

    void Stroke()
    {
        BrushParameters brush;
        brush.color = Color();
        brush.profile.hardness = Part();
        brush.firstSize = brush.secondSize = static_cast<float>(1 + Below(25));
        brush.threshold = Flip() ? 0.0F : 1.0F;  // 16 bits or 8
        PaintCore.SetBrushParameters(brush, true);
        StrokeParameters stroke;
        stroke.markerBlend = Below(3) == 0;
        PaintCore.SetStrokeParameters(stroke);
        PaintCore.BeginBrushStroke(Flip());
        for (int i = Below(5); i >= 0; --i)
            Sample(static_cast<float>(Below(220) - 10), static_cast<float>(Below(170) - 10), brush.firstSize, Part());
        PaintCore.EndBrushStroke();
    }

    /// A mask or stencil that acts on a layer, as one step that the host makes.
    void AddFollower()
    {
        const FlagScope holding(isHoldingDocument_);
        const PntHandle owner = Layer_();
        PaintCore.AddUndoLayerStack(-2, true);
        LayerStack& stack = Stack();
        const PntHandle added =
            stack.AddLayer({}, {}, Below(3) == 0 ? kLayerModeMask : kLayerModeStencil, kLayerTypeRaster, true, 0,
                           kCurrentLayerHandle, true, Shift(), Shift(), true);
        stack.AddOwnerToLayer(owner, added, Below(4) == 0);
        if (const Layer* layer = stack.GetLayerFromHandle(added))
            layer->GetImage()->fillTile(Tile(), ilPixel::Coverage(static_cast<uint8_t>(100 + Below(156))));
        stack.RebuildAllAndRedrawEntireCanvas();
    }

    /// What the library does not record by itself: the host makes the step.
    void ChangeProperties()
    {
        const FlagScope holding(isHoldingDocument_);
        PaintCore.AddUndoLayerStack(-2, true);
        LayerStack& stack = Stack();
        for (int i = Below(12); i >= 0; --i) {
            const PntHandle handle = Container();
            const PntHandle other = Layer_();
            switch (Below(16)) {
            case 0: stack.SetLayerOpacity(handle, Part()); break;
            case 1: stack.SetLayerBlend(handle, static_cast<LayerBlendMode>(Below(kLayerBlendModeCount))); break;
            case 2: stack.SetLayerVisible(handle, Flip(), Flip()); break;
            case 3: stack.SetLayerContainerName(handle, std::to_string(Below(100)).c_str()); break;
            case 4: stack.SetLayerContainerLocked(handle, Flip()); break;
            case 5: stack.AddOwnerToLayer(handle, other, Below(4) == 0); break;
            case 6: stack.RemoveOwnerFromLayer(handle, other); break;
            case 7: stack.SetAppData(handle, "key", std::to_string(Below(100)).c_str()); break;
            case 8: stack.SetCurrentLayer(handle, Flip(), Flip(), false); break;
            case 9: stack.SetLayerFolderActive(handle, Flip(), Flip()); break;
            case 10: stack.SetSelectionMaskActive(Flip()); break;
            case 11: Flip() ? stack.SetSelectionMaskCurrent() : stack.SetShowCurrentLayerOnly(Below(4) == 0); break;
            case 12: Flip() ? stack.SetMaskDisable(Below(4) == 0) : stack.SetMaskVisible(Below(4) != 0); break;
            case 13: stack.SetSymmetry(Flip() ? new Symmetry(Below(100), 50) : nullptr); break;
            case 14: stack.SetLayerActive(handle, Flip()); break;
            default:
                stack.SetBackgroundColor(Color());
                stack.SetResolution(Below(300), Below(300));
                break;
            }
        }
        stack.ForceUpdate();
    }

    /// A property as a step of its own.
    void ChangeRecordedProperty()
    {
        const PntHandle layer = Layer_();
        PaintCore.SetRecordPropertyEdits(true);
        switch (Below(7)) {
        case 0: PaintCore.SetLayerBlend(static_cast<LayerBlendMode>(Below(kLayerBlendModeCount)), layer); break;
        case 1: PaintCore.SetLayerVisible(Flip(), layer); break;
        case 2: PaintCore.SetLayerContainerName(std::to_string(Below(100)).c_str(), layer); break;
        case 3: PaintCore.SetLayerActive(Flip(), layer); break;
        case 4: PaintCore.SetLayerFolderActive(Flip(), Container()); break;
        case 5: PaintCore.SetAllLayerVisible(Flip()); break;
        default: PaintCore.SetLayerOpacity(Part(), layer); break;
        }
        PaintCore.SetRecordPropertyEdits(false);
    }

    /// Fills a layer as a command of the stack may: in its image or in a new one.
    void FillFromBelow(LayerStack& stack, const PntHandle& handle, bool inNewImage)
    {
        const qs::Reference<Layer> layer = stack.GetLayerFromHandle(handle);
        const int channels = layer->GetImage()->GetNumChannels();
        const ilPixel pixel =
            channels == 1 ? ilPixel::Coverage(static_cast<uint8_t>(Below(256))) : Color().Premultiplied();
        if (inNewImage) {
            const qs::Reference<ilSmartImage> image(new ilSmartImage(*layer->GetImage(), 0, 0));
            image->fillTile(Tile(), pixel);
            layer->SetImage(image);
        } else {
            layer->GetImage()->fillTile(Tile(), pixel);
        }
        if (Below(4) == 0)
            layer->SetOffset(Shift(), Shift(), LayerStackTransform(), true);
        if (layer.get() == stack.GetSelectionMask())
            layer->SetVisible(Flip());
        stack.SetStencilCompositeDirty(handle);
        stack.RebuildAllAndRedrawEntireCanvas();
    }

    void ChangeSeveralLayers()
    {
        const FlagScope holding(isHoldingDocument_);
        const qs::Reference<LayerStack> stack(&Stack());
        qs::vector<PntHandle> handles;
        qs::vector<Layer*> layers;
        for (int i = Below(3); i >= 0; --i) {
            handles.push_back(Layer_());
            layers.push_back(stack->GetLayerFromHandle(handles.back()));
            handles.back() = layers.back()->GetLayerContainerHandle();
        }
        qs::Reference<PntUndoOper> step;
        if (PaintCore.UndoEnable())
            step = new PntUndoStroke(&PaintCore, PaintCore.GetCurrentLayerStack(), handles, stack.get(), layers,
                                     "MioStroke");
        if (step && PaintUndoDatabase() != nullptr)
            PaintUndoDatabase()->AddUndoOperation(step);
        for (const PntHandle& handle : handles)
            FillFromBelow(*stack, handle, Below(3) == 0);
    }

    void DeleteMany()
    {
        switch (Below(8)) {
        case 0: PaintCore.DeleteAllLayers(); break;
        case 1: PaintCore.DeleteAllMasks(); break;
        case 2: PaintCore.DeleteAllStencils(Flip()); break;
        default: PaintCore.DeleteInvisibleLayers(); break;
        }
    }

    void MergeAll()
    {
        switch (Below(4)) {
        case 0: PaintCore.MergeAllLayers(); break;
        case 1: PaintCore.MergeVisibleLayers(); break;
        default: PaintCore.BakeAllStencils(); break;
        }
    }

    void CopyAs()
    {
        switch (Below(3)) {
        case 0: PaintCore.CopyLayerToImage(Layer_()); break;
        case 1: PaintCore.CopyLayerToMask(Layer_(), Flip()); break;
        default: PaintCore.CopyLayerToStencil(Layer_(), Flip()); break;
        }
    }

    void Clear()
    {
        switch (Below(4)) {
        case 0: PaintCore.ClearCurrentLayer(); break;
        case 1: PaintCore.ClearLayerImageByRect(Tile(), Layer_()); break;
        case 2: PaintCore.ClearLayerImageBySelMask(Layer_()); break;
        default: PaintCore.CropLayer(Tile(), Layer_()); break;
        }
    }

    void Invert()
    {
        switch (Below(3)) {
        case 0: PaintCore.InvertImageLayer(Layer_()); break;
        case 1: PaintCore.InvertMaskLayer(Layer_()); break;
        default: PaintCore.InvertStencilLayer(Layer_()); break;
        }
    }

    void ChangeOwners()
    {
        if (Flip())
            PaintCore.AddOwnerToLayer(Layer_(), Layer_(), Below(4) == 0);
        else
            PaintCore.RemoveOwnerFromLayer(Layer_(), Layer_());
    }

    void Select()
    {
        const float points[] = {-20, 30, 150, 10, 60, static_cast<float>(Below(150))};
        switch (Below(10)) {
        case 0: PaintCore.FillSelectionMask(Tile()); break;
        case 1: PaintCore.ClearSelectionMask(); break;
        case 2: PaintCore.AddToSelection(Layer_()); break;
        case 3: PaintCore.SubtractFromSelection(Tile()); break;
        case 4: PaintCore.CopyToSelection(Layer_()); break;
        case 5: PaintCore.SelectLasso(points, 3, static_cast<SelectionMode>(Below(4)), FillRule::NonZero); break;
        case 6: PaintCore.MoveSelection(Shift(), Shift()); break;
        case 7: PaintCore.InvertSelection(); break;
        case 8: PaintCore.GrowSelection(Below(9) - 4); break;
        default: PaintCore.FeatherSelection(static_cast<float>(1 + Below(4))); break;
        }
    }

    /// A fill or a wand as a tool does it: tried once or twice, then done.
    void Flood()
    {
        const int x = Below(220) - 10;
        const int y = Below(160) - 5;
        const float tolerance = Part() / 4;
        PaintColor color = Color();
        const PntHandle layer = Layer_();
        const int tool = Below(3);
        for (int tries = Below(3); tries > 0; --tries)
            switch (tool) {
            case 0: PaintCore.DoFloodFill(x, y, tolerance * static_cast<float>(tries), color, layer); break;
            case 1: PaintCore.DoSmoothFloodFill(x, y, tolerance * static_cast<float>(tries), color, layer); break;
            default: PaintCore.DoMagicWand(x, y, tolerance * static_cast<float>(tries), color, Flip(), layer); break;
            }
        PaintCore.EndProxy();
        switch (tool) {
        case 0: PaintCore.FloodFillDone(x, y, tolerance, color, layer); break;
        case 1: PaintCore.SmoothFloodFillDone(x, y, tolerance, color, layer); break;
        default: PaintCore.MagicWandDone(x, y, tolerance, color, Flip(), layer); break;
        }
    }

    LayerStackTransform Turn()
    {
        return LayerStackTransform(static_cast<float>(Shift()), static_cast<float>(Shift()), 0.5F + Part(),
                                   0.5F + Part(), 100, 75, Flip() ? 0 : 360 * Part());
    }

    void Transform()
    {
        const FilterMethod filter = FilterMethodFrom(Below(5));
        const Rect8f quad{{10 * Part(), 90 + 50 * Part(), 120 + 30 * Part(), 20 * Part()},
                          {10 * Part(), 20 * Part(), 90 + 40 * Part(), 100 + 30 * Part()}};
        const PntHandle layer = Layer_();
        if (Flip())
            PaintCore.ProxyXForm(Turn(), filter, filter, layer);
        if (Flip())
            PaintCore.XForm(Turn(), filter, filter, layer);
        else
            PaintCore.Deform(quad, filter, Below(2), layer);
        PaintCore.EndProxy();
    }

    void Adjust()
    {
        ColorAdjustParm colors;
        colors.brightness = Part() - 0.5F;
        colors.hue = 360 * Part();
        if (Flip())
            PaintCore.ColorAdjust(colors, Part(), Layer_());
        else
            PaintCore.SharpenOrBlurDone(Flip() ? 1.0F : -1.0F, 1 + 3 * Part(), Layer_());
    }

    void Group()
    {
        switch (Below(5)) {
        case 0: PaintCore.DeleteTransformGroup(Layer_()); break;
        case 1: PaintCore.removeLayerFromTransformGroup(Layer_()); break;
        case 2: PaintCore.addLayerToCurrTransformGroup(Layer_()); break;
        default: PaintCore.AddTransformGroup({Layer_(), Layer_(), Layer_()}); break;
        }
    }

    /// Sizes stay small: what lies outside the canvas is kept, and grows with every turn.
    void ChangeDocument()
    {
        const ilTile size = Stack().GetSize();
        switch (Below(6)) {
        case 0: PaintCore.FlipDocument(Flip(), Flip()); break;
        case 1: PaintCore.RotateCanvas(90 * Below(4), kFilterBilinear, kFilterBilinear); break;
        case 2: PaintCore.ScaleAllLayers(40 + Below(160), 40 + Below(120), kFilterArea, kFilterBilinear); break;
        case 3: PaintCore.CropDocument({Below(30), Below(30), 30 + Below(100), 30 + Below(100)}); break;
        case 4: PaintCore.ResizeDocument({-Below(20), -Below(20), size.nx + Below(20), size.ny + Below(20)}); break;
        default:
            if (size.nx + size.ny < 400)
                PaintCore.RotateCanvas(360 * Part(), kFilterBilinear, kFilterBilinear);
            break;
        }
    }

    std::mt19937 random_;
    std::string trace_;
    std::string command_;
};
