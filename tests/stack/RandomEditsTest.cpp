#include "OpenStack.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

namespace {

/// Random edits of one document. The seed is printed with every failure and can be set with PAINTLAYER_SEED.
class RandomEditor {
public:
    explicit RandomEditor(unsigned seed) : random_(seed) {}

    int Below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
    bool Flip() { return Below(2) == 0; }
    LayerMode Mode() { return static_cast<LayerMode>(std::max(0, Below(5) - 2)); }
    ilTile Tile() { return {Below(220) - 10, Below(170) - 10, 1 + Below(80), 1 + Below(80)}; }

    PntHandle OneOf(const qs::vector<PntHandle>& handles)
    {
        return handles.empty() ? kNullHandle : handles[static_cast<size_t>(Below(static_cast<int>(handles.size())))];
    }
    PntHandle ContainerOf(LayerMode mode) { return OneOf(document->GetLayerContainerHandleArray(mode, false)); }
    PntHandle Container()
    {
        qs::vector<PntHandle> all = {kCurrentLayerHandle, kNullHandle};
        for (const LayerMode mode : {kLayerModeImage, kLayerModeMask, kLayerModeStencil}) {
            const auto some = document->GetLayerContainerHandleArray(mode, false);
            all.insert(all.end(), some.begin(), some.end());
        }
        return OneOf(all);
    }

    void Structure()
    {
        switch (Below(11)) {
        case 0:
        case 1:
        case 2: document.Add("layer", Mode(), Container(), Flip()); break;
        case 8: Copies(); break;
        case 9: Merges(); break;
        case 3: document->AddLayerFolder(Mode(), Container()); break;
        case 4: document->DeleteCurrentLayer(Container(), Flip()); break;
        case 5: document->MoveLayer(Container(), Container(), Flip()); break;
        case 6: document->SetCurrentLayer(Container(), Flip(), Flip(), false); break;
        case 7:
            document->AddOwnerToLayer(ContainerOf(kLayerModeImage),
                                      ContainerOf(Below(3) == 0 ? kLayerModeMask : kLayerModeStencil), Below(4) == 0);
            break;
        default: Rarely(); break;
        }
    }

    void Copies()
    {
        switch (Below(4)) {
        case 0: document->DuplicateCurrentLayer(Flip(), Flip(), Below(4), Flip()); break;
        case 1: document->CopyLayerToMask(Container(), Flip()); break;
        case 2: document->CopyLayerToStencil(Container(), Flip()); break;
        default: document->CopyLayerToImage(Flip() ? Container() : document->GetSelectionMaskHandle()); break;
        }
    }

    void Merges()
    {
        PntHandle below = kNullHandle;
        const PntHandle upper = Container();
        document->GetLCHForMergeBelow(upper, below);
        switch (Below(8)) {
        case 0: document->MergeLayerFolder(document->GetLayerFolderFromHandle(Container())); break;
        case 1: document->MergeAllLayers(Below(4) != 0); break;
        case 2: document->BakeStencilMaskToLayer(Container(), Flip(), Flip()); break;
        case 3: document->BakeAllStencilMaskToLayer(); break;
        case 4: document->MergeLayers(Container(), Container(), Flip()); break;
        default: document->MergeLayers(upper, below, Flip()); break;
        }
    }

    static constexpr int kPixelEdits = 9;  // the last of them goes by the painted bounds
    void EditPixels(int what)
    {
        switch (what) {
        case 0: document->ClearCurrentLayer(); break;
        case 1: document->ClearLayerImageByRect(Container(), Tile()); break;
        case 2: document->ClearLayerImageBySelMask(Container()); break;
        case 3: document->CropLayer(Container(), Tile()); break;
        case 4: document->InvertImageLayer(Container()); break;
        case 5: document->InvertMaskLayer(Container()); break;
        case 6: document->InvertStencilLayer(Container()); break;
        case 7: document->CropDocument({Below(20), Below(20), 100 + Below(100), 90 + Below(80)}); break;
        default: document->FlipImageLayer(Container(), Flip(), Flip()); break;
        }
    }

    void Rarely()
    {
        switch (Below(10)) {
        case 8: document->SetSize({0, 0, 20 + Below(180), 20 + Below(130)}, Flip(), Flip(), true); break;
        case 0: document->DeleteLayerFolder(document->GetLayerFolderFromHandle(Container())); break;
        case 1: document->DeleteAllMasks(Flip()); break;
        case 2: document->DeleteAllStencils(Flip(), Flip()); break;
        case 3: document->DeleteInvisibleLayers(Flip()); break;
        case 4: document->SetSelectionMaskCurrent(); break;
        case 5: document->RemoveOwnerFromLayer(ContainerOf(kLayerModeImage), Container()); break;
        case 6: document.stack.reset(new LayerStack(document.stack)); break;
        case 7: Invert(); break;
        default: document->ClearSelectionMask(Flip()); break;
        }
    }

    void Pixels()
    {
        switch (Below(13)) {
        case 0: document->SetLayerVisible(Container(), Flip(), Flip()); break;
        case 1: document->SetLayerOpacity(Container(), static_cast<float>(Below(11)) / 10); break;
        case 2: document->SetLayerBlend(Container(), static_cast<LayerBlendMode>(Below(kLayerBlendModeCount))); break;
        case 3: document->SetLayerOffset(Container(), Below(41) - 20, Below(41) - 20, Flip()); break;
        case 4: document->SetLayerFolderActive(Container(), Below(4) != 0, Flip()); break;
        case 5: Properties(); break;
        case 6:
        case 7: EditPixels(Below(kPixelEdits)); break;
        case 8: Transform(); break;
        default: PaintSomething(); break;
        }
    }

    void Properties()
    {
        switch (Below(12)) {
        case 9:
        case 10: Select(); break;
        case 0: document->SetLayerActive(Container(), Flip()); break;
        case 1: document->SetSelectionMaskActive(Flip()); break;
        case 2: document->SetShowCurrentLayerOnly(Below(4) == 0); break;
        case 3: document->SetMaskVisible(Below(4) != 0); break;
        case 4: document->ReuseLSCAndRedrawCanvas(Container(), Flip()); break;
        case 5: document->SetAllLayerVisible(Below(3) != 0, Flip()); break;
        case 6: document->SetSymmetry(Flip() ? new Symmetry(50, 50) : nullptr); break;
        case 7: EditSuspended(); break;
        case 8: EditInProxy(); break;
        default: document->ReleaseCachedImages(); break;
        }
    }

    void Select()
    {
        const float points[] = {-20, 30, 150, 10, 60, static_cast<float>(Below(150))};
        switch (Below(7)) {
        case 0: document->FillSelectionMask(Tile(), Flip()); break;
        case 1: document->AddToSelection(Container(), Flip()); break;
        case 2: document->SubtractFromSelection(Tile(), Flip()); break;
        case 3: document->MoveSelection(Below(41) - 20, Below(41) - 20, Flip()); break;
        case 4: document->InvertSelection(Flip()); break;
        case 5: document->SelectLasso(points, 3, static_cast<SelectionMode>(Below(4)), FillRule::NonZero); break;
        default: document->FillLayer(Container(), Tile(), ilPixel::Rgba(9, 0, 90, 99)); break;
        }
    }

    void Transform()
    {
        const FilterMethod filter = FilterMethodFrom(Below(5));
        const auto random = [&](int low, int high) { return static_cast<float>(low + Below(high - low)); };
        const LayerStackTransform turn(random(-9, 9), random(-9, 9), random(5, 15) / 10, random(5, 15) / 10,
                                       random(0, 200), random(0, 150), Flip() ? 0 : random(-180, 180));
        const Rect8f quad{{random(0, 30), random(90, 200), random(80, 160), random(0, 30)},
                          {random(0, 30), random(0, 30), random(60, 140), random(60, 140)}};
        ColorAdjustParm colors;
        colors.brightness = random(-5, 5) / 10;
        colors.hue = random(0, 360);
        switch (Below(11)) {
        case 9: document->ColorAdjust(colors, random(0, 10) / 10, Container()); break;
        case 10: document->SharpenOrBlurDone(random(-10, 20) / 10, random(1, 120) / 10, Container()); break;
        case 0: document->XForm(turn, filter, filter, Container()); break;
        case 1: document->Deform(quad, filter, Below(3), 1.5, 0, Container()); break;
        case 2: document->addLayerToCurrTransformGroup(Container()); break;
        case 3: document->DeleteTransformGroup(Container(), Flip()); break;
        case 4: document->RotateCanvas(Flip() ? 90 : Below(360), filter, filter); break;
        case 5: document->FlipDocument(Flip(), Flip()); break;
        case 6: document->ScaleAllLayers(100 + Below(150), 100 + Below(80), filter, filter); break;
        case 7: document->ResizeDocument(220, 170, static_cast<LayerStack::Anchor>(Below(9))); break;
        default:
            for (int i = Below(4); i > 0; --i)
                Flip() ? document->ProxyXForm(turn, filter, filter, Container())
                       : document->ProxyDeform(quad, filter, Below(2), 0, i, Container());
            Flip() ? document->ForceUpdate() : document->EndProxy();
            break;
        }
    }

    void Invert()
    {
        if (Layer* layer = document->GetCurrentLayerPtr()) {
            layer->InvertMask();
            layer->InvertStencil();
            document->SetStencilCompositeDirty(kCurrentLayerHandle);
            document->RebuildAllAndRedrawEntireCanvas();
        }
    }

    void EditSuspended()
    {
        document->SuspendComposites();
        for (int i = Below(4); i > 0; --i)
            Flip() ? Structure() : PaintSomething();
        document->ForceUpdate();
        document->ResumeComposites();
    }

    void EditInProxy()
    {
        ProxyParameters parameters;
        const bool keep = Flip();
        parameters.keepsEdits->Connect([keep](bool& keeps, const auto&) { keeps = keep; });
        document->BeginProxy(parameters, {OneOf({kCurrentLayerHandle, ContainerOf(Mode())}), kCurrentLayerHandle});
        for (int i = Below(4); i > 0; --i) {
            PaintSomething();
            document->SetLayerOffset(OneOf(document->GetProxyLayers()), Below(41) - 20, Below(41) - 20, Flip());
            if (Flip())
                document->RevertProxy();
        }
        if (Flip())
            document->ForceUpdate();
        document->EndProxy();
    }

    void PaintSomething()
    {
        PaintOps* const painter = document->GetCurrentLayerPainter();
        if (painter == nullptr)
            return;
        painter->blend_func(kFactorOne, Flip() ? kFactorZero : kFactorOneMinusSourceAlpha);
        const int alpha = Below(256);
        const auto component = [&] { return static_cast<uint8_t>(Below(alpha + 1)); };
        const bool isColor = painter->target_img()->GetNumChannels() == 4;
        document.Paint(Tile(), isColor
                                   ? ilPixel::Rgba(component(), component(), component(), static_cast<uint8_t>(alpha))
                                   : ilPixel::Coverage(Flip() ? 255 : component()));
    }

    OpenStack document;

private:
    std::mt19937 random_;
};

unsigned FirstSeed()
{
    const char* const set = std::getenv("PAINTLAYER_SEED");
    return set != nullptr ? static_cast<unsigned>(std::strtoul(set, nullptr, 10)) : 1;
}

void ExpectInvariants(LayerStack& stack)
{
    bool isCurrentHere = stack.GetCurrentLayerPtr() == stack.GetSelectionMask();
    for (const LayerMode mode : {kLayerModeImage, kLayerModeMask, kLayerModeStencil}) {
        LayerFolder& top = *stack.GetLayerFolder(mode);
        for (LayerContainer* child : top.GetLCArray()) {
            const auto* folder = dynamic_cast<LayerFolder*>(child);
            EXPECT_FALSE(folder != nullptr && folder->GetSize() == 0) << "an empty folder stays";
            for (const LayerContainer* inner : folder != nullptr ? folder->GetLCArray() : qs::vector<LayerContainer*>())
                EXPECT_EQ(dynamic_cast<const LayerFolder*>(inner), nullptr) << "folders nest";
        }
        qs::vector<LayerContainer*> all;
        top.GetLCArray_FLATTEN(&all);
        for (LayerContainer* container : all) {
            EXPECT_EQ(container->GetLayerContainerHandle().layerStack, stack.GetLsInstanceHandle());
            EXPECT_EQ(stack.GetLayerContainerFromHandle(container->GetLayerContainerHandle()), container);
            EXPECT_EQ(container->GetRefCount(), 1);
            const auto* layer = dynamic_cast<Layer*>(container);
            EXPECT_TRUE(layer == nullptr || layer->GetLayerMode() == mode);
            EXPECT_TRUE(layer == nullptr || !layer->IsHardLinkToOwnerLayer() ||
                        stack.GetLayerFromHandle(layer->GetOwnerLayerArray().front()) != nullptr)
                << "an owner is gone";
            isCurrentHere = isCurrentHere || container == stack.GetCurrentLayerPtr();
        }
    }
    EXPECT_TRUE(isCurrentHere);
    EXPECT_EQ(stack.GetCLP(), stack.GetCurrentLayerPtr()->GetPainter());
}

TEST(RandomEdits, TheStructureKeepsItsInvariants)
{
    for (unsigned seed = FirstSeed(); seed < FirstSeed() + 20 && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        RandomEditor editor(seed);
        editor.document.Add("first");
        for (int i = 0; i < 150 && !testing::Test::HasFailure(); ++i) {
            editor.Structure();
            ExpectInvariants(*editor.document.stack);
            EXPECT_GT(editor.document->GetLayerFolder(kLayerModeImage)->GetSize(), 0);
        }
    }
}

/// The canvas with the overlay, without the help of anything cached.
qs::vector<uint8_t> ComposeFromScratch(LayerStack& stack)
{
    qs::vector<LayerContainer*> images;
    stack.GetLayerFolder(kLayerModeImage)->GetLCArray_FLATTEN(&images);
    for (LayerContainer* container : images)
        container->SetStencilCompositeDirty(true);
    return BytesOf(*stack.GetUpdateImagePlaneBits(true), stack.GetSize());
}

TEST(RandomEdits, TheImagePlaneShowsWhatIsComposedFromScratch)
{
    for (unsigned seed = FirstSeed(); seed < FirstSeed() + 40 && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        RandomEditor editor(seed);
        editor.document.Add("first");
        editor.PaintSomething();
        editor.document.Add("stencil", kLayerModeStencil);
        for (int i = 0; i < 60 && !testing::Test::HasFailure(); ++i) {
            if (editor.Below(3) == 0)
                editor.Structure();
            else
                editor.Pixels();
            if (editor.Below(3) != 0)
                continue;
            LayerStack& stack = *editor.document.stack;
            stack.ForceUpdate();
            const auto shown = BytesOf(*stack.GetImagePlane(), stack.GetSize());
            EXPECT_EQ(Difference(shown, ComposeFromScratch(stack), stack.GetSize().nx), "")
                << "after edit " << i << ": " << Dump(stack);
        }
    }
}

TEST(RandomEdits, ChangingTheCurrentLayerLeavesNoRoundingBehind)
{
    RandomEditor editor(FirstSeed());
    for (int i = 0; i < 6; ++i) {
        editor.document.Add("layer");
        for (int fill = 0; fill < 30; ++fill)
            editor.PaintSomething();
        editor.document->SetLayerOpacity(kCurrentLayerHandle, 0.3f + 0.1f * static_cast<float>(i));
    }
    LayerStack& stack = *editor.document.stack;
    for (int i = 0; i < 12; ++i) {
        stack.SetCurrentLayer(editor.Container(), true, false, false);
        const auto shown = BytesOf(*stack.GetImagePlane(), stack.GetSize());
        ASSERT_EQ(Difference(shown, ComposeFromScratch(stack), stack.GetSize().nx), "") << Dump(stack);
    }
}

/// The pictures after each of some random edits of a document whose layers go on for ever: by a fill value, or by pages
/// with that value that are stored for hundreds of pixels around the canvas.
qs::vector<qs::vector<uint8_t>> EditEndlessLayers(unsigned seed, bool isStored, std::string& trace)
{
    RandomEditor editor(seed);
    LayerStack& stack = *editor.document.stack;
    editor.document.Add("ground");
    for (int i = 0; i < 6; ++i) {
        const LayerMode mode = editor.Mode();
        const PntHandle added = editor.document.Add("layer", mode);
        const ilPixel value = mode == kLayerModeImage ? ilPixel::Rgba(60, 0, 90, editor.Flip() ? 255 : 120)
                                                      : ilPixel::Coverage(editor.Flip() ? 255 : 120);
        const qs::Reference<ilSmartImage> image(
            new ilSmartImage(isStored ? ilPixel(kUnsignedByte, value.GetNumChannels()) : value));
        if (isStored)
            image->fillTile({-1024, -1024, 2048, 2048}, value);
        editor.document.Find(added)->SetImage(image);
        stack.AddOwnerToLayer(editor.ContainerOf(kLayerModeImage), added, editor.Below(4) == 0);
        stack.SetLayerOpacity(added, editor.Flip() ? 1 : 0.4F);
        stack.SetLayerOffset(added, editor.Below(41) - 20, editor.Below(41) - 20, false);
        editor.PaintSomething();
    }
    qs::vector<qs::vector<uint8_t>> pictures;
    for (int i = 0; i < 20; ++i) {
        const int what = editor.Below(12);
        switch (what) {
        case 0: editor.Copies(); break;
        case 1: editor.Merges(); break;
        case 2: editor.Select(); break;
        case 3: editor.PaintSomething(); break;
        case 4: stack.SetCurrentLayer(editor.Container(), true, true, false); break;
        default: editor.EditPixels(what - 5); break;
        }
        trace += ' ' + std::to_string(what);
        stack.ForceUpdate();
        pictures.push_back(BytesOf(*stack.GetImagePlane(), stack.GetSize()));
        const int x = 5 + editor.Below(190);  // what is near enough lies on the canvas as well
        const PntHandle picked = stack.FindLayer(x, 5 + editor.Below(140), false, true, 3);
        if (const Layer* layer = stack.GetLayerFromHandle(picked))
            pictures.back().insert(pictures.back().end(), layer->GetLayerContainerName(),
                                   layer->GetLayerContainerName() + 5);
    }
    trace += ": " + Dump(stack);
    return pictures;
}

TEST(RandomEdits, WhatIsNotStoredIsAsGoodAsStored)
{
    for (unsigned seed = FirstSeed(); seed < FirstSeed() + 80 && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::string trace;
        std::string other;
        const auto unstored = EditEndlessLayers(seed, false, trace);
        const auto stored = EditEndlessLayers(seed, true, other);
        ASSERT_EQ(trace, other);
        for (size_t i = 0; i < stored.size() && !testing::Test::HasFailure(); ++i)
            EXPECT_LE(LargestDifference(unstored[i], stored[i]), 1) << "after edit " << i << " of" << trace;
    }
}

/// A document as lists of names, to check where things go.
struct Model {
    struct Place {
        qs::vector<PntHandle>* list = nullptr;
        size_t index = 0;
    };
    struct Group {
        PntHandle handle = kNullHandle;
        qs::vector<PntHandle> contents;
    };

    Place Find(const PntHandle& handle)
    {
        Place place = FindIn(top, handle);
        for (Group& group : groups)
            if (place.list == nullptr)
                place = FindIn(group.contents, handle);
        return place;
    }
    Group* FindGroup(const PntHandle& handle)
    {
        for (Group& group : groups)
            if (group.handle == handle)
                return &group;
        return nullptr;
    }
    void Insert(const PntHandle& added, const PntHandle& where, bool above)
    {
        Group* const group = FindGroup(where);
        const Place place = Find(where);
        if (group != nullptr && !above)
            group->contents.push_back(added);
        else if (place.list != nullptr)
            place.list->insert(place.list->begin() + static_cast<ptrdiff_t>(place.index + (above ? 1 : 0)), added);
        else
            top.insert(above ? top.end() : top.begin(), added);
    }
    void Remove(const PntHandle& handle)
    {
        const Place place = Find(handle);
        place.list->erase(place.list->begin() + static_cast<ptrdiff_t>(place.index));
    }
    void DropEmptyGroups()
    {
        for (size_t i = groups.size(); i-- > 0;)
            if (groups[i].contents.empty()) {
                std::erase(top, groups[i].handle);
                groups.erase(groups.begin() + static_cast<ptrdiff_t>(i));
            }
    }
    qs::vector<PntHandle> Flattened()
    {
        qs::vector<PntHandle> all;
        for (const PntHandle& handle : top) {
            all.push_back(handle);
            if (const Group* group = FindGroup(handle))
                all.insert(all.end(), group->contents.begin(), group->contents.end());
        }
        return all;
    }

    qs::vector<PntHandle> top;
    qs::vector<Group> groups;

private:
    static Place FindIn(qs::vector<PntHandle>& list, const PntHandle& handle)
    {
        const auto at = std::find(list.begin(), list.end(), handle);
        return at == list.end() ? Place() : Place{&list, static_cast<size_t>(at - list.begin())};
    }
};

TEST(RandomEdits, ImageLayersGoWhereAListOfNamesSays)
{
    RandomEditor editor(FirstSeed());
    LayerStack& stack = *editor.document.stack;
    Model model;
    model.top.push_back(editor.document.Add("first"));
    for (int i = 0; i < 400; ++i) {
        const PntHandle one = editor.Container();
        const PntHandle other = editor.Container();
        if (one == kCurrentLayerHandle || other == kCurrentLayerHandle)
            continue;
        const bool above = editor.Flip();
        const bool isNested = model.Find(one).list != &model.top;
        switch (editor.Below(5)) {
        case 0:
        case 1: model.Insert(editor.document.Add("layer", kLayerModeImage, one, above), one, above); break;
        case 2:
            if (const PntHandle added = stack.AddLayerFolder(kLayerModeImage, one); added != kNullHandle) {
                EXPECT_FALSE(isNested);
                model.Insert(added, one, true);
                model.groups.push_back({added, {stack.GetCurrentLayerContainerHandle()}});
            } else {
                EXPECT_TRUE(isNested);
            }
            break;
        case 3:
            if (stack.GetLayerFromHandle(one) != nullptr && model.Flattened().size() > 3) {
                stack.DeleteCurrentLayer(one, editor.Flip());
                model.Remove(one);
            }
            break;
        default:
            if (stack.MoveLayer(one, other, above)) {
                // Placed first under another name: it may stand in the folder that is the target.
                const PntHandle mark;
                model.Insert(mark, other, above);
                model.Remove(one);
                const Model::Place place = model.Find(mark);
                (*place.list)[place.index] = one;
            }
            break;
        }
        model.DropEmptyGroups();
        ASSERT_EQ(stack.GetLayerContainerHandleArray(kLayerModeImage, false), model.Flattened()) << "after edit " << i;
    }
}

}  // namespace
