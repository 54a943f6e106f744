#pragma once

#include "platform/base/AffineMatrix.h"
#include "platform/imaging/kernels/Kernels.h"
#include "platform/imaging/pages/ilTile.h"
#include "platform/imaging/transform/Rect8f.h"

#include <cstdint>

/// Where the pixels of a result come from: a map from points of the result to points of the source.
class PixelMap {
public:
    virtual ~PixelMap() = default;

    virtual void MapPoint(double x, double y, double& sourceX, double& sourceY) const = 0;

    /// Maps `count` points from (x, y) on, one pixel apart, to positions relative to (originX, originY) in units of
    /// 1/1024 pixel, kept within 2^20 pixels of it.
    virtual void MapRow(double x, double y, int count, int originX, int originY, int32_t* sourceX,
                        int32_t* sourceY) const = 0;

protected:
    PixelMap() = default;
    PixelMap(const PixelMap&) = default;
    PixelMap& operator=(const PixelMap&) = default;

    static constexpr double kFarthest = 1 << 20;  // pixels
};

class AffinePixelMap final : public PixelMap {
public:
    /// toSource: of finite, not too large numbers.
    explicit AffinePixelMap(const qsLinear::AffineMatrix& toSource) : matrix_(toSource) {}

    void MapPoint(double x, double y, double& sourceX, double& sourceY) const override;
    void MapRow(double x, double y, int count, int originX, int originY, int32_t* sourceX,
                int32_t* sourceY) const override;

private:
    qsLinear::AffineMatrix matrix_;
};

/// From a convex quadrilateral to a rectangle, as a plane is seen in perspective.
class PerspectivePixelMap final : public PixelMap {
public:
    PerspectivePixelMap(const ilTile& from, const Rect8f& to);

    void MapPoint(double x, double y, double& sourceX, double& sourceY) const override;
    void MapRow(double x, double y, int count, int originX, int originY, int32_t* sourceX,
                int32_t* sourceY) const override;

private:
    double m_[3][3];  // homogeneous, from the result to the source
};

/// From a convex quadrilateral to a rectangle; straight lines between points at equal parts of opposite sides stay
/// straight and evenly divided.
class BilinearPixelMap final : public PixelMap {
public:
    BilinearPixelMap(const ilTile& from, const Rect8f& to);

    void MapPoint(double x, double y, double& sourceX, double& sourceY) const override;
    void MapRow(double x, double y, int count, int originX, int originY, int32_t* sourceX,
                int32_t* sourceY) const override;

private:
    ilTile from_;
    // A point of the quadrilateral is p + s·u + t·v + s·t·w.
    double px_, py_, ux_, uy_, vx_, vy_, wx_, wy_;
};
