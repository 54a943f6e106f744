// The kernels as other machines compile them, as one more table to test.
#define PAINTLAYER_KERNEL_NAMESPACE portable
#define PAINTLAYER_PORTABLE_KERNELS

#include "platform/imaging/kernels/BlendModeKernels.cpp"
#include "platform/imaging/kernels/CurveBlendModeKernels.cpp"
#include "platform/imaging/kernels/EraseKernels.cpp"
#include "platform/imaging/kernels/FactorKernels.cpp"
#include "platform/imaging/kernels/HueBlendModeKernels.cpp"
#include "platform/imaging/kernels/OverKernels.cpp"
#include "platform/imaging/kernels/PixelKernels.cpp"
#include "platform/imaging/kernels/StampKernels.cpp"
#include "platform/imaging/kernels/TableKernels.cpp"

#include "tests/imaging/KernelTables.h"

std::vector<const kernels::KernelTable*> AllKernelTables()
{
    std::vector<const kernels::KernelTable*> tables;
    for (const kernels::KernelTable* const* table = kernels::GetAll(); *table != nullptr; ++table)
        tables.push_back(*table);
    tables.push_back(&kernels::portable::kTable);
    return tables;
}
