#include "platform/imaging/regions/FloodSoftEdge.h"

#include <algorithm>
#include <cstdlib>

namespace {

using Cover = FloodRegion::Cover;
using Coverage = std::array<uint8_t, kPagePixels>;

/// How far beyond a page one has to look to decide about its pixels. The region may end kSoftEdgeReach pixels outside
/// of the page, whose ramp then reaches the page's edge; from there the ramp may go on for as many pixels to its peak
/// on the other side. One pixel more in each step keeps the eight neighbours of all of them within the window.
constexpr int kHalo = 2 * kSoftEdgeReach + 2;
constexpr int kSide = kPageSize + 2 * kHalo;
constexpr int kWindowPixels = kSide * kSide;
constexpr int kNeighbours[8] = {-kSide - 1, -kSide, -kSide + 1, -1, 1, kSide - 1, kSide, kSide + 1};

/// Finds the soft edge within one page after another, each in a window around the page. An object holds half a megabyte
/// of window, so one is made for all pages.
class PageEdge {
public:
    PageEdge(const FloodRegion& region, const CachedSmartImage& source, const ilPixel& seed, const ilTile& area)
        : region_(region), source_(source.GetImage()), area_(area), channels_(seed.GetNumChannels())
    {
        for (int c = 0; c < channels_; ++c)
            seed_[c] = seed.GetComponent(c);
    }

    /// The coverage of a page with its soft edge, or null when nothing is added there.
    std::unique_ptr<Coverage> Find(int px, int py)
    {
        const ilTile page = PageTile(px, py);
        window_ = {page.x - kHalo, page.y - kHalo, kSide, kSide};
        const Cover cover = region_.GetCover(window_);
        if (cover != Cover::Some || !FindRing())
            return nullptr;
        source_.ReadTile(window_, pixels_, kSide * channels_);
        FollowRamps();
        FindPeaks();
        return TakeCoverage();
    }

private:
    /// The pixels beside the region, as the first of the band; false when there are none.
    bool FindRing()
    {
        region_.ReadCoverage(window_, covered_, kSide);
        for (int i = 1; i < kWindowPixels - 1; ++i)
            beside_[i] = static_cast<uint8_t>(covered_[i - 1] | covered_[i] | covered_[i + 1]);
        std::fill(depth_, depth_ + kWindowPixels, kNoDepth);
        band_.clear();
        const ilTile inside = ilTileMoved(ilTileIntersection(window_, area_), -int64_t{window_.x}, -int64_t{window_.y});
        const int left = std::max(inside.x, 1), right = static_cast<int>(std::min<int64_t>(inside.Right(), kSide - 1));
        const int top = std::max(inside.y, 1), bottom = static_cast<int>(std::min<int64_t>(inside.Bottom(), kSide - 1));
        for (int y = top; y < bottom; ++y) {
            // Without a branch a pixel: most windows hold long straight stretches of nothing.
            uint8_t any = 0;
            for (int i = y * kSide + left; i < y * kSide + right; ++i) {
                const uint8_t near = static_cast<uint8_t>(beside_[i - kSide] | beside_[i] | beside_[i + kSide]);
                const uint8_t outside = near != 0 ? uint8_t{1} : kFree;
                depth_[i] = covered_[i] != 0 ? uint8_t{0} : outside;
                any |= static_cast<uint8_t>(depth_[i] & 1);  // kFree is even
            }
            for (int i = y * kSide + left; any != 0 && i < y * kSide + right; ++i)
                if (depth_[i] == 1)
                    band_.push_back(i);
        }
        return !band_.empty();
    }

    int ComponentOf(int i, int c) const { return pixels_[i * channels_ + c]; }

    /// How far a pixel's colour lies from the region's.
    int DistanceOf(int i) const
    {
        int distance = 0;
        for (int c = 0; c < channels_; ++c)
            distance += std::abs(ComponentOf(i, c) - seed_[c]);
        return distance;
    }

    /// Grows the band from its first ring outwards, ring after ring, into every neighbour whose colour lies farther
    /// from the region's than that of the pixel it is reached from.
    void FollowRamps()
    {
        for (const int i : band_)
            distance_[i] = DistanceOf(i);
        for (size_t next = 0; next < band_.size() && depth_[band_[next]] < kSoftEdgeReach; ++next) {
            const int i = band_[next];
            for (const int step : kNeighbours) {
                if (depth_[i + step] != kFree)
                    continue;
                distance_[i + step] = DistanceOf(i + step);
                if (distance_[i + step] > distance_[i]) {
                    depth_[i + step] = static_cast<uint8_t>(depth_[i] + 1);
                    band_.push_back(i + step);
                }
            }
        }
    }

    /// Finds where each pixel's ramp ends. Goes from the outermost ring inwards, so that the ends of all ways out of a
    /// pixel are known when its turn comes; it takes the one whose colour lies farthest from the region's.
    void FindPeaks()
    {
        for (size_t next = band_.size(); next-- > 0;) {
            const int i = band_[next];
            peak_[i] = i;
            for (const int step : kNeighbours) {
                const int other = i + step;
                if (depth_[other] == depth_[i] + 1 && distance_[other] > distance_[i] &&
                    distance_[peak_[other]] > distance_[peak_[i]])
                    peak_[i] = peak_[other];
            }
        }
    }

    /// The farthest of the ends that a pixel and its eight neighbours found. Its own alone would not do: on a grid of
    /// pixels a way out may end early, and a thin outline is darker in one pixel than in the next.
    int PeakNear(int i) const
    {
        int peak = peak_[i];
        for (const int step : kNeighbours) {
            const uint8_t depth = depth_[i + step];
            if (depth != 0 && depth < kFree && distance_[peak_[i + step]] > distance_[peak])
                peak = peak_[i + step];
        }
        return peak;
    }

    /// Whether the outline's ridge lies between the pixel and the region: a neighbour nearer to the region has a colour
    /// farther from the region's. What is mixed into such a pixel comes from the other side of the outline.
    bool IsBeyondRidge(int i) const
    {
        return std::any_of(kNeighbours, kNeighbours + 8, [&](int step) {
            const uint8_t depth = depth_[i + step];
            return depth != 0 && depth < depth_[i] && distance_[i + step] > distance_[i];
        });
    }

    /// The share of the region's colour in a pixel of the band, 0 to 255.
    uint8_t ShareOf(int i) const
    {
        if (IsBeyondRidge(i))
            return 0;
        // C = share·S + (1 - share)·E: the share from the projection of C - S onto E - S.
        const int peak = PeakNear(i);
        int along = 0, length = 0;
        for (int c = 0; c < channels_; ++c) {
            const int end = ComponentOf(peak, c) - seed_[c];
            along += (ComponentOf(i, c) - seed_[c]) * end;
            length += end * end;
        }
        if (along <= 0 || along >= length)
            return 0;
        const double share = 1 - static_cast<double>(along) / length;
        // A pixel whose colour lies beside the line from S to E is no mixture of the two and no part of this edge. And
        // it cannot hold more of S than its own components allow, or painting over it would leave negative colour.
        double most = share;
        double beside = 0;
        for (int c = 0; c < channels_; ++c) {
            const int own = ComponentOf(i, c);
            beside += std::abs(own - (share * seed_[c] + (1 - share) * ComponentOf(peak, c)));
            if (seed_[c] > 0)
                most = std::min(most, static_cast<double>(own) / seed_[c]);
        }
        return beside <= kMaxDeviation * distance_[peak] ? static_cast<uint8_t>(most * 255 + 0.5) : uint8_t{0};
    }

    std::unique_ptr<Coverage> TakeCoverage()
    {
        std::unique_ptr<Coverage> coverage;
        for (const int i : band_) {
            const int x = i % kSide - kHalo, y = i / kSide - kHalo;
            if (x < 0 || y < 0 || x >= kPageSize || y >= kPageSize)
                continue;
            const uint8_t share = ShareOf(i);
            if (share == 0)
                continue;
            if (!coverage) {
                coverage = std::make_unique<Coverage>();
                for (int row = 0; row < kPageSize; ++row)
                    std::memcpy(coverage->data() + row * kPageSize, covered_ + (row + kHalo) * kSide + kHalo,
                                kPageSize);
            }
            (*coverage)[static_cast<size_t>(y * kPageSize + x)] = share;
        }
        return coverage;
    }

    static constexpr uint8_t kFree = 254;  // outside the region and not of the band
    static constexpr uint8_t kNoDepth = 255;  // not to be covered: outside the area or at the rim of the window
    static constexpr double kMaxDeviation = 0.25;  // of a mixture, in parts of the distance of its colours

    const FloodRegion& region_;
    const ilMIOImage& source_;
    ilTile area_;
    int channels_;
    int seed_[4] = {};
    ilTile window_;
    qs::vector<int> band_;  // places in the window, in the order of their depths
    uint8_t covered_[kWindowPixels];
    uint8_t beside_[kWindowPixels] = {};  // a pixel of the region lies here, to the left or to the right
    uint8_t depth_[kWindowPixels];  // pixels from the region along a ramp; 0 within it
    uint8_t pixels_[kWindowPixels * 4];
    int distance_[kWindowPixels];
    int peak_[kWindowPixels];
};

}  // namespace

void AddSoftEdge(FloodRegion& region, CachedSmartImage& source, const ilPixel& seed, const ilTile& area)
{
    qs::set<std::pair<int, int>> pages;  // that the region does not fill whole and reaches, or may grow into
    region.ForEachPage([&](int px, int py, Cover) {
        for (int y = py - 1; y <= py + 1; ++y)
            for (int x = px - 1; x <= px + 1; ++x)
                if (region.GetPageCover(x, y) != Cover::All)
                    pages.emplace(x, y);
    });
    const auto edge = std::make_unique<PageEdge>(region, source, seed, area);
    qs::vector<std::pair<std::pair<int, int>, std::unique_ptr<Coverage>>> found;
    for (const auto& [px, py] : pages)
        if (std::unique_ptr<Coverage> coverage = edge->Find(px, py))
            found.emplace_back(std::pair(px, py), std::move(coverage));
    for (auto& [page, coverage] : found)
        region.SetPageCoverage(page.first, page.second, std::move(coverage));
}
