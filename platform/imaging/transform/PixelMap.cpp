#include "platform/imaging/transform/PixelMap.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

/// Rounds a distance to the units of sampling; whatever is too far away, or no number, to the end of the range.
int32_t ToUnits(double distance, double farthest)
{
    if (!(distance > -farthest))
        distance = -farthest;
    return static_cast<int32_t>(std::floor(std::min(distance, farthest) * kernels::kSampleUnit + 0.5));
}

template <class Map>
void MapPoints(const Map& map, double farthest, double x, double y, int count, int originX, int originY,
               int32_t* sourceX, int32_t* sourceY)
{
    for (int i = 0; i < count; ++i) {
        double u = 0;
        double v = 0;
        map.MapPoint(x + i, y, u, v);
        sourceX[i] = ToUnits(u - originX, farthest);
        sourceY[i] = ToUnits(v - originY, farthest);
    }
}

}  // namespace

void AffinePixelMap::MapPoint(double x, double y, double& sourceX, double& sourceY) const
{
    sourceX = x;
    sourceY = y;
    matrix_.MapPoint(sourceX, sourceY);
}

void AffinePixelMap::MapRow(double x, double y, int count, int originX, int originY, int32_t* sourceX,
                            int32_t* sourceY) const
{
    double u = 0;
    double v = 0;
    MapPoint(x, y, u, v);
    u -= originX;
    v -= originY;
    const double lastU = u + matrix_.a * count;
    const double lastV = v + matrix_.b * count;
    const auto isNear = [](double distance) { return std::fabs(distance) < kFarthest; };
    if (!isNear(u) || !isNear(v) || !isNear(lastU) || !isNear(lastV)) {
        MapPoints(*this, kFarthest, x, y, count, originX, originY, sourceX, sourceY);
        return;
    }
    // In steps of 2^-32 pixel, of which none is lost on the way along a row.
    constexpr double kUnit = 4294967296.0;
    constexpr int kShift = 32 - kernels::kSampleShift;
    const auto fill = [count](double start, double step, int32_t* positions) {
        int64_t at = std::llround(start * kUnit) + (int64_t{1} << (kShift - 1));
        const int64_t by = std::llround(step * kUnit);
        for (int i = 0; i < count; ++i, at += by)
            positions[i] = static_cast<int32_t>(at >> kShift);
    };
    fill(u, matrix_.a, sourceX);
    fill(v, matrix_.b, sourceY);
}

/// P. Heckbert, "Fundamentals of Texture Mapping and Image Warping" (1989), section 2.2.3: the unit square to a
/// quadrilateral; the adjoint leads back.
PerspectivePixelMap::PerspectivePixelMap(const ilTile& from, const Rect8f& to)
{
    const auto [x0, x1, x2, x3] = std::array<double, 4>{to.x[0], to.x[1], to.x[2], to.x[3]};
    const auto [y0, y1, y2, y3] = std::array<double, 4>{to.y[0], to.y[1], to.y[2], to.y[3]};
    const double sumX = x0 - x1 + x2 - x3;
    const double sumY = y0 - y1 + y2 - y3;
    const double dx1 = x1 - x2, dx2 = x3 - x2;
    const double dy1 = y1 - y2, dy2 = y3 - y2;
    const double determinant = dx1 * dy2 - dx2 * dy1;
    const double g = (sumX * dy2 - dx2 * sumY) / determinant;
    const double h = (dx1 * sumY - sumX * dy1) / determinant;
    const double a = x1 - x0 + g * x1, b = x3 - x0 + h * x3, c = x0;
    const double d = y1 - y0 + g * y1, e = y3 - y0 + h * y3, f = y0;
    const double adjoint[3][3] = {
        {e - f * h, c * h - b, b * f - c * e},
        {f * g - d, a - c * g, c * d - a * f},
        {d * h - e * g, b * g - a * h, a * e - b * d},
    };
    // The unit square grows to the rectangle. Inside the quadrilateral the last row is to be above zero.
    const double sign = a * e - b * d < 0 ? -1 : 1;
    for (int i = 0; i < 3; ++i) {
        m_[2][i] = sign * adjoint[2][i];
        m_[0][i] = sign * adjoint[0][i] * from.nx + m_[2][i] * from.x;
        m_[1][i] = sign * adjoint[1][i] * from.ny + m_[2][i] * from.y;
    }
    const double middle = m_[2][0] * (x0 + x2) / 2 + m_[2][1] * (y0 + y2) / 2 + m_[2][2];
    if (middle < 0)
        for (auto& row : m_)
            for (double& element : row)
                element = -element;
}

void PerspectivePixelMap::MapPoint(double x, double y, double& sourceX, double& sourceY) const
{
    // At the horizon and behind it: far away on the side that the numerators tell.
    const double depth = m_[2][0] * x + m_[2][1] * y + m_[2][2];
    const double size = std::fabs(m_[2][0] * x) + std::fabs(m_[2][1] * y) + std::fabs(m_[2][2]);
    const double divisor = std::max(depth, size * 1e-9);
    sourceX = (m_[0][0] * x + m_[0][1] * y + m_[0][2]) / divisor;
    sourceY = (m_[1][0] * x + m_[1][1] * y + m_[1][2]) / divisor;
}

void PerspectivePixelMap::MapRow(double x, double y, int count, int originX, int originY, int32_t* sourceX,
                                 int32_t* sourceY) const
{
    MapPoints(*this, kFarthest, x, y, count, originX, originY, sourceX, sourceY);
}

BilinearPixelMap::BilinearPixelMap(const ilTile& from, const Rect8f& to)
    : from_(from), px_(to.x[0]), py_(to.y[0]), ux_(double{to.x[1]} - to.x[0]), uy_(double{to.y[1]} - to.y[0]),
      vx_(double{to.x[3]} - to.x[0]), vy_(double{to.y[3]} - to.y[0]),
      wx_(double{to.x[0]} - to.x[1] + to.x[2] - to.x[3]), wy_(double{to.y[0]} - to.y[1] + to.y[2] - to.y[3])
{}

void BilinearPixelMap::MapPoint(double x, double y, double& sourceX, double& sourceY) const
{
    // Crossing the point with the line of constant t leaves a quadratic equation: a·t² + b·t + c = 0.
    const double dx = x - px_;
    const double dy = y - py_;
    const double a = vx_ * wy_ - vy_ * wx_;
    const double b = vx_ * uy_ - vy_ * ux_ - (dx * wy_ - dy * wx_);
    const double c = -(dx * uy_ - dy * ux_);
    const double middle = vx_ * uy_ - vy_ * ux_;
    const double root = std::sqrt(std::max(0.0, b * b - 4 * a * c));
    // The stable form of the root that is the linear equation's where a is 0. The sign of b at the first corner tells
    // which of the two solutions lies within the quadrilateral.
    const double q = middle < 0 ? b - root : b + root;
    double t = q != 0 ? -2 * c / q : 0.5;
    if (b * b - 4 * a * c < 0)
        t = -kFarthest;  // the point lies beyond the fold of the map
    const double alongX = ux_ + t * wx_;
    const double alongY = uy_ + t * wy_;
    const double length = alongX * alongX + alongY * alongY;
    const double s = length > 0 ? ((dx - t * vx_) * alongX + (dy - t * vy_) * alongY) / length : -kFarthest;
    sourceX = from_.x + s * from_.nx;
    sourceY = from_.y + t * from_.ny;
}

void BilinearPixelMap::MapRow(double x, double y, int count, int originX, int originY, int32_t* sourceX,
                              int32_t* sourceY) const
{
    MapPoints(*this, kFarthest, x, y, count, originX, originY, sourceX, sourceY);
}
