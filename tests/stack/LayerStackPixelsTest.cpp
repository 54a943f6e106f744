#include "OpenStack.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

constexpr ilTile kWide(-300, -300, 800, 800);

/// An image layer, on pages that are whole, uniform and partly painted, at an offset that is no multiple of theirs.
struct PixelDocument : OpenStack {
    PixelDocument()
    {
        image = Add("image");
        stack->SetLayerOffset(image, 7, -5, false);
        Paint({7, -5, 128, 64}, ilPixel::Rgba(200, 100, 50, 255));
        for (int i = 0; i < 30; ++i)
            Paint({i * 6, i * 4, 40, 25}, ilPixel::Rgba(static_cast<uint8_t>(i * 4), 20, static_cast<uint8_t>(i), 160));
    }

    /// A selection with soft parts: nothing, half, all, and a fifth.
    void Select()
    {
        Layer& mask = *stack->GetSelectionMask();
        mask.SetOffset(-3, 11, LayerStackTransform(), true);
        mask.GetImage()->fillTile({20, 0, 130, 100}, ilPixel::Coverage(255));
        mask.GetImage()->fillTile({20, 30, 60, 40}, ilPixel::Coverage(128));
        mask.GetImage()->fillTile({90, 30, 20, 20}, ilPixel::Coverage(51));
        stack->SetSelectionMaskActive(true);
    }
    int Selected(int x, int y)
    {
        return stack->GetSelectionMask()->GetImage()->GetPixel(x + 3, y - 11).GetComponent(0);
    }

    PntHandle AddStencil(const PntHandle& owner, bool hardLink, const ilTile& tile, int coverage = 255)
    {
        const PntHandle added = Add("stencil", kLayerModeStencil);
        Paint(tile, ilPixel::Coverage(static_cast<uint8_t>(coverage)));
        stack->AddOwnerToLayer(owner, added, hardLink);
        stack->SetCurrentLayer(owner, false, false, false);
        return added;
    }

    ilPixel At(const PntHandle& layer, int x, int y)
    {
        const Layer& found = *Find(layer);
        return found.GetImage()->GetPixel(x - found.getXOffset(), y - found.getYOffset());
    }
    qs::vector<uint8_t> Pixels(const PntHandle& layer)
    {
        const Layer& found = *Find(layer);
        return BytesOf(*found.GetImage(), ilTileMoved(kWide, -found.getXOffset(), -found.getYOffset()));
    }
    qs::vector<uint8_t> Shown()
    {
        stack->ForceUpdate();
        return BytesOf(*stack->GetImagePlane(), stack->GetSize());
    }

    PntHandle image = kNullHandle;
};

/// The layer after `edit`: each component is `expected(before, x, y)` within 0.51.
template <class Edit, class Expected>
void ExpectEach(PixelDocument& document, Edit&& edit, Expected&& expected)
{
    const auto before = document.Pixels(document.image);
    edit();
    const auto after = document.Pixels(document.image);
    for (size_t i = 0; i < after.size(); ++i) {
        const int x = kWide.x + static_cast<int>(i / 4) % kWide.nx;
        const int y = kWide.y + static_cast<int>(i / 4) / kWide.nx;
        const double alpha = before[i | 3];
        ASSERT_LE(std::abs(after[i] - expected(double{1} * before[i], i % 4 == 3, alpha, x, y)), 0.51)
            << "component " << i % 4 << " of (" << x << ", " << y << ")";
    }
}

TEST(LayerStackPixels, ClearingCroppingAndInvertingChangeExactlyWhatTheySay)
{
    constexpr ilTile tile(30, -2, 71, 90);
    using Value = double;
    PixelDocument document;
    LayerStack& stack = *document.stack;
    ExpectEach(
        document, [&] { stack.ClearLayerImageByRect(document.image, tile); },
        [&](Value v, bool, Value, int x, int y) { return tile.Contains(x, y) ? 0 : v; });
    ExpectEach(
        document, [&] { stack.ClearLayerImageBySelMask(document.image); },
        [](Value v, bool, Value, int, int) { return v; });  // nothing is selected
    document.Select();
    ExpectEach(
        document, [&] { stack.InvertImageLayer(document.image); },
        [&](Value v, bool isAlpha, Value alpha, int x, int y) {
            return isAlpha ? v : v + (alpha - 2 * v) * document.Selected(x, y) / 255;
        });
    ExpectEach(
        document, [&] { stack.ClearLayerImageBySelMask(document.image); },
        [&](Value v, bool, Value, int x, int y) { return v * (255 - document.Selected(x, y)) / 255; });
    ExpectEach(
        document, [&] { stack.CropLayerToBrushClippingRect(document.image); },
        [&](Value v, bool, Value, int x, int y) { return stack.GetSize().Contains(x, y) ? v : 0; });
    ExpectEach(
        document, [&] { stack.CropLayer(document.image, tile); },
        [&](Value v, bool, Value, int x, int y) { return tile.Contains(x, y) ? v : 0; });
    ExpectEach(
        document, [&] { stack.ClearCurrentLayer(); }, [](Value, bool, Value, int, int) { return 0.0; });
    EXPECT_TRUE(document.Find(document.image)->GetImage()->IsEmpty());
}

TEST(LayerStackPixels, WholePagesAreClearedSharedAndInvertedWithoutTouchingPixels)
{
    OpenStack document(4096, 4096);
    const PntHandle layer = document.Add("layer");
    document.Paint({0, 0, 4096, 4096}, ilPixel::Rgba(10, 20, 30, 255));
    const qs::TempReference<ilMIOImage> image = document.Find(layer)->GetImage();
    document->GetSelectionMask()->GetImage()->fillTile({100, 100, 3000, 3000}, ilPixel::Coverage(255));
    document->SetSelectionMaskActive(true);
    document->ClearLayerImageBySelMask(layer);
    document->SetSelectionMaskActive(false);
    document->InvertImageLayer(layer);
    EXPECT_LE(image->GetAllocatedBytes(), 190u * 16384);  // the pages at the selection's edge
    EXPECT_EQ(image->GetPixel(4000, 7), ilPixel::Rgba(245, 235, 225, 255));
    EXPECT_EQ(image->GetPixel(2000, 2000), ilPixel());
}

TEST(LayerStackPixels, InvertingAndFlippingTwiceIsTheIdentity)
{
    PixelDocument document;
    LayerStack& stack = *document.stack;
    const PntHandle other = document.Add("other");
    document.Paint({140, 60, 13, 71}, ilPixel::Rgba(3, 90, 60, 100));
    const PntHandle stencil = document.AddStencil(other, true, {130, 50, 15, 40}, 200);
    const PntHandle mask = document.Add("mask", kLayerModeMask);
    document.Paint({20, 20, 100, 64}, ilPixel::Coverage(90));
    document.Paint({20, 20, 10, 10}, ilPixel::Coverage(9));
    // Transform groups are filled elsewhere.
    stack.AddTransformGroup({document.image, other});
    EXPECT_EQ(stack.GetLayersFlippedWith(other), (qs::vector<PntHandle>{document.image, other, stencil}));

    const auto state = [&] {
        qs::vector<qs::vector<uint8_t>> all = {document.Shown()};
        for (const PntHandle& handle : {document.image, other, stencil, mask}) {
            const ilTile bounds = document.Find(handle)->getLayerBoundsInCanvasCoords();
            all.push_back(document.Pixels(handle));
            all.push_back({static_cast<uint8_t>(bounds.x), static_cast<uint8_t>(bounds.y),
                           static_cast<uint8_t>(bounds.nx), static_cast<uint8_t>(bounds.ny),
                           static_cast<uint8_t>(document.Find(handle)->getXOffset())});
        }
        return all;
    };
    const auto before = state();
    for (const auto& edit : std::initializer_list<std::function<void()>>{
             [&] { stack.InvertImageLayer(document.image); }, [&] { stack.InvertMaskLayer(mask); },
             [&] { stack.InvertStencilLayer(stencil); }, [&] { stack.FlipImageLayer(other, true, false); },
             [&] { stack.FlipImageLayer(document.image, false, true); },
             [&] { stack.FlipImageLayer(document.image, true, true); },
             [&] { stack.FlipImageLayer(mask, true, true); }}) {
        edit();
        EXPECT_NE(state(), before);
        edit();
        EXPECT_EQ(state(), before);
    }

    // The group is mirrored as one picture, its stencils with it.
    stack.SetCurrentLayer(other, false, false, false);
    const ilTile area = ilTileUnion(document.Find(document.image)->getLayerBoundsInCanvasCoords(),
                                    document.Find(other)->getLayerBoundsInCanvasCoords());
    const auto shown = document.Shown();
    stack.FlipImageLayer(other, true, false);
    const auto flipped = document.Shown();
    for (int y = 0; y < 150; ++y)
        for (int x = std::max(area.x, 0); x < std::min<int64_t>(area.Right(), 200); ++x) {
            const auto mirrored = static_cast<int>(area.x + area.Right() - 1 - x);
            if (mirrored >= 0 && mirrored < 200) {
                ASSERT_EQ(std::memcmp(&flipped[(y * 200u + static_cast<unsigned>(x)) * 4],
                                      &shown[(y * 200u + static_cast<unsigned>(mirrored)) * 4], 4),
                          0)
                    << x << ", " << y;
            }
        }
}

TEST(LayerStackPixels, BakingAndCroppingTheDocumentKeepThePicture)
{
    PixelDocument document;
    LayerStack& stack = *document.stack;
    const PntHandle hidden = document.Add("hidden");
    document.Paint({0, 0, 50, 50}, ilPixel::Rgba(9, 9, 9, 255));
    const PntHandle ofHidden = document.AddStencil(hidden, false, {0, 0, 20, 50});
    stack.SetLayerVisible(hidden, false, false);
    const PntHandle off = document.AddStencil(document.image, false, {0, 0, 90, 90});
    stack.SetLayerActive(off, false);
    document.AddStencil(document.image, true, {10, 10, 60, 130}, 99);
    stack.InvertStencilLayer(document.AddStencil(document.image, false, {4, 4, 160, 60}, 230));
    stack.AddOwnerToLayer(document.image, ofHidden, false);
    stack.SetLayerOffset(off, -20, 10, false);
    document.Select();
    const auto before = document.Shown();

    // There and back: what lay outside for a while comes back as it was.
    constexpr ilTile tile(33, 21, 90, 100);
    ASSERT_TRUE(stack.CropDocument(tile));
    const auto cropped = document.Shown();
    for (int y = 0; y < tile.ny; ++y)
        ASSERT_EQ(std::memcmp(&cropped[static_cast<size_t>(y) * 360], &before[(y + 21u) * 800 + 33 * 4], 360), 0) << y;
    EXPECT_FALSE(stack.CropDocument({90, 0, 5, 5}));
    EXPECT_FALSE(stack.CropDocument({0, 0, 0, 5}));
    ASSERT_TRUE(stack.CropDocument({-33, -21, 200, 150}));
    EXPECT_EQ(Difference(document.Shown(), before, 200), "");

    const KeptImages kept(stack);
    stack.BakeStencilMaskToLayer(document.image, false, true);
    EXPECT_TRUE(kept.AreUntouched());
    EXPECT_EQ(Difference(document.Shown(), before, 200), "");
    EXPECT_EQ(stack.getStencilLayers(document.image), qs::vector<PntHandle>{off});
    EXPECT_EQ(stack.getOwnerArray(ofHidden), qs::vector<PntHandle>{hidden});
    stack.BakeAllStencilMaskToLayer();
    EXPECT_EQ(Difference(document.Shown(), before, 200), "");
    EXPECT_EQ(stack.GetLayerFromHandle(ofHidden), nullptr);
    EXPECT_EQ(Dump(stack), "image* hidden |  | stencil stencil");  // the inactive one, and one that nobody owns now
    EXPECT_EQ(document.At(hidden, 10, 10), ilPixel());
    EXPECT_EQ(document.At(hidden, 30, 10), ilPixel::Rgba(9, 9, 9, 255));
}

TEST(LayerStackPixels, DuplicatesAreIndependentAndNamedInTurn)
{
    PixelDocument document;
    LayerStack& stack = *document.stack;
    stack.SetLayerOpacity(document.image, 0.25f);
    stack.SetLayerBlend(document.image, kBlendScreen);
    document.AddStencil(document.image, true, {40, 20, 30, 30});
    document.AddStencil(document.image, false, {90, 20, 30, 30}, 100);
    const KeptImages kept(stack);
    const PntHandle first = stack.DuplicateCurrentLayer(true, true, LayerStack::kDuplicateSame, true);
    const PntHandle second = stack.DuplicateCurrentLayer(false, true, LayerStack::kDuplicateSame, true);
    EXPECT_EQ(Dump(stack), "image image-1-1* image-1 |  | stencil stencil-1 stencil-1-1 stencil");
    const Layer& copy = *document.Find(first);
    EXPECT_EQ(copy.GetOpacity(), 0.25f);
    EXPECT_EQ(copy.GetLayerBlend(), kBlendScreen);
    EXPECT_EQ(stack.getStencilLayers(first).size(), 1u);
    const auto original = document.Pixels(document.image);
    EXPECT_EQ(document.Pixels(first), original);
    EXPECT_EQ(document.Pixels(second), original);
    document.Paint({20, 0, 60, 60}, ilPixel::Rgba(1, 2, 3, 4));
    EXPECT_EQ(document.Pixels(first), original);
    EXPECT_TRUE(kept.AreUntouched());

    // In another role: alpha as far as it shows, and back in the display colour.
    for (const bool connect : {false, true}) {
        const PntHandle mask = stack.CopyLayerToMask(document.image, connect);
        const PntHandle stencil = stack.CopyLayerToStencil(document.image, connect);
        EXPECT_EQ(stack.getOwnerArray(mask).size(), connect ? 1u : 0u);
        EXPECT_EQ(stack.getOwnerArray(stencil), stack.getOwnerArray(mask));
        EXPECT_EQ(document.At(mask, 110, 5), ilPixel::Coverage(255));
        EXPECT_EQ(document.At(mask, 50, 30), ilPixel::Coverage(0));
        stack.SetMaskLayerDisplayColor(PaintColor(0, 1, 0, 1), mask);
        EXPECT_EQ(document.At(stack.CopyLayerToImage(mask), 100, 30), ilPixel::Rgba(0, 155, 0, 155));
        stack.DeleteCurrentLayer(stencil, true);
    }
    const PntHandle inverted = stack.CopyLayerToMask(document.image, false);
    stack.InvertMaskLayer(inverted);
    const PntHandle ofInverted = stack.CopyLayerToImage(inverted);
    EXPECT_EQ(document.At(ofInverted, 199, 149), ilPixel::Rgba(255, 0, 0, 255));
    EXPECT_EQ(document.Find(ofInverted)->GetImage()->GetFillValue(), ilPixel());
    document.Select();
    EXPECT_EQ(document.At(stack.CopyLayerToImage(stack.GetSelectionMaskHandle()), 30, 50), [&] {
        const ilPixel full = stack.GetSelectionDefaultDisplayColor().Premultiplied();
        const auto half = [&](int c) { return static_cast<uint8_t>(std::lround(full.GetComponent(c) * 128 / 255.0)); };
        return ilPixel::Rgba(half(0), half(1), half(2), half(3));
    }());
    EXPECT_EQ(stack.CopyLayerToMask(stack.GetSelectionMaskHandle(), true), kNullHandle);
    EXPECT_EQ(stack.DuplicateCurrentLayer(true, true, 4, true), kNullHandle);
}

}  // namespace
