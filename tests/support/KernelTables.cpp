#include "tests/support/KernelTables.h"

namespace kernels::portable {
extern const KernelTable kTable;  // PortableKernels.cpp
}

std::vector<const kernels::KernelTable*> AllKernelTables()
{
    std::vector<const kernels::KernelTable*> tables;
    for (const kernels::KernelTable* const* table = kernels::GetAll(); *table != nullptr; ++table)
        tables.push_back(*table);
    tables.push_back(&kernels::portable::kTable);
    return tables;
}

GuardedBytes::GuardedBytes(const std::vector<uint8_t>& bytes) : all_(bytes.size() + 2 * kGuard, kGuardByte)
{
    std::copy(bytes.begin(), bytes.end(), all_.begin() + kGuard);
}
