#include "composite/LayerStackComposite.h"

#include "platform/imaging/pages/ilMemoryImg.h"
#include "platform/os/DebugOutput.h"
#include "tests/composite/CompositeDocument.h"
#include "tests/support/RandomImages.h"

#include <gtest/gtest.h>

#include <memory>
#include <regex>

namespace {

constexpr ilTile kCanvas{0, 0, 200, 150};
constexpr ilTile kSquare{10, 10, 100, 100};
constexpr ilPixel kRed = ilPixel::Rgba(255, 0, 0, 255);
constexpr ilPixel kGreen = ilPixel::Rgba(0, 255, 0, 255);
constexpr ilPixel kClear(kUnsignedByte, 4);

}  // namespace

TEST(LayerStackComposite, TileIsAllThatChanges)
{
    CompositeDocument document(kCanvas);
    document.current = document.AddFilled("L", kCanvas, kRed);
    LayerStackComposite composite;
    composite.MakeCompositeTree(document.Stack(), true);
    composite.MakeComposite(document.Stack(), nullptr);
    document.current->GetImage()->fillTile(kCanvas, kGreen);
    const ilTile tile{60, 50, 30, 40};
    composite.MakeComposite(document.Stack(), &tile);
    for (int y = 0; y < kCanvas.ny; ++y)
        for (int x = 0; x < kCanvas.nx; ++x)
            ASSERT_EQ(composite.GetCurrentComposite()->GetPixel(x, y), tile.Contains(x, y) ? kGreen : kRed)
                << x << ", " << y;

    document.suspended = true;
    composite.MakeComposite(document.Stack(), &tile);
    EXPECT_EQ(composite.GetCurrentComposite()->GetPixel(60, 50), kClear);
    EXPECT_EQ(composite.GetCurrentComposite()->GetPixel(59, 50), kRed);

    document.suspended = false;
    const ilTile beyond{-10, -10, 400, 400};
    document.current->GetImage()->fillTile(beyond, kGreen);
    composite.MakeComposite(document.Stack(), &beyond);
    EXPECT_EQ(FirstDifference(*composite.GetCurrentComposite(), *ComposeFresh(document), beyond), "");
    EXPECT_EQ(composite.GetCurrentComposite()->GetPixel(200, 10), kClear);
    ilMemoryImg plane(300, 300, 4);
    plane.fillTile(plane.GetBounds(), kRed);
    composite.MakeCompositeIn(plane, document.Stack(), {100, 100, 150, 150});
    for (const auto& [x, pixel] : {std::pair{99, kRed}, {100, kGreen}, {199, kGreen}, {200, kClear}, {250, kRed}})
        EXPECT_EQ(plane.GetPixel(x, 110), pixel) << x;
}

TEST(LayerStackComposite, SplitChoosesTheReference)
{
    CompositeDocument document(kCanvas);
    Layer* first = document.Add("first");
    LayerFolder* folder = document.AddFolder("F");
    Layer* inner = document.Add("inner", kLayerModeImage, folder);
    Layer* mask = document.Add("mask", kLayerModeMask);
    Layer* loose = document.Add("loose", kLayerModeStencil);
    Layer* soft = document.Add("soft", kLayerModeStencil);
    Layer* linked = document.Add("linked", kLayerModeStencil);
    mask->AddOwnerLayer(first, false);
    soft->AddOwnerLayer(first, false);
    linked->AddOwnerLayer(inner, true);
    document.current = first;
    LayerStackComposite composite;
    composite.MakeCompositeTree(document.Stack(), true);

    struct Case {
        LayerContainer* split;
        LayerContainer* reference;
        size_t pathLength;
    };
    for (const auto& [split, reference, pathLength] : {Case{inner, inner, 3},
                                                       {mask, nullptr, 0},
                                                       {first, first, 2},
                                                       {loose, nullptr, 0},
                                                       {soft, first, 2},
                                                       {linked, inner, 3},
                                                       {folder, folder, 2}}) {
        composite.SplitCompositeTreeByRefLCH(document.Stack(), HandleOf(split), false, true);
        EXPECT_EQ(composite.GetAdjustLCH(), reference != nullptr ? HandleOf(reference) : kNullHandle)
            << split->GetLayerContainerName();
        const qs::vector<CompositeBase*>& path = *composite.GetAdjustLCHPath();
        ASSERT_EQ(path.size(), pathLength) << split->GetLayerContainerName();
        if (pathLength != 0) {
            EXPECT_EQ(path.front(), composite.GetRoot());
            EXPECT_EQ(path.back()->GetHandle(), HandleOf(reference));
        }
    }
    EXPECT_EQ(document.notices, 7);

    document.current = linked;
    composite.MakeCompositeTree(document.Stack(), false);
    EXPECT_EQ(composite.GetAdjustLCH(), HandleOf(inner));
    document.current = mask;
    composite.MakeCompositeTree(document.Stack(), false);
    EXPECT_EQ(composite.GetAdjustLCH(), kNullHandle);
}

TEST(LayerStackComposite, TwentyFirstSplitRebuildsTheTree)
{
    CompositeDocument document(kCanvas);
    Layer* a = document.AddFilled("a", kSquare, kRed);
    Layer* b = document.Add("b");
    document.current = a;
    LayerStackComposite composite;
    composite.MakeCompositeTree(document.Stack(), false);
    document.AddFilled("late", kSquare, kGreen);
    for (int i = 1; i <= 20; ++i) {
        composite.SplitCompositeTreeByRefLCH(document.Stack(), HandleOf(i % 2 != 0 ? b : a), false, false);
        ASSERT_EQ(composite.GetSplitCount(), i);
    }
    composite.MakeComposite(document.Stack(), nullptr);
    EXPECT_EQ(composite.GetCurrentComposite()->GetPixel(20, 20), kRed);
    document.current = b;
    composite.SplitCompositeTreeByRefLCH(document.Stack(), HandleOf(b), false, false);
    EXPECT_EQ(composite.GetSplitCount(), 0);
    composite.MakeComposite(document.Stack(), nullptr);
    EXPECT_EQ(composite.GetCurrentComposite()->GetPixel(20, 20), kGreen);
}

TEST(LayerStackComposite, ShowsTheCurrentLayerAloneWhenAskedTo)
{
    CompositeDocument document(kCanvas);
    document.AddFilled("below", kSquare, kRed);
    LayerFolder* folder = document.AddFolder("F");
    document.current = document.Add("current", kLayerModeImage, folder);
    document.current->GetImage()->fillTile({50, 50, 10, 10}, kGreen);
    document.AddFilled("above", kSquare, kRed);
    document.currentOnly = true;
    for (const bool isActive : {true, false}) {
        folder->SetActive(isActive);
        EXPECT_EQ(ComposeFresh(document)->GetPixel(50, 50), isActive ? kGreen : kClear);
        EXPECT_EQ(ComposeFresh(document)->GetPixel(20, 20), kClear);
    }
}

TEST(LayerStackComposite, MarkerStrokeShowsBeforeItEndsAsItWillAfterwards)
{
    CompositeDocument document(kCanvas);
    document.AddFilled("below", kCanvas, kGreen);
    Layer* layer = document.AddFilled("current", kSquare, ilPixel::Rgba(0, 0, 90, 90));
    layer->SetOffset(7, -5, {}, false);
    layer->SetOpacity(0.7F);
    document.AddFilled("above", {0, 0, 40, 150}, ilPixel::Rgba(50, 0, 0, 90));
    document.current = layer;
    LayerStackComposite composite;
    composite.MakeCompositeTree(document.Stack(), true);

    MaskingPaintOps painter(layer->GetImage());
    painter.SetMarkerBlend(true);
    painter.SetBrushClippingRect({-50, -50, 400, 400});
    painter.blend_func(1, 7);
    painter.set_stamp(new Stamp);
    painter.BeginOperation();
    document.painter = &painter;
    StampPlacement placement;
    placement.x = placement.y = 60;
    placement.size = 30;
    placement.opacity = 0.5F;
    painter.draw_stamp(placement);
    composite.MakeComposite(document.Stack(), nullptr);
    const qs::TempReference<ilSmartImage> during = composite.GetCurrentComposite();
    painter.EndOperation();
    document.painter = nullptr;
    composite.MakeComposite(document.Stack(), nullptr);
    EXPECT_EQ(FirstDifference(*during, *composite.GetCurrentComposite(), kCanvas), "");
    EXPECT_NE(layer->GetImage()->GetPixel(60, 60), ilPixel::Rgba(0, 0, 90, 90));
}

TEST(LayerStackComposite, SeparateTreeComposesTheGivenContainersOnly)
{
    CompositeDocument document(kCanvas);
    Layer* a = document.AddFilled("a", kCanvas, kRed);
    document.AddFilled("b", kCanvas, ilPixel::Rgba(0, 0, 255, 255));
    LayerFolder* folder = document.AddFolder("F");
    Layer* c = document.Add("c", kLayerModeImage, folder);
    c->GetImage()->fillTile({0, 0, 300, 300}, ilPixel::Rgba(0, 100, 0, 100));
    LayerStackComposite composite;
    CompositeBase* own = composite.MakeCompositeTree(document.Stack(), true);
    const PntHandle handles[] = {HandleOf(a), PntHandle(), HandleOf(folder)};
    const std::unique_ptr<CompositeBase> tree(
        composite.MakeCompositeTree(document.Stack(), qs::vector<PntHandle>(std::begin(handles), std::end(handles))));
    const qs::TempReference<ilSmartImage> picture = tree->Compose(false, false);
    EXPECT_EQ(picture->GetPixel(20, 20), ilPixel::Rgba(155, 100, 0, 255));
    EXPECT_EQ(picture->GetPixel(kCanvas.nx, 20), kClear);
    const std::unique_ptr<CompositeBase> inner(composite.MakeCompositeTree(document.Stack(), folder));
    EXPECT_EQ(inner->Compose(false, false)->GetPixel(20, 20), ilPixel::Rgba(0, 100, 0, 100));
    EXPECT_EQ(composite.GetRoot(), own);
}

TEST(LayerStackComposite, CopySharesPagesAndFollowsItsOwnDocument)
{
    CompositeDocument document(kCanvas);
    Layer* a = document.AddFilled("a", kCanvas, ilPixel::Rgba(90, 0, 0, 90));
    document.AddFilled("b", kCanvas, ilPixel::Rgba(0, 90, 0, 90));
    document.current = document.AddFilled("c", kSquare, kGreen);
    LayerStackComposite composite, copy;
    composite.MakeCompositeTree(document.Stack(), true);
    composite.MakeComposite(document.Stack(), nullptr);
    document.Add("mask", kLayerModeMask)->AddOwnerLayer(document.current, false);
    document.masks.GetTopLayer()->GetImage()->fillTile(kSquare, ilPixel::Coverage(255));
    composite.MakeCompositeMask(document.Stack(), true);
    copy.CopyFrom(&composite);
    EXPECT_EQ(copy.GetCompositeMask()->GetPixel(50, 50), composite.GetCompositeMask()->GetPixel(50, 50));
    const ilSmartImage& cache = *composite.GetRoot()->GetChildren().front()->GetCache();
    EXPECT_TRUE(copy.GetRoot()->GetChildren().front()->GetCache()->SharesPageWith(cache, 1, 1));
    EXPECT_EQ(copy.GetAdjustLCH(), composite.GetAdjustLCH());
    EXPECT_EQ(copy.GetAdjustLCHPath()->front(), copy.GetRoot());
    const qs::TempReference<ilSmartImage> before = composite.GetCurrentComposite();
    a->GetImage()->fillTile(kCanvas, kRed);
    copy.CompositeBaseDirty(HandleOf(a));
    copy.MakeComposite(document.Stack(), nullptr);
    composite.MakeComposite(document.Stack(), nullptr);
    EXPECT_EQ(FirstDifference(*copy.GetCurrentComposite(), *ComposeFresh(document), kCanvas), "");
    EXPECT_EQ(FirstDifference(*composite.GetCurrentComposite(), *before, kCanvas), "");  // its cache is as it was

    copy.DeleteLayerStack(nullptr);
    EXPECT_NE(copy.GetRoot(), nullptr);
    copy.DeleteLayerStack(document.Stack());
    EXPECT_EQ(copy.GetRoot(), nullptr);
    EXPECT_EQ(copy.GetOwner(), nullptr);
    EXPECT_FALSE(copy.GetCurrentComposite());
}

TEST(LayerStackComposite, DumpNamesEveryNode)
{
    CompositeDocument document(kCanvas);
    document.Add("low")->SetLayerBlend(kBlendMultiply);
    document.current = document.Add("in", kLayerModeImage, document.AddFolder("Group"));
    LayerStackComposite composite;
    composite.MakeCompositeTree(document.Stack(), true);
    static std::string text;
    qsOS::SetDebugOutputSink([](const char* part) { text += part; });
    composite.Debug();
    qsOS::SetDebugOutputSink(nullptr);
    text = std::regex_replace(text, std::regex(R"((0x[0-9a-f]+|\(nil\)))"), "*");
    EXPECT_EQ(text, "CompositeBase[*] mode[P] effect[None] cache[*,*]Child[*][*]\n"
                    "CLayer[*,low] CompositeBase[*] mode[E] effect[low] cache[*,*]Child\n"
                    "CLFolder[*,Group] CompositeBase[*] mode[P] effect[None] cache[*,*]Child[*]\n"
                    "CLayer[*,in] CompositeBase[*] mode[P] effect[None] cache[*,*]Child\n");
}

TEST(CompositeMask, TintsWhatSelectionAndMasksOfTheCurrentLayerCover)
{
    CompositeDocument document({0, 0, 300, 200});
    document.current = document.Add("L");
    Layer* other = document.Add("other");
    Layer* mask = document.Add("mask", kLayerModeMask);
    mask->AddOwnerLayer(document.current, false);
    mask->GetImage()->fillTile({0, 0, 200, 200}, ilPixel::Coverage(255));
    mask->SetOffset(10, 0, {}, false);
    LayerStackComposite composite;
    const auto pixelAt = [&](int x, int y) {
        composite.MakeCompositeMask(document.Stack(), true);
        return composite.GetCompositeMask() ? composite.GetCompositeMask()->GetPixel(x, y) : ilPixel();
    };
    EXPECT_EQ(pixelAt(100, 100), ilPixel::Rgba(128, 0, 0, 128));
    EXPECT_EQ(pixelAt(9, 100), kClear);
    mask->SetVisible(false);
    EXPECT_EQ(pixelAt(100, 100), kClear);
    mask->SetVisible(true);

    Layer* const selection = document.Add("selection", kLayerModeMask);
    selection->SetMaskColor(PaintColor(0, 0, 1));
    selection->GetImage()->fillTile({0, 0, 64, 64}, ilPixel::Coverage(255));
    document.selection = selection;
    EXPECT_EQ(pixelAt(5, 5), ilPixel::Rgba(0, 0, 128, 128));
    EXPECT_EQ(pixelAt(30, 30), ilPixel::Rgba(64, 0, 128, 192));

    document.masksShown = false;
    EXPECT_EQ(pixelAt(100, 100), kClear);
    document.masksShown = true;
    document.current = other;
    EXPECT_EQ(pixelAt(100, 100), kClear);
    document.selection = nullptr;
    composite.MakeCompositeMask(document.Stack(), true);
    EXPECT_FALSE(composite.GetCompositeMask());
}

TEST(CompositeMask, OfALargeSelectionCostsNoPixelsOfItsOwn)
{
    CompositeDocument document({0, 0, 6400, 6400});
    Layer* const selection = document.Add("selection", kLayerModeMask);
    selection->GetImage()->fillTile({-100, -100, 7000, 6500}, ilPixel::Coverage(255));
    document.selection = selection;
    LayerStackComposite composite;
    composite.MakeCompositeMask(document.Stack(), true);
    const ilSmartImage& mask = *composite.GetCompositeMask();
    EXPECT_EQ(mask.GetBounds(), document.size);
    EXPECT_TRUE(mask.SharePage(0, 0).get() == mask.SharePage(98, 70).get());
    EXPECT_EQ(mask.GetPixel(6399, 6399), ilPixel::Rgba(128, 0, 0, 128));
}
