#include "platform/imaging/kernels/Kernels.h"

#include <cstdlib>
#include <cstring>

namespace kernels {

namespace baseline {
extern const KernelTable kTable;
}
#if defined(PAINTLAYER_X86_KERNELS)
namespace avx2 {
extern const KernelTable kTable;
}
namespace avx512 {
extern const KernelTable kTable;
}
#endif

namespace {

/// The variants that run here, slowest first, and the one in use.
class Selection {
public:
    Selection()
    {
        Offer(&baseline::kTable);
#if defined(PAINTLAYER_X86_KERNELS)
        __builtin_cpu_init();
        if (__builtin_cpu_supports("avx2"))
            Offer(&avx2::kTable);
        if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
            __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq"))
            Offer(&avx512::kTable);
#endif
        chosen_ = Named(std::getenv("PAINTLAYER_KERNELS"));
        inUse_ = chosen_;
    }

    const KernelTable& GetInUse() const
    {
        return *inUse_;
    }
    const KernelTable* const* GetAll() const
    {
        return tables_;
    }
    void Use(const KernelTable* table)
    {
        inUse_ = table != nullptr ? table : chosen_;
    }

private:
    void Offer(const KernelTable* table)
    {
        tables_[size_++] = table;
    }

    const KernelTable* Named(const char* name) const
    {
        for (int i = 0; name != nullptr && i < size_; ++i) {
            if (std::strcmp(tables_[i]->name, name) == 0)
                return tables_[i];
        }
        return tables_[size_ - 1];
    }

    const KernelTable* tables_[4] = {};  // null-terminated
    int size_ = 0;
    const KernelTable* chosen_ = nullptr;
    const KernelTable* inUse_ = nullptr;
};

// Made by the first call, so that start-up code of other files may already blend.
Selection& TheSelection()
{
    static Selection selection;
    return selection;
}

}  // namespace

const KernelTable& Get()
{
    return TheSelection().GetInUse();
}

const KernelTable* const* GetAll()
{
    return TheSelection().GetAll();
}

void Use(const KernelTable* table)
{
    TheSelection().Use(table);
}

}  // namespace kernels
