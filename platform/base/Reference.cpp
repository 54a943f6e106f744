#include "platform/base/Reference.h"

namespace qs {

void ReferenceCount::Destroy() const noexcept
{
    // References that the destructor itself takes and drops must not delete a second time.
    constexpr int kBeingDeleted = 1 << 30;
    count_ = kBeingDeleted;
    delete this;
}

}  // namespace qs
