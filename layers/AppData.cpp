#include "layers/AppData.h"

const AppData::Map& AppData::GetMap() const
{
    static const Map none;
    return strings_ ? *strings_ : none;
}

bool AppData::operator==(const AppData& other) const
{
    return strings_ == other.strings_ || GetMap() == other.GetMap();
}

qsString::CString AppData::Get(const qsString::CString& key) const
{
    const auto found = GetMap().find(key);
    return found != GetMap().end() ? found->second : qsString::CString();
}

void AppData::Set(const qsString::CString& key, const qsString::CString& value)
{
    if (!strings_ || strings_.use_count() > 1)
        strings_ = std::make_shared<Map>(GetMap());
    (*strings_)[key] = value;
}

void AppData::TakeChanges(const AppData& base, const AppData& now)
{
    if (base == now)
        return;
    for (const auto& [key, value] : now.GetMap())
        if (base.Get(key) != value)
            Set(key, value);
    for (const auto& [key, value] : base.GetMap())
        if (!now.GetMap().contains(key))
            Set(key, {});
}
