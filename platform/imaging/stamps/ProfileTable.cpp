#include "platform/imaging/stamps/ProfileTable.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace {

constexpr size_t kMaxSlots = 32;
constexpr int kMinSizeBits = 10;
constexpr int kMinFineSizeBits = 12;  // fine samples have no core table
constexpr int kMaxSizeBits = 13;

/// Filters narrower than this part of the profile's own fall change nothing that is seen.
constexpr double kWidestCountingFilter = 1.0 / 64;

/// The integral of a profile, as if it went on to the other side of the centre.
class ProfileIntegral {
public:
    explicit ProfileIntegral(const LinearProfile& profile)
        : samples_(profile.GetSamples()), steps_(static_cast<double>(samples_.size() - 1)), sums_(samples_.size())
    {
        for (size_t i = 1; i < samples_.size(); ++i)
            sums_[i] = sums_[i - 1] + (static_cast<double>(samples_[i - 1]) + samples_[i]) / 2;
    }

    /// From the centre to t radii.
    double At(double t) const
    {
        if (t < 0)
            return -At(-t);
        const double position = t * steps_;
        const auto index = static_cast<size_t>(std::min(position, steps_));
        if (index + 1 >= samples_.size())
            return sums_.back() / steps_;
        const double fraction = position - static_cast<double>(index);
        const double first = samples_[index];
        return (sums_[index] + fraction * (first + (samples_[index + 1] - first) * fraction / 2)) / steps_;
    }

    double Average(double t, double width) const { return (At(t + width / 2) - At(t - width / 2)) / width; }

private:
    const qs::vector<float>& samples_;
    double steps_;
    qs::vector<double> sums_;
};

int ChooseSizeBits(const LinearProfile& profile, double width, bool isFine)
{
    // At the rim an entry spans half of its share of the radius: this keeps neighbours within half a level.
    const double slope = std::min<double>(profile.GetSteepness(), 1 / width);
    const auto wanted = static_cast<int>(std::bit_width(static_cast<unsigned>(std::min(255 * slope, 1e6))));
    return std::clamp(wanted, isFine ? kMinFineSizeBits : kMinSizeBits, kMaxSizeBits);
}

void FillEntries(qs::vector<uint16_t>& entries, int sizeBits, const ProfileIntegral& integral, double reach,
                 double width, double full)
{
    const size_t size = size_t{1} << sizeBits;
    entries.assign(size + 1, 0);
    for (size_t i = 0; i < size; ++i) {
        const double t = std::sqrt((static_cast<double>(i) + 0.5) / static_cast<double>(size)) * reach;
        entries[i] = static_cast<uint16_t>(std::clamp(integral.Average(t, width), 0.0, 1.0) * full + 0.5);
    }
}

/// width: of a sample, in radii.
std::unique_ptr<const ProfileTable> MakeTable(const LinearProfile& profile, double width, bool isFine)
{
    auto table = std::make_unique<ProfileTable>();
    const ProfileIntegral integral(profile);
    const double full = isFine ? 255 << ProfileTable::kFineScaleBits : 255;
    table->sizeBits = ChooseSizeBits(profile, width, isFine);
    table->reach = 1 + width / 2;
    FillEntries(table->entries, table->sizeBits, integral, table->reach, width, full);
    if (!isFine) {
        FillEntries(table->core, table->sizeBits, integral, table->reach / (1 << (ProfileTable::kCoreShift / 2)), width,
                    full);
        table->core.back() = *(table->core.end() - 2);  // beyond the core the profile goes on
    }

    const auto notFull = std::find_if(table->entries.begin(), table->entries.end(),
                                      [full](uint16_t entry) { return entry != static_cast<uint16_t>(full); });
    const auto flatEntries = static_cast<double>(notFull - table->entries.begin());
    table->flatRadius = std::sqrt(flatEntries / static_cast<double>(table->entries.size() - 1)) * table->reach;
    return table;
}

}  // namespace

const ProfileTable& ProfileTableCache::Get(const LinearProfile& profile, double samples, bool isFine)
{
    // The width of the filter is rounded to an eighth of its octave: three bits of the fraction of a float.
    constexpr int kDroppedBits = 20;
    const double widestRadius = std::max(profile.GetSteepness(), 1.0F) / kWidestCountingFilter;
    const auto counting = static_cast<float>(std::min(samples, widestRadius));
    const uint32_t width = (std::bit_cast<uint32_t>(counting) + (1U << (kDroppedBits - 1))) >> kDroppedBits;
    const auto fits = [&](const Slot& slot) {
        return slot.identity == profile.GetIdentity() && slot.width == width && slot.isFine == isFine;
    };

    if (recent_ >= slots_.size() || !fits(slots_[recent_])) {
        const auto found = std::find_if(slots_.begin(), slots_.end(), fits);
        recent_ = static_cast<size_t>(found - slots_.begin());
        if (found == slots_.end()) {
            auto table =
                MakeTable(profile, 1 / static_cast<double>(std::bit_cast<float>(width << kDroppedBits)), isFine);
            if (slots_.size() < kMaxSlots) {
                slots_.emplace_back();
            } else {
                const auto oldest = std::min_element(
                    slots_.begin(), slots_.end(), [](const Slot& a, const Slot& b) { return a.lastUse < b.lastUse; });
                recent_ = static_cast<size_t>(oldest - slots_.begin());
            }
            slots_[recent_] = {profile.GetIdentity(), width, isFine, 0, std::move(table)};
        }
    }
    slots_[recent_].lastUse = ++uses_;
    return *slots_[recent_].table;
}
