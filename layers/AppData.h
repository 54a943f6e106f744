#pragma once

#include "platform/base/CString.h"
#include "platform/base/Containers.h"
#include "platform/base/Export.h"

#include <memory>

/// Strings that a host keeps with a layer, by keys. Copies share them until one of the copies is changed.
class PAINTLAYER_EXPORT AppData {
public:
    using Map = qs::map<qsString::CString, qsString::CString>;

    /// Empty for an unknown key.
    qsString::CString Get(const qsString::CString& key) const;
    void Set(const qsString::CString& key, const qsString::CString& value);

    /// Takes over what `now` has otherwise than `base`, key by key.
    void TakeChanges(const AppData& base, const AppData& now);

    bool operator==(const AppData& other) const;

private:
    const Map& GetMap() const;

    std::shared_ptr<Map> strings_;  // null: none; written only while no copy has them too
};
