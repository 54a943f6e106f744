#include "platform/imaging/stamps/StampForm.h"

#include <cmath>
#include <numbers>

namespace {

double Quantised(double value)
{
    constexpr double kOne = 4294967296.0;
    return static_cast<double>(std::llround(value * kOne)) / kOne;
}

}  // namespace

StampDirection::StampDirection(int rotation)
{
    constexpr int kQuarter = StampForm::kRotationSteps / 4;
    const double angle = (rotation % kQuarter) * (std::numbers::pi / 2 / kQuarter);
    const double c = Quantised(std::cos(angle));
    const double s = Quantised(std::sin(angle));
    switch (rotation / kQuarter % 4) {
    case 0:
        cosine = c;
        sine = s;
        break;
    case 1:
        cosine = -s;
        sine = c;
        break;
    case 2:
        cosine = -c;
        sine = -s;
        break;
    default:
        cosine = s;
        sine = -c;
        break;
    }
}

StampEllipse::StampEllipse(const StampForm& form)
{
    const double alongScale = 1 / (form.along * form.along);
    const double acrossScale = 1 / (form.across * form.across);
    determinant = alongScale * acrossScale;
    if (form.along == form.across) {
        xx = yy = alongScale;
        xy = 0;
        reachX = reachY = form.along;
        byXx_ = form.along * form.along;
        middleByY_ = 0;
        determinantByXxXx_ = 1;
        return;
    }
    const StampDirection direction(form.rotation);
    const double cc = direction.cosine * direction.cosine;
    const double ss = direction.sine * direction.sine;
    xx = cc * alongScale + ss * acrossScale;
    yy = ss * alongScale + cc * acrossScale;
    xy = direction.cosine * direction.sine * (alongScale - acrossScale);
    const double alongSquared = form.along * form.along;
    const double acrossSquared = form.across * form.across;
    reachX = std::sqrt(cc * alongSquared + ss * acrossSquared);
    reachY = std::sqrt(ss * alongSquared + cc * acrossSquared);
    byXx_ = 1 / xx;
    middleByY_ = -xy / xx;
    determinantByXxXx_ = determinant / (xx * xx);
}
