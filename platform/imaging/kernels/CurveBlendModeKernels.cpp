#include "platform/imaging/kernels/PlanarPixels.h"
#include "platform/imaging/kernels/VariantKernels.h"

/// The separable blend modes that divide by the source or need a root: dodge, burn and soft light.
namespace kernels::PAINTLAYER_KERNEL_NAMESPACE {

namespace {

/// co = S·(1 - ab) + D·(1 - as) + as·ab·B in every colour, where backdropTimes(S, sa, D, ab) is ab·B in levels, of the
/// bytes as they are: B does not depend on the weight.
template <typename Term>
PAINTLAYER_KERNEL_INLINE void BlendCurve(uint8_t* dst, const uint8_t* src, Weight weight, int count, Term backdropTimes)
{
    const float w = static_cast<float>(weight) / kFullWeight;
    ForPlanarBlocks(dst, src, count, [=](const PlanarPixels& s, PlanarPixels& d) {
        for (int c = 0; c < 3; ++c) {
            for (int i = 0; i < kPlanarPixels; ++i) {
                const float sa = s.plane[3][i], da = d.plane[3][i];
                const float S = s.plane[c][i], D = d.plane[c][i];
                const float as = sa * w * kPerLevel;
                d.plane[c][i] = S * w * (1.0F - da * kPerLevel) + D * (1.0F - as) + as * backdropTimes(S, sa, D, da);
            }
        }
        BlendPlanarAlpha(s, w, d);
    });
}

/// B of soft light for straight colours 0 to 1.
PAINTLAYER_KERNEL_INLINE float SoftLight(float cb, float cs)
{
    const float darker = cb - (1.0F - 2.0F * cs) * cb * (1.0F - cb);
    const float curve = cb <= 0.25F ? ((16.0F * cb - 12.0F) * cb + 4.0F) * cb : __builtin_sqrtf(cb);
    const float lighter = cb + (2.0F * cs - 1.0F) * (curve - cb);
    return cs <= 0.5F ? darker : lighter;
}

}  // namespace

void BlendColorDodge(uint8_t* dst, const uint8_t* src, Weight weight, int count)
{
    // B is 0 for a black backdrop, else min(1, cb / (1 - cs)), which is 1 for a white source.
    BlendCurve(dst, src, weight, count, [](float S, float sa, float D, float da) {
        const float quotient = D * sa / LargerOf(sa - S, 1.0F);
        const float capped = S < sa ? SmallerOf(quotient, da) : da;
        return D > 0.0F ? capped : 0.0F;
    });
}

void BlendColorBurn(uint8_t* dst, const uint8_t* src, Weight weight, int count)
{
    // B is 1 for a white backdrop, else 1 - min(1, (1 - cb) / cs), which is 0 for a black source.
    BlendCurve(dst, src, weight, count, [](float S, float sa, float D, float da) {
        const float quotient = (da - D) * sa / LargerOf(S, 1.0F);
        const float left = S > 0.0F ? da - SmallerOf(quotient, da) : 0.0F;
        return D < da ? left : da;
    });
}

void BlendSoftLight(uint8_t* dst, const uint8_t* src, Weight weight, int count)
{
    BlendCurve(dst, src, weight, count, [](float S, float sa, float D, float da) {
        return da * SoftLight(D / LargerOf(da, 1.0F), S / LargerOf(sa, 1.0F));
    });
}

}  // namespace kernels::PAINTLAYER_KERNEL_NAMESPACE
