#include "platform/imaging/pages/PageAccount.h"

bool PageAccount::IsLast(const void* object, uint32_t references)
{
    return references <= 1 || ++dropped_[object] == references;
}

bool PageAccount::Drop(const qs::ReferenceCount* object)
{
    return object != nullptr && IsLast(object, static_cast<uint32_t>(object->GetRefCount()));
}

void PageAccount::DropImage(const ilMIOImage* image)
{
    if (!Drop(image) || !Drop(image->GetDirectory()))
        return;
    for (const PageDirectory::Slot& slot : image->GetDirectory()->GetSlots()) {
        if (!Drop(slot.block.get()))
            continue;
        for (const PagePtr& page : slot.block->pages)
            if (page)
                DropPage(*page.get());
    }
}

void PageAccount::DropPage(const Page& page)
{
    if (!page.IsUniform() && IsLast(&page, page.GetRefCount()))
        AddBytes(static_cast<int64_t>(page.GetByteCount()));
}
