#include "platform/imaging/blend/ScaledReader.h"

#include <algorithm>
#include <cmath>

ScaledReader::ScaledReader(const ilImage& source, double sourceX, double sourceY, double xScale, double yScale)
    : source_(source), bounds_(source.GetBounds()), sourceX_(sourceX), sourceY_(sourceY), xScale_(xScale),
      yScale_(yScale)
{}

/// Taps of `count` target pixels from `first`; source pixels outside [low, high) read as the image's fill value and
/// are left out, so that their number stays bounded whatever the scale.
void ScaledReader::MakeTaps(Taps& taps, int first, int count, double origin, double scale, int low, int high)
{
    taps.list.clear();
    taps.begin.clear();
    const double step = 1.0 / scale;
    for (int i = 0; i < count; ++i) {
        taps.begin.push_back(taps.list.size());
        if (scale < 1.0) {
            const double from = origin + (double{1} * first + i) * step;
            const double to = from + step;
            const double lowest = std::max(std::floor(from), double(low));
            const double highest = std::min(std::ceil(to), double(high));
            for (double s = lowest; s < highest; ++s) {
                const double share = std::min(to, s + 1) - std::max(from, s);
                if (share > 0)
                    taps.list.push_back({static_cast<int>(s), static_cast<float>(share * scale)});
            }
        } else {
            const double centre = origin + (double{1} * first + i + 0.5) * step - 0.5;
            const double left = std::floor(centre);
            const double fraction = centre - left;
            if (left >= low && left < high)
                taps.list.push_back({static_cast<int>(left), static_cast<float>(1 - fraction)});
            if (left + 1 >= low && left + 1 < high && fraction > 0)
                taps.list.push_back({static_cast<int>(left + 1), static_cast<float>(fraction)});
        }
    }
    taps.begin.push_back(taps.list.size());
}

void ScaledReader::AccumulateRow(int sourceY, float weight, int count)
{
    if (across_.list.empty())
        return;
    const int channels = source_.GetNumChannels();
    const int left = across_.list.front().source;
    const int right = across_.list.back().source + 1;
    row_.resize(static_cast<size_t>(right - left) * static_cast<size_t>(channels));
    source_.ReadTile({left, sourceY, right - left, 1}, row_.data(), 0);
    for (int x = 0; x < count; ++x) {
        float* sum = &sums_[static_cast<size_t>(x) * 4];
        for (size_t t = across_.begin[static_cast<size_t>(x)]; t < across_.begin[static_cast<size_t>(x) + 1]; ++t) {
            const Tap& tap = across_.list[t];
            const uint8_t* pixel = &row_[static_cast<size_t>(tap.source - left) * static_cast<size_t>(channels)];
            for (int c = 0; c < channels; ++c)
                sum[c] += weight * tap.weight * static_cast<float>(pixel[c]);
        }
    }
}

void ScaledReader::Read(const ilTile& part, uint8_t* rows, ptrdiff_t strideBytes)
{
    const int channels = source_.GetNumChannels();
    const ilPixel fill = source_.GetFillValue();
    MakeTaps(across_, part.x, part.nx, sourceX_, xScale_, bounds_.x, static_cast<int>(bounds_.Right()));
    MakeTaps(down_, part.y, part.ny, sourceY_, yScale_, bounds_.y, static_cast<int>(bounds_.Bottom()));
    const auto weightOf = [](const Taps& taps, int i) {
        float sum = 0;
        for (size_t t = taps.begin[static_cast<size_t>(i)]; t < taps.begin[static_cast<size_t>(i) + 1]; ++t)
            sum += taps.list[t].weight;
        return sum;
    };
    for (int y = 0; y < part.ny; ++y, rows += strideBytes) {
        sums_.assign(static_cast<size_t>(part.nx) * 4, 0.0F);
        for (size_t t = down_.begin[static_cast<size_t>(y)]; t < down_.begin[static_cast<size_t>(y) + 1]; ++t)
            AccumulateRow(down_.list[t].source, down_.list[t].weight, part.nx);
        const float rowWeight = weightOf(down_, y);
        for (int x = 0; x < part.nx; ++x) {
            const float missing = 1 - rowWeight * weightOf(across_, x);  // the share outside: fill value
            for (int c = 0; c < channels; ++c) {
                const float value = sums_[static_cast<size_t>(x) * 4 + static_cast<size_t>(c)] +
                                    missing * static_cast<float>(fill.GetComponent(c));
                rows[x * channels + c] = static_cast<uint8_t>(std::clamp(value + 0.5F, 0.0F, 255.0F));
            }
        }
    }
}
