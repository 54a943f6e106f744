#include "platform/base/IdList.h"

#include <algorithm>

IdList::IdList(const char* id)
{
    SetID(id);
}

IdList::~IdList() = default;

void IdList::SetID(const char* id)
{
    if (id != nullptr && !CheckID(id))
        ids_.emplace_back(id);
}

bool IdList::CheckID(const char* id) const
{
    if (id == nullptr)
        return false;
    return std::any_of(ids_.begin(), ids_.end(), [id](const qsString::CString& own) { return own.view() == id; });
}

const char* IdList::GetID(int index) const
{
    if (index < 0 || index >= GetNumIDs())
        return nullptr;
    return ids_[static_cast<std::size_t>(index)].c_str();
}

int IdList::GetNumIDs() const
{
    return static_cast<int>(ids_.size());
}
