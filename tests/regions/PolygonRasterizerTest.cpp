#include "platform/imaging/regions/PolygonRasterizer.h"
#include "tests/support/RandomImages.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

namespace {

struct Point {
    double x, y;
};
using Contour = std::vector<Point>;

std::vector<float> FloatsOf(const Contour& contour)
{
    std::vector<float> floats;
    for (const Point& p : contour) {
        floats.push_back(static_cast<float>(p.x));
        floats.push_back(static_cast<float>(p.y));
    }
    return floats;
}

qs::Reference<ilSmartImage> Draw(const std::vector<Contour>& contours, FillRule rule, const ilTile& clip)
{
    PolygonRasterizer rasterizer(clip);
    for (const Contour& contour : contours)
        EXPECT_TRUE(rasterizer.AddContour(FloatsOf(contour).data(), contour.size()));
    return rasterizer.Rasterize(rule);
}

/// A point on the grid of 1/256 pixel, which floats hold exactly.
Point OnGrid(double x, double y)
{
    return {std::round(x * 256) / 256, std::round(y * 256) / 256};
}

/// The part of a polygon where sign·(coordinate - limit) is not below 0.
Contour CutAt(const Contour& in, bool isX, double sign, double limit)
{
    Contour out;
    const auto depth = [&](const Point& p) { return sign * ((isX ? p.x : p.y) - limit); };
    for (size_t i = 0; i < in.size(); ++i) {
        const Point& a = in[i];
        const Point& b = in[(i + 1) % in.size()];
        if (depth(a) >= 0)
            out.push_back(a);
        if ((depth(a) < 0) != (depth(b) < 0)) {
            const double t = depth(a) / (depth(a) - depth(b));
            out.push_back({a.x + t * (b.x - a.x), a.y + t * (b.y - a.y)});
        }
    }
    return out;
}

double AreaWithinPixel(const Contour& contour, int x, int y)
{
    const Contour part =
        CutAt(CutAt(CutAt(CutAt(contour, true, 1, x), true, -1, x + 1), false, 1, y), false, -1, y + 1);
    double area = 0;
    for (size_t i = 0; i < part.size(); ++i) {
        const Point& a = part[i];
        const Point& b = part[(i + 1) % part.size()];
        area += (a.x - x) * (b.y - y) - (b.x - x) * (a.y - y);
    }
    return std::abs(area) / 2;
}

int WindingAt(const std::vector<Contour>& contours, double x, double y)
{
    int winding = 0;
    for (const Contour& contour : contours)
        for (size_t i = 0; i < contour.size(); ++i) {
            const Point& a = contour[i];
            const Point& b = contour[(i + 1) % contour.size()];
            if ((a.y <= y) != (b.y <= y) && a.x + (y - a.y) / (b.y - a.y) * (b.x - a.x) < x)
                winding += a.y < b.y ? 1 : -1;
        }
    return winding;
}

bool IsInside(int winding, FillRule rule)
{
    return rule == FillRule::EvenOdd ? winding % 2 != 0 : winding != 0;
}

int EdgesThrough(const std::vector<Contour>& contours, int x, int y)
{
    int count = 0;
    for (const Contour& contour : contours)
        for (size_t i = 0; i < contour.size(); ++i) {
            const Contour edge = {contour[i], contour[(i + 1) % contour.size()]};
            constexpr double kMargin = 0.01;
            const Contour part =
                CutAt(CutAt(CutAt(CutAt(edge, true, 1, x - kMargin), true, -1, x + 1 + kMargin), false, 1, y - kMargin),
                      false, -1, y + 1 + kMargin);
            count += part.empty() ? 0 : 1;
        }
    return count;
}

constexpr FillRule kRules[] = {FillRule::EvenOdd, FillRule::NonZero};

TEST(PolygonRasterizer, PolygonsThatDoNotCrossCoverTheirTrueArea)
{
    Random random(1);
    for (int round = 0; round < 30; ++round) {
        // Rays from a centre, in order of their angle: concave, but never crossing. Slivers are among them.
        Contour contour;
        const int points = random.Int(3, 40);
        const int turn = random.OneIn(2) ? 1 : -1;
        for (int i = 0; i < points; ++i) {
            const double angle = turn * 2 * std::numbers::pi * i / points;
            const double radius = random.Int(1, 900) / 10.0;
            contour.push_back(OnGrid(3 + radius * std::cos(angle), 60 + radius * std::sin(angle)));
        }
        const ilTile clip = random.Tile(-90, 20, 150);
        for (const FillRule rule : kRules) {
            const auto image = Draw({contour}, rule, clip);
            const ilTile around(-100, -40, 220, 210);
            for (int y = around.y; y < around.Bottom(); ++y)
                for (int x = around.x; x < around.Right(); ++x) {
                    const double area = clip.Contains(x, y) ? AreaWithinPixel(contour, x, y) : 0;
                    ASSERT_NEAR(image->GetPixel(x, y).GetAlpha(), area * 255, 1.0)
                        << "round " << round << " at " << x << ", " << y;
                }
        }
    }
}

TEST(PolygonRasterizer, CrossingContoursFollowTheRule)
{
    Random random(2);
    for (int round = 0; round < 8; ++round) {
        std::vector<Contour> contours(static_cast<size_t>(random.Int(1, 3)));
        for (Contour& contour : contours)
            for (int i = random.Int(3, 9); i > 0; --i)
                contour.push_back(OnGrid(random.Int(-300, 2300) / 16.0, random.Int(-300, 1900) / 16.0));
        for (const FillRule rule : kRules) {
            const auto image = Draw(contours, rule, {0, 0, 130, 100});
            for (int y = 0; y < 100; ++y)
                for (int x = 0; x < 130; ++x) {
                    const int edges = EdgesThrough(contours, x, y);
                    if (edges > 1)
                        continue;  // what is settled within a pixel that edges cross in is not the true area
                    const int samples = edges == 0 ? 1 : 32;
                    int inside = 0;
                    for (int i = 0; i < samples * samples; ++i)
                        inside += IsInside(
                            WindingAt(contours, x + (i % samples + 0.5) / samples, y + (i / samples + 0.5) / samples),
                            rule);
                    ASSERT_NEAR(image->GetPixel(x, y).GetAlpha(), 255.0 * inside / (samples * samples),
                                edges == 0 ? 0 : 10)
                        << "round " << round << " at " << x << ", " << y;
                }
        }
    }
}

TEST(PolygonRasterizer, FarPointsKeepTheLinesWhereTheyAre)
{
    // The same three lines, met far away and near by.
    const ilTile clip(-150, -150, 300, 300);
    for (const double sx : {1.0, -1.0})
        for (const double sy : {1.0, -1.0}) {
            const Contour far = {{0, 0}, {sx * 8e8, sy * 4e8}, {sx * -8e8, sy * 9e8}};
            const Contour near = {{0, 0}, {sx * 800, sy * 400}, {sx * -800, sy * 900}};
            EXPECT_EQ(
                FirstDifference(*Draw({far}, FillRule::NonZero, clip), *Draw({near}, FillRule::NonZero, clip), clip, 1),
                "");
        }
    constexpr double kMax = std::numeric_limits<float>::max();
    const auto all =
        Draw({{{-kMax, -1e9}, {1e9, -kMax}, {1e9, 1e9}, {-1e9, 1e9}}}, FillRule::EvenOdd, {0, 0, 100'000, 20'000});
    EXPECT_EQ(all->GetBounds(), ilTile(0, 0, 100'000, 20'000));
    EXPECT_EQ(all->GetContentOf(all->GetBounds()), PageContent::Mixed) << "the pages at the lower edge are cut";
    EXPECT_EQ(all->GetContentOf({0, 0, 100'000 / 64 * 64, 20'000 / 64 * 64}), PageContent::Opaque);
    EXPECT_LT(all->GetAllocatedBytes(), size_t{4096} * 2000) << "whole pages hold no pixels";
}

TEST(PolygonRasterizer, ManyPointsDrawTheSamePolygon)
{
    const Contour corners = {OnGrid(-20, 130.3), OnGrid(811.7, 12.25), OnGrid(1300, 700), OnGrid(333.3, 1023.9)};
    Contour fine;
    for (size_t i = 0; i < 4; ++i)
        for (int j = 0; j < 250'000; ++j) {
            const double t = j / 250'000.0;
            const Point& a = corners[i];
            const Point& b = corners[(i + 1) % 4];
            fine.push_back({a.x + t * (b.x - a.x), a.y + t * (b.y - a.y)});
        }
    const ilTile clip(0, 0, 1024, 1024);
    EXPECT_EQ(
        FirstDifference(*Draw({fine}, FillRule::EvenOdd, clip), *Draw({corners}, FillRule::EvenOdd, clip), clip, 1),
        "");
    // A path that is walked there and back encloses nothing, however often it fills the cells.
    Random random(3);
    Contour noise;
    for (int i = 0; i < 20'000; ++i)
        noise.push_back(OnGrid(random.Int(0, 25600) / 100.0, random.Int(0, 25600) / 100.0));
    Contour mirrored = noise;
    mirrored.insert(mirrored.end(), noise.rbegin(), noise.rend());
    EXPECT_TRUE(Draw({mirrored}, FillRule::NonZero, {0, 0, 256, 256})->IsEmpty());
}

TEST(PolygonRasterizer, WhatIsNoAreaIsRefusedOrEmpty)
{
    PolygonRasterizer rasterizer({0, 0, 100, 100});
    for (const float bad : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                            -std::numeric_limits<float>::infinity()}) {
        const float points[] = {0, 0, 50, 0, 50, bad};
        EXPECT_FALSE(rasterizer.AddContour(points, 3));
    }
    const float line[] = {10, 10, 80, 60};
    EXPECT_TRUE(rasterizer.AddContour(nullptr, 0));
    EXPECT_TRUE(rasterizer.AddContour(line, 1));
    EXPECT_TRUE(rasterizer.AddContour(line, 2));
    EXPECT_TRUE(rasterizer.Rasterize(FillRule::NonZero)->IsEmpty());
}

}  // namespace
