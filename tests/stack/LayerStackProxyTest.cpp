#include "OpenStack.h"

#include <gtest/gtest.h>

namespace {

constexpr ilPixel kRed = ilPixel::Rgba(255, 0, 0, 255);

/// Two layers and a selection mask in one proxy; what the signals say is written down.
class Proxies : public testing::Test {
protected:
    Proxies()
    {
        a = document.Add("a");
        document.Paint({10, 10, 10, 10}, kRed);
        b = document.Add("b");
        document.Paint({70, 70, 10, 10}, kRed);
        document->GetSelectionMask()->GetImage()->fillTile({0, 0, 20, 20}, ilPixel::Coverage(255));
        document->ForceUpdate();
        shownBefore = Shown();
        parameters.keepsEdits->Connect([this](bool& keeps, const qs::vector<PntHandle>& held) {
            EXPECT_FALSE(keeps);
            EXPECT_TRUE(document->InProxy());
            document->EndProxy();  // of no effect from here
            keeps = wantsToKeep;
            told += "asked " + std::to_string(held.size()) + " ";
        });
        parameters.ended->Connect([this](const qs::vector<PntHandle>& held) {
            EXPECT_FALSE(document->InProxy());
            told += "ended " + std::to_string(held.size()) + " ";
        });
    }

    void Begin()
    {
        images = {document.Find(a)->GetImage(), document.Find(b)->GetImage()};
        ASSERT_TRUE(document->BeginProxy(parameters, {a, kCurrentLayerHandle, b, document->GetSelectionMaskHandle()}));
        ASSERT_EQ(document->GetProxyLayers(), (qs::vector<PntHandle>{a, b, document->GetSelectionMaskHandle()}));
    }
    void Edit()
    {
        document.Paint({130, 5, 10, 10}, kRed);
        document->SetLayerOffset(a, 5, 5, false);
        document->GetSelectionMask()->GetImage()->Clear();
        document->ForceUpdate();
    }
    qs::vector<uint8_t> Shown() { return BytesOf(*document->GetImagePlane(), document->GetSize()); }

    OpenStack document;
    PntHandle a, b;
    qs::vector<qs::TempReference<ilMIOImage>> images;
    ProxyParameters parameters;
    bool wantsToKeep = false;
    std::string told;
    qs::vector<uint8_t> shownBefore;
};

TEST_F(Proxies, RevertingAndEndingBringBackEveryByteAndRedrawOnlyWhatDiffers)
{
    Begin();
    for (const bool revert : {true, true, false}) {
        Edit();
        EXPECT_EQ(document->GetImagePlane()->GetPixel(135, 10), kRed) << "the proxy's pixels are shown";
        EXPECT_EQ(document->GetImagePlane()->GetPixel(22, 22), kRed);
        document.Find(a)->SetOffset(0, 0, LayerStackTransform(), true);
        document.DropDamage();
        revert ? document->RevertProxy() : document->EndProxy();
        EXPECT_EQ(document->PreviewUpdateTile(), ilTile(0, 0, 192, 64)) << "the page painted on and the mask's";
        EXPECT_EQ(document->InProxy(), revert);
        EXPECT_FALSE(document->GetSelectionMask()->GetImage()->IsEmpty());
        document->RedrawEntireCanvas();
        EXPECT_EQ(Difference(Shown(), shownBefore, 200), "");
        EXPECT_EQ(told, revert ? "" : "asked 3 ended 3 ");
    }
    EXPECT_EQ(document.Find(a)->GetImage(), images[0]);
    EXPECT_EQ(document.Find(b)->GetImage(), images[1]);
}

TEST_F(Proxies, AKeptOneLeavesItsEditsInTheSameImages)
{
    wantsToKeep = true;
    Begin();
    Edit();
    const auto edited = Shown();
    document.Add("c");
    EXPECT_FALSE(document->InProxy()) << "a structural change ends the proxy";
    EXPECT_EQ(told, "asked 3 ended 3 ");
    document->RedrawEntireCanvas();
    EXPECT_EQ(Difference(Shown(), edited, 200), "");
    EXPECT_EQ(document.Find(a)->GetImage(), images[0]);
    EXPECT_EQ(images[1]->GetPixel(135, 10), kRed);
    EXPECT_EQ(document.Find(a)->getXOffset(), 5);

    EXPECT_FALSE(document->BeginProxy(parameters, {a, kNullHandle}));
    EXPECT_FALSE(document->InProxy() || document.Find(a)->InProxy());
}

}  // namespace
