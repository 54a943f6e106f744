#pragma once

#include "platform/base/CString.h"
#include "platform/base/Containers.h"
#include "platform/base/Export.h"

/// The type ids of an object, by which its kind is asked for without a cast. The first one is the primary id, the
/// object's own kind; each class along the chain adds its name. An id stands in the list once.
class PAINTLAYER_EXPORT IdList {
public:
    /// A null id leaves the list empty.
    explicit IdList(const char* id);
    IdList(const IdList&) = default;
    IdList& operator=(const IdList&) = default;
    virtual ~IdList();

    /// Adds `id` at the end; a null or present id changes nothing.
    void SetID(const char* id);
    bool CheckID(const char* id) const;

    /// Null when `index` is out of range; the text is valid until the list changes.
    const char* GetID(int index) const;
    int GetNumIDs() const;

private:
    qs::vector<qsString::CString> ids_;
};
