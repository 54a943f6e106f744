#include "platform/imaging/transform/ImageTransform.h"
#include "platform/imaging/kernels/Kernels.h"
#include "platform/imaging/pages/PageWalk.h"
#include "platform/imaging/transform/MappedSampler.h"
#include "tests/support/RandomImages.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <vector>

std::vector<const kernels::KernelTable*> AllKernelTables();  // of KernelTables.cpp

namespace {

using qsLinear::AffineMatrix;

constexpr ilTile kAround(-700, -700, 1400, 1400);

constexpr std::array kSmoothFilters = {kFilterBilinear, kFilterBicubic, kFilterArea, kFilterLanczos};

bool AreSame(const ilImage& a, const ilImage& b, const ilTile& tile = kAround)
{
    const size_t bytes = static_cast<size_t>(tile.Area()) * 4;
    qs::vector<uint8_t> p(bytes), q(bytes);
    a.ReadTile(tile, p.data(), ptrdiff_t{tile.nx} * 4);
    b.ReadTile(tile, q.data(), ptrdiff_t{tile.nx} * 4);
    return p == q;
}

AffineMatrix About(double x, double y, const AffineMatrix& m)
{
    return AffineMatrix::Translation(x, y) * m * AffineMatrix::Translation(-x, -y);
}

double TotalAlpha(const ilMIOImage& image)
{
    double total = 0;
    image.VisitPages(image.GetBounds(), [&](int, int, const Page& page) {
        const int channels = page.GetNumChannels();
        for (int i = 0; i < kPagePixels; ++i)
            total += page.GetBytes()[i * channels + channels - 1];
    });
    return total / 255;
}

TEST(ImageTransform, QuarterTurnsFlipsAndWholePixelMovesKeepEveryByte)
{
    Random random(1);
    for (int i = 0; i < 16; ++i) {
        const int channels = i % 3 == 0 ? 1 : 4;
        const auto image = MakeRandomImage(random, channels);
        AffineMatrix m = AffineMatrix::Rotation(90 * random.Int(0, 3)) * AffineMatrix::Scale(i % 2 == 0 ? -1 : 1, 1);
        m = AffineMatrix::Translation(random.Int(-200, 200), 64 * random.Int(-2, 2)) * m;
        const auto turned = TransformImage(*image, m, {});
        AffineMatrix back;
        ASSERT_TRUE(turned && m.Invert(back));
        EXPECT_TRUE(AreSame(*TransformImage(*turned, back, {}), *image));
        for (int k = 0; k < 2000; ++k) {
            const int x = random.Int(-300, 300), y = random.Int(-300, 300);
            double u = x + 0.5, v = y + 0.5;
            m.MapPoint(u, v);
            ASSERT_EQ(turned->GetPixel(static_cast<int>(std::floor(u)), static_cast<int>(std::floor(v))),
                      image->GetPixel(x, y));
        }
    }
    const auto image = MakeRandomImage(random, 4);
    const auto moved = TransformImage(*image, AffineMatrix::Translation(-128, 64), {});
    image->VisitPages(image->GetBounds(), [&](int px, int py, const Page& page) {
        EXPECT_EQ(moved->SharePage(px - 2, py + 1).get(), &page);
    });
}

// --- a plain reference in double precision ---

double Kernel(FilterMethod filter, double x)
{
    x = std::fabs(x);
    const double pi = std::acos(-1.0);
    switch (filter) {
    case kFilterBilinear: return std::max(0.0, 1 - x);
    case kFilterBicubic:
        return x < 1 ? 1.5 * x * x * x - 2.5 * x * x + 1 : x < 2 ? -0.5 * x * x * x + 2.5 * x * x - 4 * x + 2 : 0;
    case kFilterLanczos:
        return x == 0 ? 1 : x < 3 ? std::sin(pi * x) / (pi * x) * std::sin(pi * x / 3) / (pi * x / 3) : 0;
    default: return x < 0.5 ? 1 : 0;
    }
}

/// The share of source pixel j in what lies about the source position `center`, one target pixel being `size` wide.
double Share(FilterMethod filter, int j, double center, double size)
{
    if (filter == kFilterArea)
        return std::max(0.0, std::min(j + 1.0, center + size / 2) - std::max<double>(j, center - size / 2)) / size;
    const double stretch = std::max(1.0, size);
    double total = 0;
    for (int k = static_cast<int>(center - 4 * stretch); k <= static_cast<int>(center + 4 * stretch); ++k)
        total += Kernel(filter, (k + 0.5 - center) / stretch);
    return Kernel(filter, (j + 0.5 - center) / stretch) / total;
}

/// How far the result is from the sum over all source pixels, at most, in levels.
double LargestError(const ilImage& result, const ilMIOImage& source, const ilTile& tile, const ilTile& within,
                    const AffineMatrix& toSource, double xSize, double ySize, FilterMethod filter)
{
    double largest = 0;
    for (int y = within.y; y < within.Bottom(); ++y)
        for (int x = within.x; x < within.Right(); ++x) {
            double u = x + 0.5, v = y + 0.5;
            toSource.MapPoint(u, v);
            double sum[4] = {};
            for (int sy = tile.y; sy < tile.Bottom(); ++sy) {
                const double down = Share(filter, sy, v, ySize);
                for (int sx = tile.x; down != 0 && sx < tile.Right(); ++sx) {
                    const double weight = down * Share(filter, sx, u, xSize);
                    for (int c = 0; weight != 0 && c < 4; ++c)
                        sum[c] += weight * source.GetPixel(sx, sy).GetComponent(c);
                }
            }
            for (int c = 0; c < 4; ++c) {
                const double expected = std::clamp(sum[c], 0.0, c < 3 ? std::clamp(sum[3], 0.0, 255.0) : 255.0);
                largest = std::max(largest, std::fabs(result.GetPixel(x, y).GetComponent(c) - expected));
            }
        }
    return largest;
}

TEST(ImageTransform, AgreesWithTheSumsInDoublePrecision)
{
    Random random(2);
    const ilTile tile(40, 50, 24, 24);
    const qs::Reference<ilSmartImage> image(new ilSmartImage(ilPixel()));
    for (int y = tile.y; y < tile.Bottom(); ++y)
        for (int x = tile.x; x < tile.Right(); ++x)
            image->SetPixel(x, y, random.Premultiplied());
    AffineMatrix back;
    for (const FilterMethod filter : kSmoothFilters) {
        for (const auto& [xScale, yScale] : {std::pair(0.37, 0.5), std::pair(1.7, 0.21), std::pair(1.0, 2.9)}) {
            const AffineMatrix m = AffineMatrix::Translation(3.3, -7.7) * AffineMatrix::Scale(xScale, yScale);
            ASSERT_TRUE(m.Invert(back));
            const auto result = TransformImage(*image, m, {filter, filter});
            const ilTile within(static_cast<int>(40 * xScale), static_cast<int>(50 * yScale) - 10, 40, 40);
            EXPECT_LT(LargestError(*result, *image, tile, within, back, 1 / xScale, 1 / yScale, filter), 0.51)
                << "filter " << filter << " scale " << xScale << ", " << yScale;
        }
        if (filter == kFilterBilinear || filter == kFilterBicubic) {
            const AffineMatrix m = About(50, 60, AffineMatrix::Rotation(30) * AffineMatrix::Scale(1.0, 1.4));
            ASSERT_TRUE(m.Invert(back));
            const auto result = TransformImage(*image, m, {filter, filter});
            EXPECT_LT(LargestError(*result, *image, tile, {30, 40, 40, 40}, back, 1, 1, filter), 1.0);
        }
    }
}

/// A disc of coverage; soft: fading from the middle on.
qs::Reference<ilSmartImage> MakeDisc(double x, double y, double radius, bool isSoft, int channels)
{
    qs::Reference<ilSmartImage> image(new ilSmartImage(ilPixel(kUnsignedByte, channels)));
    const int r = static_cast<int>(radius) + 2;
    for (int py = static_cast<int>(y) - r; py <= y + r; ++py)
        for (int px = static_cast<int>(x) - r; px <= x + r; ++px) {
            const double distance = std::hypot(px + 0.5 - x, py + 0.5 - y);
            const double cover = isSoft ? 1 - distance / radius : radius + 0.5 - distance;
            const auto a = static_cast<uint8_t>(std::clamp(cover, 0.0, 1.0) * 255);
            if (a != 0)
                image->SetPixel(px, py, channels == 1 ? ilPixel::Coverage(a) : ilPixel::Rgba(a, a / 2, 0, a));
        }
    return image;
}

TEST(ImageTransform, CoverageAndPlaceAreKeptByAnyAngleAndScale)
{
    Random random(3);
    for (int i = 0; i < 60; ++i) {
        const FilterMethod filter = kSmoothFilters[static_cast<size_t>(i) % kSmoothFilters.size()];
        const auto image = MakeDisc(30.3, -20.7, random.Int(20, 60), i % 3 == 0, i % 2 == 0 ? 4 : 1);
        const double xScale = random.Int(30, 200) * 0.01, yScale = random.Int(30, 200) * 0.01;
        const AffineMatrix m = About(10, 20,
                                     AffineMatrix::Rotation(random.Int(-3600, 3600) * 0.1) *
                                         AffineMatrix::Scale(xScale, random.OneIn(2) ? yScale : -yScale));
        const auto result = TransformImage(*image, m, {filter, filter});
        ASSERT_TRUE(result);
        const double before = TotalAlpha(*image) * std::fabs(m.determinant());
        EXPECT_NEAR(TotalAlpha(*result), before, 0.01 * before) << "filter " << filter << ", " << i;

        double middleX = 0, middleY = 0;
        for (int y = -300; y < 300; ++y)
            for (int x = -300; x < 300; ++x) {
                const ilPixel pixel = result->GetPixel(x, y);
                middleX += (x + 0.5) * pixel.GetAlpha();
                middleY += (y + 0.5) * pixel.GetAlpha();
                ASSERT_LE(pixel.GetComponent(0), pixel.GetAlpha());
            }
        double x = 30.3, y = -20.7;
        m.MapPoint(x, y);
        EXPECT_NEAR(middleX / TotalAlpha(*result) / 255, x, 0.1);
        EXPECT_NEAR(middleY / TotalAlpha(*result) / 255, y, 0.1);
    }
}

TEST(ImageTransform, UniformAreasStayUniformAndCostNoPixels)
{
    constexpr ilPixel kColor = ilPixel::Rgba(13, 77, 200, 211);
    const qs::Reference<ilSmartImage> image(new ilSmartImage(ilPixel()));
    image->fillTile({-512, -512, 1024, 1024}, kColor);
    for (const FilterMethod filter : kSmoothFilters)
        for (const double angle : {0.0, 33.0, 45.0})
            for (const double scale : {0.6, 1.1}) {
                const auto result = TransformImage(
                    *image, AffineMatrix::Rotation(angle) * AffineMatrix::Scale(scale, scale), {filter, filter});
                const ilTile inside(-200, -200, 400, 400);
                int uniformPages = 0;
                ForEachPage(inside, [&](int px, int py, const ilTile&) {
                    const PageReader page = result->ReadPage(px, py);
                    ASSERT_FALSE(page.IsMissing());
                    uniformPages += page.GetPage()->IsUniform() ? 1 : 0;
                });
                EXPECT_GE(uniformPages, 16);
                for (int i = -200; i < 200; i += 7)
                    EXPECT_EQ(result->GetPixel(i, -i), kColor);
            }
    const qs::Reference<ilSmartImage> inverted(new ilSmartImage(ilPixel::Coverage(255)));
    inverted->fillTile({10, 10, 40, 40}, ilPixel::Coverage(0));
    const auto turned = TransformImage(*inverted, AffineMatrix::Rotation(20), {});
    EXPECT_EQ(turned->GetFillValue(), ilPixel::Coverage(255));
    EXPECT_LE(turned->GetPageCount(), 4U);
    EXPECT_EQ(
        TransformImage(*inverted, AffineMatrix::Rotation(20), {kFilterNearest, kFilterNearest})->GetPixel(-400, 0),
        ilPixel::Coverage(255));
}

TEST(ImageTransform, WarpsReachTheCornersAndKeepTheArea)
{
    const qs::Reference<ilSmartImage> image(new ilSmartImage(ilPixel()));
    const ilTile from(10, 20, 100, 60);
    image->fillTile(from, ilPixel::Rgba(0, 0, 0, 255));
    image->fillTile({10, 20, 50, 60}, ilPixel::Rgba(255, 0, 0, 255));
    const Rect8f quad{{-40.5F, 150, 90, -20}, {10, 30.25F, 120, 70}};
    double area = 0;
    for (int i = 0; i < 4; ++i)
        area += (double{quad.x[i]} * quad.y[(i + 1) % 4] - double{quad.x[(i + 1) % 4]} * quad.y[i]) / 2;
    for (const WarpKind kind : {WarpKind::Perspective, WarpKind::Bilinear}) {
        const auto result = WarpImage(*image, from, quad, kind, {});
        ASSERT_TRUE(result);
        EXPECT_NEAR(TotalAlpha(*result), area, 0.01 * area);
        // On the middle of the upper side a bilinear map has the middle of the rectangle's.
        const int x = static_cast<int>((quad.x[0] + quad.x[1]) / 2), y = 22;
        const bool isEven = kind == WarpKind::Bilinear;
        EXPECT_EQ(result->GetPixel(x - 4, y).GetComponent(0) == 255,
                  isEven || result->GetPixel(x, y).GetComponent(0) == 255);
        EXPECT_EQ(result->GetPixel(x + 4, y + 2).GetComponent(0) == 0,
                  isEven || result->GetPixel(x, y).GetComponent(0) == 0);
        EXPECT_TRUE(AreSame(*WarpImage(*image, from, {{10, 110, 110, 10}, {20, 20, 80, 80}}, kind, {}), *image));
        // A strong shrink averages: the left half stays red on the whole.
        const auto small = WarpImage(*image, from, {{0, 4, 5, 0}, {0, 0, 3, 3}}, kind, {});
        EXPECT_NEAR(TotalAlpha(*small), 13.5, 1.0);
    }
}

/// A perspective that counts the positions that it is asked for.
class CountingMap : public PixelMap {
public:
    CountingMap(const ilTile& from, const Rect8f& to) : map_(from, to) {}
    void MapPoint(double x, double y, double& u, double& v) const override
    {
        ++count;
        map_.MapPoint(x, y, u, v);
    }
    void MapRow(double x, double y, int n, int originX, int originY, int32_t* u, int32_t* v) const override
    {
        count += n;
        map_.MapRow(x, y, n, originX, originY, u, v);
    }
    mutable int64_t count = 0;

private:
    PerspectivePixelMap map_;
};

TEST(ImageTransform, WarpsAverageWhatTheyShrinkAtABoundedCostWhateverTheScale)
{
    Random random(6);
    const ilTile from(0, 0, 400, 400);
    const qs::Reference<ilSmartImage> image(new ilSmartImage(ilPixel()));
    for (int i = 0; i < 40; ++i)
        image->fillTile(ilTileIntersection(random.Tile(0, 400, 150), from), random.Premultiplied());
    for (const Rect8f& quad :
         {Rect8f{{140, 160, 300, 0}, {0, 0, 300, 300}}, Rect8f{{149.5F, 150.5F, 300, 0}, {0, 0, 300, 300}},
          Rect8f{{0, 300, 300, 0}, {0, 0, 3, 2}}, Rect8f{{5, 50, 20, 0}, {2, 30, 60, 7}},
          Rect8f{{0, 2, 200, 190}, {0, 0, 150, 160}}}) {
        const CountingMap map(from, quad);
        const qs::Reference<ilSmartImage> target(new ilSmartImage(ilPixel()));
        MappedSampler sampler(*image, *target, map, kFilterBilinear);
        ForEachPage({0, 0, 320, 320}, [&](int px, int py, const ilTile&) { sampler.MakePage(px, py); });
        EXPECT_LT(map.count, 320 * 320 * 60) << "positions";

        constexpr int kFine = 24;
        double sum = 0;
        int count = 0, far = 0;
        for (int i = 0; i < 12'000; ++i) {
            const int x = random.Int(0, static_cast<int>(std::max(quad.x[1], quad.x[2])) - 1);
            const int y = random.Int(0, static_cast<int>(quad.y[2]) - 1);
            double u, v, acrossU, acrossV, downU, downV;
            map.MapPoint(x, y, u, v);
            map.MapPoint(x + 1, y, acrossU, acrossV);
            map.MapPoint(x, y + 1, downU, downV);
            if (std::hypot(acrossU - u, acrossV - v) < 1.5 || std::hypot(downU - u, downV - v) < 1.5)
                continue;  // interpolated rather than averaged
            double expected = 0;
            for (int k = 0; k < kFine * kFine; ++k) {
                map.MapPoint(x + (k % kFine + 0.5) / kFine, y + (k / kFine + 0.5) / kFine, u, v);
                if (u >= 0 && v >= 0 && u < 400 && v < 400)
                    expected += image->GetPixel(static_cast<int>(u), static_cast<int>(v)).GetAlpha();
            }
            const double error = std::fabs(target->GetPixel(x, y).GetAlpha() - expected / (kFine * kFine));
            count += expected > 0 ? 1 : 0;
            sum += error;
            far += error > 40 ? 1 : 0;
        }
        ASSERT_GT(count, 20);
        EXPECT_LT(sum / count, 2.5) << "mean error in levels";
        EXPECT_LE(far, count / 200) << "pixels that a painter would see";
    }
}

TEST(ImageTransform, ResultsOfAnySizeCostWhatIsKept)
{
    Random random(7);
    const auto image = MakeRandomImage(random, 4);
    const ilTile box(-100, -100, 250, 200);
    const ilTile kept(-1000, -1000, 2300, 2300);
    for (const float far : {1e6F, 1e8F})
        for (const WarpKind kind : {WarpKind::Perspective, WarpKind::Bilinear}) {
            for (const Rect8f& quad :
                 {Rect8f{{0, far, far, 0}, {0, 0, 300, 300}},
                  Rect8f{{-far, far, far, -far}, {-far, -far, far, far * 0.9F}},
                  Rect8f{{0, 300, far, 0}, {0, 0, far, 300}}, Rect8f{{0, 300, 300, far}, {0, 0, 300, far}}}) {
                const auto result = WarpImage(*image, box, quad, kind, {}, kept);
                EXPECT_TRUE(!result || result->GetPageCount() <= 4096) << far;
            }
        }
    // What is kept is what the whole result has there.
    for (const AffineMatrix& m :
         {AffineMatrix::Scale(26, 28), AffineMatrix::Rotation(30) * AffineMatrix::Scale(25, 25)}) {
        const auto whole = TransformImage(*image, m, {});
        const auto cut = TransformImage(*image, m, {}, kept);
        ASSERT_GT(whole->GetPageCount(), 4096U);
        EXPECT_LE(cut->GetPageCount(), 37U * 37);
        EXPECT_TRUE(AreSame(*whole, *cut));
    }
    const auto small = TransformImage(*image, AffineMatrix::Translation(5000, 0.5), {}, kept);
    EXPECT_TRUE(small->GetBounds().x > kept.Right()) << "what is not too large is kept wherever it lies";
}

TEST(ImageTransform, WhatMakesNoPictureIsRefused)
{
    Random random(4);
    const auto image = MakeRandomImage(random, 4);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double bad : {nan, infinity, -infinity, 1e30, 1e300}) {
        EXPECT_FALSE(TransformImage(*image, {bad, 0, 0, 1, 0, 0}, {}));
        EXPECT_FALSE(TransformImage(*image, {1, 0, bad, 1, 0, 0}, {}));
        EXPECT_FALSE(TransformImage(*image, AffineMatrix::Translation(0, bad), {}));
        const auto f = static_cast<float>(bad);
        EXPECT_FALSE(WarpImage(*image, {0, 0, 9, 9}, {{0, f, 9, 0}, {0, 0, 9, 9}}, WarpKind::Bilinear, {}));
    }
    EXPECT_FALSE(TransformImage(*image, {0, 0, 0, 0, 0, 0}, {}));
    EXPECT_FALSE(TransformImage(*image, {1, 2, 2, 4, 0, 0}, {}));
    EXPECT_FALSE(TransformImage(*image, AffineMatrix::Scale(1e-12, 1), {}));
    EXPECT_FALSE(TransformImage(*image, AffineMatrix::Scale(50000, 50000), {}));
    for (const Rect8f& quad : {Rect8f{{0, 9, 0, 9}, {0, 0, 9, 9}}, Rect8f{{0, 5, 9, 0}, {0, 0, 0, 0}},
                               Rect8f{{0, 9, 2, 0}, {0, 0, 2, 9}}, Rect8f()})
        EXPECT_FALSE(WarpImage(*image, {0, 0, 9, 9}, quad, WarpKind::Perspective, {}));
    EXPECT_FALSE(WarpImage(*image, {}, {{0, 9, 9, 0}, {0, 0, 9, 9}}, WarpKind::Perspective, {}));

    // Too far away for the halvings that shrinking takes.
    const qs::Reference<ilSmartImage> far(new ilSmartImage(*image, 1 << 30, 0));
    EXPECT_FALSE(WarpImage(*far, far->GetBounds(), {{0, 4, 5, 0}, {0, 0, 3, 3}}, WarpKind::Bilinear, {}));
}

TEST(ImageTransform, EveryVariantOfTheKernelsGivesTheSameBytes)
{
    Random random(5);
    const ilTile within(-260, -260, 520, 520);
    for (const int channels : {1, 4}) {
        const auto image = MakeRandomImage(random, channels, 100);
        for (const FilterMethod filter : {kFilterNearest, kFilterBilinear, kFilterBicubic, kFilterArea, kFilterLanczos})
            for (const double angle : {0.0, 77.7}) {
                const AffineMatrix m = AffineMatrix::Rotation(angle) * AffineMatrix::Scale(0.7, 1.3);
                const Rect8f quad{{0, 200, 150, 20}, {0, 30, 190, 140}};
                qs::Reference<ilSmartImage> turned, warped;
                for (const kernels::KernelTable* table : AllKernelTables()) {
                    kernels::Use(table);
                    const auto turnedHere = TransformImage(*image, m, {filter, filter});
                    const auto warpedHere =
                        WarpImage(*image, {-100, -100, 250, 200}, quad, WarpKind::Perspective, {filter, filter});
                    kernels::Use(nullptr);
                    if (turned) {
                        EXPECT_TRUE(AreSame(*turnedHere, *turned, within)) << table->name;
                        EXPECT_TRUE(AreSame(*warpedHere, *warped, within)) << table->name;
                    }
                    turned = turnedHere;
                    warped = warpedHere;
                }
            }
    }
}

}  // namespace
