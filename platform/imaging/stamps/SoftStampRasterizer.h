#pragma once

#include "platform/imaging/stamps/BrushProfile.h"
#include "platform/imaging/stamps/ProfileTable.h"
#include "platform/imaging/stamps/StampCoverage.h"
#include "platform/imaging/stamps/StampForm.h"

/// Makes the coverage of soft stamps, round or elliptical. The squared distance from the centre, in radii, is a
/// quadratic form of the place; along a row it follows from two additions of integers, and its upper bits look up the
/// coverage in a table of the profile. Small stamps and steep falls get several samples a pixel.
class SoftStampRasterizer {
public:
    qs::Reference<StampCoverage> Make(const LinearProfile& profile, const StampForm& form);

private:
    /// Pixels [first, last) of a row.
    struct Columns {
        int first = 0;
        int last = 0;

        bool IsEmpty() const { return first >= last; }
    };

    /// Samples lie on a grid of 1/32 pixel. All sums are modulo 2^64; only results within the table are looked up.
    struct Form64 {
        uint64_t xx, xy, yy;  // xx·X² + xy·X·Y + yy·Y²

        Form64(const StampEllipse& ellipse, double reach);
    };

    struct Job {
        StampEllipse ellipse;
        StampForm form;
        int sampleBits;
        double gentleLevel;  // squared radii within which one sample a pixel is taken, coverage is full ...
        double flatLevel;
        double outerLevel;  // ... and is above 0; all are of pixel centres
    };

    static Columns FindColumns(const Job& job, double y, double level);
    static Columns Common(const Columns& a, const Columns& b);
    void WriteRow(const Job& job, int y, uint8_t* row, int left, int width);
    void WriteSingleSamples(const Job& job, int y, uint8_t* row, Columns columns) const;
    void WriteManySamples(const Job& job, int y, uint8_t* row, Columns columns);

    ProfileTableCache tables_;
    const ProfileTable* rim_ = nullptr;  // of the samples at the rim; the same as inner_ where one a pixel is enough
    const ProfileTable* inner_ = nullptr;
    Form64 rimForm_{StampEllipse(StampForm{}), 1};
    Form64 innerForm_{StampEllipse(StampForm{}), 1};
    qs::vector<uint32_t> sums_;
};
