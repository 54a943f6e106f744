#include "PaintCoreFixture.h"

#include "core/brush/BrushStampKinds.h"
#include "platform/geometry/gk_spline.h"
#include "platform/imaging/strokes/TpressureFilter.h"

using BrushSettings = PaintCoreTest;

namespace {

/// Pixels from an image of the test's own.
class ReferenceStamp : public BrushStampReferenceStamp {
public:
    ReferenceStamp(const char* kind, qs::TempReference<ilImage> image, float xOff = 0, float yOff = 0)
        : BrushStampReferenceStamp(kind), image_(std::move(image)), xOff_(xOff), yOff_(yOff)
    {}
    BrushStampReferenceStamp* duplicate() const override { return new ReferenceStamp(*this); }
    bool IsEqual_(const BrushStampReferenceStamp* other) const override { return other == this; }
    ilImage* GetRefImage() override { return image_.get(); }
    float GetXOff() const override { return xOff_; }
    float GetYOff() const override { return yOff_; }

private:
    qs::TempReference<ilImage> image_;
    float xOff_;
    float yOff_;
};

/// Turns every pixel into one colour.
class FillingEffect : public EffectBrush {
public:
    explicit FillingEffect(ilPixel color) : color_(color) { ++alive; }
    ~FillingEffect() override { --alive; }
    bool IsEqual(const EffectBrush* other) const override
    {
        const auto* filling = dynamic_cast<const FillingEffect*>(other);
        return filling != nullptr && filling->color_ == color_;
    }
    qs::TempReference<ilMIOImage> ProcessLayer(const ilMIOImage&) override
    {
        ++processed;
        return new ilSmartImage(color_);
    }
    static inline int processed = 0;
    static inline int alive = 0;

private:
    ilPixel color_;
};

BrushParameters BrushOf(float radiusPx, BrushStampReferenceStamp* reference = nullptr)
{
    BrushParameters brush;
    brush.firstSize = radiusPx;
    brush.secondSize = radiusPx;
    brush.referenceStamp = reference;
    return brush;
}

}  // namespace

TEST_F(BrushSettings, SpacingIsCloserForSmallMarkers)
{
    Open();
    for (const float size : {1.0F, 8.0F, 30.0F, 41.0F})
        EXPECT_EQ(PaintCore.GetSpacingBias(size), 1) << size;
    StrokeParameters stroke;
    stroke.markerBlend = true;
    PaintCore.SetStrokeParameters(stroke);
    struct Case {
        float size;
        double bias;
    };
    for (const auto& [size, bias] :
         {Case{0, 0.3}, {7.9F, 0.3}, {8, 0.3}, {14, 0.55}, {20, 0.8}, {30, 0.9}, {40, 1.0}, {41, 1.0}})
        EXPECT_NEAR(PaintCore.GetSpacingBias(size), bias, 1e-9) << size;
    CloseAll();
    EXPECT_EQ(PaintCore.GetSpacingBias(8), 1) << "without a document";
}

TEST_F(BrushSettings, SixteenBitsArePaintedByPlainLargeBrushesOnly)
{
    Open();
    const auto uses16 = [](const BrushParameters& brush, const StrokeParameters& stroke = {}) {
        PaintCore.SetStrokeParameters(stroke);
        PaintCore.SetBrushParameters(brush, false);
        return PaintCore.Use16BitBrush();
    };
    EXPECT_TRUE(uses16(BrushOf(10)));
    EXPECT_FALSE(uses16(BrushOf(5)));
    BrushParameters coarse = BrushOf(10);
    coarse.threshold = 0.2F;
    EXPECT_FALSE(uses16(coarse));
    BrushParameters textured = BrushOf(10);
    textured.SetBrushTexture(new ImagePaintObj(new ilMemoryImg(4, 4, 4), true));
    EXPECT_FALSE(uses16(textured));
    StrokeParameters marker;
    marker.markerBlend = true;
    EXPECT_FALSE(uses16(BrushOf(10), marker));
    for (const char* kind : {"Clone", "Smear", "Other"}) {
        ReferenceStamp reference(kind, &Image());
        EXPECT_EQ(uses16(BrushOf(10, &reference)), std::string(kind) == "Other") << kind;
    }
    EXPECT_TRUE(uses16(BrushOf(10)));
    PaintCore.SetEffectBrush(new FillingEffect(ilPixel::Rgba(1, 2, 3, 255)));
    EXPECT_FALSE(PaintCore.Use16BitBrush());

    PaintCore.InitPaintManager();
    ASSERT_NE(ImageCoreCB()->Use16BitBrushCB, nullptr);
    EXPECT_FALSE(ImageCoreCB()->Use16BitBrushCB());
    PaintCore.SetEffectBrush(nullptr);
    EXPECT_TRUE(ImageCoreCB()->Use16BitBrushCB());
    EXPECT_EQ(FillingEffect::alive, 0);
}

TEST_F(BrushSettings, KindsOfReferenceStampsAreToldByName)
{
    EXPECT_FALSE(isCloneStamp(nullptr));
    EXPECT_FALSE(isSmearStamp(nullptr));
    const ReferenceStamp clone("Clone", {});
    const ReferenceStamp smear("Smear", {});
    EXPECT_TRUE(isCloneStamp(&clone));
    EXPECT_FALSE(isSmearStamp(&clone));
    EXPECT_TRUE(isSmearStamp(&smear));
}

TEST_F(BrushSettings, ACloneBrushTakesPixelsFromItsImage)
{
    Open();
    const qs::TempReference<ilMIOImage> source(new ilSmartImage(ilPixel(kUnsignedByte, 4)));
    source->fillTile({100, 0, 50, 50}, ilPixel::Rgba(0, 0, 255, 255));
    ReferenceStamp clone("Clone", source, 80.5F, -19.5F);
    PaintCore.SetBrushParameters(BrushOf(6, &clone), true);
    Dab(40, 40, 6);
    EXPECT_EQ(Image().GetPixel(40, 40), ilPixel::Rgba(0, 0, 255, 255)) << "from (120, 21)";
    Dab(10, 40, 6);
    EXPECT_EQ(AlphaAt(10, 40), 0) << "from (90, 21)";

    ReferenceStamp sourceless("Clone", {});
    PaintCore.SetBrushParameters(BrushOf(6, &sourceless), true);
    Dab(100, 40, 6);
    EXPECT_EQ(AlphaAt(100, 40), 0) << "without an image no stroke begins";
    PaintCore.SetBrushParameters(BrushOf(6), true);
    Dab(100, 40, 6);
    EXPECT_EQ(Image().GetPixel(100, 40), ilPixel::Rgba(0, 0, 0, 255)) << "the colour is back";
}

TEST_F(BrushSettings, ASmearBrushDragsPixels)
{
    Open();
    PaintCore.FillLayer({20, 0, 30, 150}, {1, 0, 0, 1});
    ReferenceStamp smear("Smear", &Image());
    PaintCore.SetBrushParameters(BrushOf(10, &smear), true);
    Line(40, 60, 70, 60);
    EXPECT_NE(AlphaAt(56, 60), 0);
    EXPECT_EQ(AlphaAt(56, 20), 0);
    PaintCore.SetBrushParameters({}, true);
}

TEST_F(BrushSettings, AnEffectBrushUncoversTheProcessedLayer)
{
    Open();
    PaintCore.FillLayer({0, 0, 200, 150}, {1, 0, 0, 1});
    const PntHandle layer = PaintCore.GetCurrentLayerContainerHandle();
    SetBrush(10);
    FillingEffect::processed = 0;
    const ilPixel green = ilPixel::Rgba(0, 200, 0, 255);
    auto* effect = new FillingEffect(green);
    PaintCore.SetEffectBrush(effect);
    PaintCore.SetEffectBrush(effect);
    PaintCore.SetEffectBrush(new FillingEffect(green));
    EXPECT_EQ(FillingEffect::processed, 1) << "an equal brush on the same layer is nothing new";
    EXPECT_EQ(FillingEffect::alive, 1);
    Dab(50, 50);
    EXPECT_EQ(Image().GetPixel(50, 50), green);

    PaintCore.AddLayer({});
    EXPECT_EQ(FillingEffect::processed, 2);
    PaintCore.SetCurrentLayer(layer);
    EXPECT_EQ(FillingEffect::processed, 3);
    PaintCore.SetEffectBrush(nullptr);
    EXPECT_EQ(FillingEffect::alive, 0);
    Dab(100, 50);
    EXPECT_EQ(Image().GetPixel(100, 50), ilPixel::Rgba(0, 0, 0, 255));

    const int document = PaintCore.GetCurrentLayerStack();
    PaintCore.SetEffectBrush(new FillingEffect(green));
    PaintCore.AddLayerStack(50, 50);
    PaintCore.SetCurrentLayerStack(document);
    EXPECT_EQ(FillingEffect::processed, 5) << "made anew with the document";
}

TEST_F(BrushSettings, MarkerColoursAreLessSaturatedAndDoNotFadeFromStrokeToStroke)
{
    Open();
    StrokeParameters stroke;
    stroke.markerBlend = true;
    PaintCore.SetStrokeParameters(stroke);
    SetBrush(10, {1, 0, 0, 1});
    for (int i = 0; i < 4; ++i) {
        Dab(30 + 40 * static_cast<float>(i), 50);
        EXPECT_EQ(Image().GetPixel(30 + 40 * i, 50), ilPixel::Rgba(255, 38, 38, 255)) << "stroke " << i;
    }
    EXPECT_EQ(PaintCore.GetBrushParameters().color, PaintColor(1, 0, 0, 1));
}

TEST_F(BrushSettings, AnOverridingProfileReplacesTheBrushsOwnWithTheNextParameters)
{
    Open();
    SetBrush(10);
    const qs::Reference<LinearProfile> faint(new LinearProfile({0.5F, 0.5F, 0.5F}));
    EXPECT_EQ(PaintCore.overrideProfile(faint), 0);
    EXPECT_EQ(PaintCore.GetOverridenProfile(), faint);
    PaintCore.SetBrushParameters(PaintCore.GetBrushParameters(), false);
    Dab(50, 50);
    EXPECT_NEAR(AlphaAt(50, 50), 128, 1);
    PaintCore.overrideProfile({});
    SetBrush(10);
    Dab(100, 50);
    EXPECT_EQ(AlphaAt(100, 50), 255);
}

TEST_F(BrushSettings, AShapePickedUpFromTheLayerIsPaintedWith)
{
    Open();
    Stack().SetCurrentLayerOffset(7, 9, true);
    PaintCore.FillLayer({40, 40, 20, 10}, {1, 0, 0, 1});
    PaintCore.FillLayer({150, 100, 5, 5}, {1, 0, 0, 1});
    ASSERT_TRUE(PaintCore.PickupShape({20, 20, 100, 60}));
    const qs::TempReference<ilImage> shape = PaintCore.GetBrushParameters().GetBrushShape();
    ASSERT_TRUE(shape);
    EXPECT_EQ(shape->GetNumChannels(), 1);
    EXPECT_EQ(shape->GetBounds(), ilTile(0, 0, 20, 10)) << "cut to what is painted";
    PaintCore.AddLayer({});
    Dab(100, 100, 10);
    EXPECT_EQ(AlphaAt(100, 103), 255);
    EXPECT_EQ(AlphaAt(100, 108), 0) << "half as high as wide";
    EXPECT_EQ(AlphaAt(108, 103), 255);
    PaintCore.ClearShape();
    Dab(40, 100, 10);
    EXPECT_EQ(AlphaAt(40, 108), 255);
}

TEST_F(BrushSettings, ATexturePickedUpFromTheLayerRepeats)
{
    Open();
    PaintCore.FillLayer({0, 0, 8, 16}, {1, 0, 0, 1});
    PaintCore.FillLayer({8, 0, 8, 16}, {0, 0, 1, 1});
    ASSERT_TRUE(PaintCore.PickupTexture({0, 0, 16, 16}));
    PaintCore.AddLayer({});
    Dab(100, 75, 30);
    for (int x = 80; x < 120; ++x)
        ASSERT_EQ(Image().GetPixel(x, 75), x % 16 < 8 ? ilPixel::Rgba(255, 0, 0, 255) : ilPixel::Rgba(0, 0, 255, 255));
    PaintCore.ClearTexture();
    Dab(100, 75, 30);
    EXPECT_EQ(Image().GetPixel(100, 75), ilPixel::Rgba(0, 0, 0, 255));
}

TEST_F(BrushSettings, PressureRisesFromTheLeastToTheMost)
{
    PaintManager::InitPressureFilter(100, 900);
    EXPECT_EQ(PaintManager::PressureFilter(100), 0);
    EXPECT_EQ(PaintManager::PressureFilter(900), 1);
    for (unsigned raw = 100; raw < 900; ++raw)
        ASSERT_LE(PaintManager::PressureFilter(raw), PaintManager::PressureFilter(raw + 1));
    const TpressureFilter* filter = PaintManager::PressFilter;
    PaintManager::InitPressureFilter(100, 900);
    EXPECT_EQ(PaintManager::PressFilter, filter);
    EXPECT_EQ(PaintManager::minPressure, 100);
    EXPECT_EQ(PaintManager::maxPressure, 900);
}

TEST_F(BrushSettings, SymmetricGuidesAreCopiedAndGivenBack)
{
    static int copies;
    static gk_spline* released;
    copies = 0;
    released = nullptr;
    PaintCoreCallbacks callbacks;
    callbacks.CopySplineCB = [](const gk_spline* spline) {
        ++copies;
        return new gk_spline(*spline);
    };
    PaintCore.SetCallbacks(callbacks);
    ImageCoreCB()->ReleaseSplineCB = [](gk_spline* spline) { released = spline; };
    Open();
    Stack().SetCurrentLayerOffset(10, 0, true);
    auto* symmetry = new Symmetry(100, 75);
    symmetry->SetMirror(true, 90);
    PaintCore.SetSymmetry(symmetry);
    SetBrush(4);
    gk_spline guide({{20, 40}, {60, 40}});
    StrokeParameters stroke;
    stroke.interpolation = 2;
    stroke.guideSpline = &guide;
    PaintCore.SetStrokeParameters(stroke);
    Line(20, 50, 60, 50, 4);
    ImageCoreCB()->ReleaseSplineCB = nullptr;
    EXPECT_EQ(copies, 2);
    EXPECT_EQ(released, &guide);
    EXPECT_EQ(guide.GetControlPoint(0), ilXYdouble(10, 40)) << "in layer coordinates";
    EXPECT_EQ(AlphaAt(40 - 10, 40), 255) << "along the guide";
    EXPECT_EQ(AlphaAt(159 - 10, 40), 255) << "and its image";
    EXPECT_EQ(AlphaAt(40 - 10, 50), 0);
}
