// The kernels as other machines compile them, as one more table to test.
#define PAINTLAYER_KERNEL_NAMESPACE portable
#define PAINTLAYER_PORTABLE_KERNELS

#include "platform/imaging/kernels/BlendModeKernels.cpp"
#include "platform/imaging/kernels/ColorKernels.cpp"
#include "platform/imaging/kernels/CurveBlendModeKernels.cpp"
#include "platform/imaging/kernels/EraseKernels.cpp"
#include "platform/imaging/kernels/FactorKernels.cpp"
#include "platform/imaging/kernels/FineKernels.cpp"
#include "platform/imaging/kernels/HueBlendModeKernels.cpp"
#include "platform/imaging/kernels/MatchKernels.cpp"
#include "platform/imaging/kernels/OverKernels.cpp"
#include "platform/imaging/kernels/PixelKernels.cpp"
#include "platform/imaging/kernels/ResampleKernels.cpp"
#include "platform/imaging/kernels/StampKernels.cpp"
#include "platform/imaging/kernels/TableKernels.cpp"
