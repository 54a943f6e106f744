#include "OpenStack.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr PaintColor kGreen(0, 1, 0);
constexpr ilPixel kGreenPixel = ilPixel::Rgba(0, 255, 0, 255);
constexpr ilPixel kBlack = ilPixel::Rgba(0, 0, 0, 255);

/// A document of 200 × 150 with a layer "a" at (-30, 20) below the current "b". On "a" stands a black frame on nothing
/// around the canvas pixels [20, 60) × [40, 80).
class Floods : public testing::Test {
protected:
    Floods()
    {
        a = document.Add("a");
        document->SetLayerOffset(a, -30, 20, true);
        document.Paint({17, 37, 46, 46}, kBlack);
        document.Paint({20, 40, 40, 40}, ilPixel::Rgba(0, 0, 0, 0));
        b = document.Add("b");
        document->AddViewer(&view);
        document->ForceUpdate();
        Settle();
    }
    ~Floods() override { document->RemoveViewer(&view); }

    void Settle()
    {
        view.TakeDamage();
        document.DropDamage();
        document.TakeTold();
    }

    ilPixel At(const PntHandle& layer, int x, int y)
    {
        document->LayerStackToLayerCoords(x, y, layer);
        return document.Find(layer)->GetImage()->GetPixel(x, y);
    }
    uint32_t SelectedAt(int x, int y) { return At(document->GetSelectionMaskHandle(), x, y).GetPacked(); }

    void ExpectPlaneIsFresh()
    {
        const qs::vector<uint8_t> shown = BytesOf(*document->GetImagePlane(), document->GetSize());
        const qs::vector<uint8_t> fresh = BytesOf(*document->GetUpdateImagePlaneBits(true), document->GetSize());
        EXPECT_EQ(Difference(shown, fresh, 200), "");
    }

    OpenStack document;
    RecordingView view;
    PntHandle a, b;
};

TEST_F(Floods, FillWhatIsConnectedOnALayerAnywhereAndDamageThatAlone)
{
    GetDocumentPort().LayerImageChanged = [](const PntHandle& handle) {
        GetStackPort().LayerRenamed(handle);  // noted as that
    };
    ASSERT_TRUE(document->FloodFillDone(59, 79, 0, kGreen, a));
    EXPECT_EQ(document.TakeTold(), "updated");
    EXPECT_EQ(At(a, 20, 40), kGreenPixel);
    EXPECT_EQ(At(a, 59, 79), kGreenPixel);
    EXPECT_EQ(At(a, 19, 40), kBlack);
    EXPECT_EQ(At(a, 100, 100).GetPacked(), 0U);
    // The pages of layer "a" from (50, 20) to (90, 60) of its own.
    EXPECT_EQ(view.TakeDamage(), ilTile(0, 20, 98, 64));
    ExpectPlaneIsFresh();
    Settle();

    ilTile tile;
    ASSERT_TRUE(document->SmoothFloodFillDone(199, 149, 0, PaintColor(1, 0, 0, 0.5F), {}, tile, a));
    EXPECT_EQ(document.TakeTold(), "updated renamed");
    EXPECT_EQ(tile, document->GetSize());
    EXPECT_EQ(At(a, 16, 37), ilPixel::Rgba(128, 0, 0, 128));
    EXPECT_EQ(At(a, 200, 149).GetPacked() | At(a, 0, -1).GetPacked(), 0U);
    EXPECT_EQ(At(a, 30, 50), kGreenPixel);
    ExpectPlaneIsFresh();
    ASSERT_TRUE(document->SmoothFloodFillDone(30, 50, 0, kGreen, {}, tile, a));
    EXPECT_EQ(tile, ilTile(20, 40, 40, 40));
}

TEST_F(Floods, AreRefusedWithNothingChangedOrTold)
{
    const PntHandle folder = document->AddLayerFolder(kLayerModeImage, b);
    const PntHandle inner = document->GetCurrentLayerContainerHandle();
    const PntHandle unknown = Layer({}, {}, kLayerModeImage, kLayerTypeRaster, 0, 0).GetLayerContainerHandle();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const auto tryAll = [&](int x, int y, float tolerance, const PaintColor& color, const PntHandle& layer) {
        document->ForceUpdate();
        Settle();
        ilTile tile(1, 2, 3, 4);
        EXPECT_FALSE(document->FloodFillDone(x, y, tolerance, color, layer));
        EXPECT_FALSE(document->SmoothFloodFillDone(x, y, tolerance, color, {}, tile, layer));
        EXPECT_EQ(tile, ilTile(1, 2, 3, 4));
        EXPECT_EQ(document.TakeTold(), "");
        EXPECT_TRUE(view.TakeDamage().IsEmpty() && document->PreviewUpdateTile().IsEmpty());
    };
    for (const PntHandle& wrong : {folder, unknown, kNullHandle})
        tryAll(30, 50, 0, kGreen, wrong);
    for (const auto& [x, y] : {std::pair(-1, 50), {200, 50}, {30, 150}, {INT32_MIN, INT32_MAX}})
        tryAll(x, y, 0, kGreen, a);
    tryAll(30, 50, nan, kGreen, a);
    tryAll(30, 50, -0.1F, kGreen, a);
    tryAll(30, 50, 0, PaintColor(0, nan, 0), a);
    document->SetLayerVisible(a, false, true);
    tryAll(30, 50, 0, kGreen, a);
    document->SetLayerVisible(a, true, true);
    document->SetLayerFolderActive(folder, false, true);
    tryAll(30, 50, 0, kGreen, inner);
    document->SetLayerFolderActive(folder, true, true);
    for (const auto& layer : {a, b, inner, document->GetSelectionMaskHandle()})
        EXPECT_EQ(At(layer, 30, 50).GetPacked(), 0U);
    document->SetLayerContainerLocked(inner, true);  // for the host alone to look at
    EXPECT_TRUE(document->FloodFillDone(30, 50, 0, kGreen, inner));

    EXPECT_FALSE(document->MagicWandDone(30, 50, nan, kGreen, true, a));
    EXPECT_FALSE(document->SmoothMagicWandDone(30, 50, 0, kGreen, true, folder));
    EXPECT_TRUE(document->GetSelectionMask()->GetImage()->IsEmpty());
    for (const int far : {INT32_MIN, INT32_MAX, 1 << 30}) {
        document->SetLayerOffset(a, far, -30, true);
        tryAll(30, 50, 0, kGreen, a);
        EXPECT_FALSE(document->MagicWandDone(30, INT32_MIN, 0, kGreen, true, a));
    }
    document->SetSelectionMask(nullptr);
    EXPECT_FALSE(document->MagicWandDone(30, 50, 0, kGreen, true, a));
}

TEST_F(Floods, KeepToTheSelectionAndWeighItsSoftParts)
{
    Layer& selection = *document->GetSelectionMask();
    selection.GetImage()->fillTile({0, 0, 10, 10}, ilPixel::Coverage(255));
    selection.GetImage()->fillTile({10, 0, 10, 10}, ilPixel::Coverage(51));
    document->SetLayerOffset(document->GetSelectionMaskHandle(), 25, 45, true);
    document->SetSelectionMaskActive(true);
    EXPECT_FALSE(document->FloodFillDone(21, 50, 0, kGreen, a));
    ASSERT_TRUE(document->FloodFillDone(26, 50, 0, kGreen, a));
    EXPECT_EQ(At(a, 25, 45), kGreenPixel);
    EXPECT_EQ(At(a, 44, 54), ilPixel::Rgba(0, 51, 0, 51));
    EXPECT_EQ(At(a, 24, 50).GetPacked() | At(a, 45, 50).GetPacked() | At(a, 30, 55).GetPacked(), 0U);
    ExpectPlaneIsFresh();
    // The selection mask itself is no limit to itself.
    ASSERT_TRUE(document->FloodFillDone(26, 50, 0, PaintColor(1, 1, 1, 0.4F), document->GetSelectionMaskHandle()));
    EXPECT_EQ(SelectedAt(34, 54), 102U);
    EXPECT_EQ(SelectedAt(35, 54), 51U);
    ExpectPlaneIsFresh();
}

TEST_F(Floods, StoreTheAlphaOnMasksAndStencils)
{
    document->FloodFillDone(5, 5, 0, kGreen, b);
    for (const LayerMode mode : {kLayerModeMask, kLayerModeStencil}) {
        const PntHandle coverage = document.Add("c", mode);
        document->SetLayerOffset(coverage, 7, 9, true);
        ASSERT_TRUE(document->AddOwnerToLayer(b, coverage, false));
        document.Paint({100, 0, 3, 150}, ilPixel::Coverage(200));
        document->SetCurrentLayer(b, true, false, false);
        document->ForceUpdate();
        ASSERT_TRUE(document->FloodFillDone(50, 75, 0.1F, PaintColor(0, 0, 0, 0.6F), coverage));
        EXPECT_EQ(At(coverage, 99, 149).GetPacked(), 153U);
        EXPECT_EQ(At(coverage, 100, 149).GetPacked(), 200U);
        EXPECT_EQ(At(coverage, 103, 149).GetPacked(), 0U);
        ExpectPlaneIsFresh();
    }
}

TEST_F(Floods, WandsMoveTheSelectionToTheAlpha)
{
    document->SetLayerOffset(document->GetSelectionMaskHandle(), 5, -3, true);
    document->SetSelectionMaskActive(true);
    const PaintColor none(0, 0, 0, 0);
    ASSERT_TRUE(document->MagicWandDone(30, 50, 0, kGreen, false, a));
    EXPECT_EQ(document->GetSelMaskBounds(), ilTile(15, 43, 40, 40));
    EXPECT_EQ(document->PreviewUpdateTile(), document->GetSize());
    ExpectPlaneIsFresh();
    // From far outside: acts as the nearest corner, and adds.
    ASSERT_TRUE(document->MagicWandDone(INT32_MIN, 100000, 0, kGreen, false, a));
    EXPECT_EQ(SelectedAt(0, 149) & SelectedAt(199, 0) & SelectedAt(30, 50), 255U);
    EXPECT_EQ(SelectedAt(18, 50) | SelectedAt(200, 0) | SelectedAt(0, -1), 0U);
    ASSERT_TRUE(document->SmoothMagicWandDone(0, 0, 0, none, false, a));
    EXPECT_EQ(document->GetSelMaskBounds(), ilTile(15, 43, 40, 40));
    // Everything but what is alike.
    ASSERT_TRUE(document->SmoothMagicWandDone(30, 50, 0, none, true, a));
    EXPECT_EQ(SelectedAt(0, 0) & SelectedAt(18, 50) & SelectedAt(199, 149), 255U);
    EXPECT_EQ(SelectedAt(20, 40) | SelectedAt(59, 79), 0U);
    ExpectPlaneIsFresh();
    EXPECT_NE(document->GetCurrentLayerPainter()->get_clip_image(), nullptr);
}

TEST_F(Floods, InAProxyArePutBackByItsEnd)
{
    const qs::vector<uint8_t> before = BytesOf(*document->GetImagePlane(), document->GetSize());
    ProxyParameters parameters;
    ASSERT_TRUE(document->BeginProxy(parameters, {a, document->GetSelectionMaskHandle()}));
    for (const float tolerance : {0.0F, 1.0F}) {
        document->RevertProxy();
        ASSERT_TRUE(document->FloodFillDone(30, 50, tolerance, kGreen, a));
        ASSERT_TRUE(document->MagicWandDone(18, 50, tolerance, kGreen, false, a));
        EXPECT_EQ(At(a, 18, 50) == kGreenPixel, tolerance == 1) << "each attempt starts from the original";
        ExpectPlaneIsFresh();
    }
    document->EndProxy();
    document->ForceUpdate();
    EXPECT_EQ(Difference(BytesOf(*document->GetImagePlane(), document->GetSize()), before, 200), "");
    EXPECT_TRUE(document->GetSelectionMask()->GetImage()->IsEmpty());
    ASSERT_TRUE(document->FloodFillDone(30, 50, 0, kGreen, a));
    EXPECT_EQ(At(a, 30, 50), kGreenPixel);
}

}  // namespace
