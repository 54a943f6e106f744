#pragma once

#include "layers/LayerEnums.h"
#include "layers/PntHandle.h"
#include "platform/base/CString.h"
#include "platform/imaging/kernels/LayerBlendMode.h"
#include "platform/imaging/pages/PaintColor.h"
#include "stack/edits/DocumentEdit.h"

struct ContainerProperties;

/// The properties of the named container: what changes the picture damages it.
class LayerProperties : public DocumentEdit {
public:
    using DocumentEdit::DocumentEdit;

    LayerMode GetMode(const PntHandle& handle) const;
    bool IsVisible(const PntHandle& handle) const;
    LayerBlendMode GetBlend(const PntHandle& handle) const;
    void SetBlend(const PntHandle& handle, LayerBlendMode mode);
    float GetOpacity(const PntHandle& handle) const;
    void SetOpacity(const PntHandle& handle, float opacity);
    void SetOffset(const PntHandle& handle, int x, int y, bool redraw);
    void SetName(const PntHandle& handle, const char* name);
    void SetLocked(const PntHandle& handle, bool locked);
    qsString::CString GetAppData(const PntHandle& handle, const qsString::CString& key) const;
    void SetAppData(const PntHandle& handle, const qsString::CString& key, const qsString::CString& value);

    // --- of masks and stencils ---

    PaintColor GetDisplayColor(const PntHandle& handle) const;
    void SetDisplayColor(const PaintColor& color, const PntHandle& handle);
    float GetDisplayOpacity(const PntHandle& handle) const;
    void SetDisplayOpacity(float opacity, const PntHandle& handle);
    bool AddOwner(const PntHandle& owner, const PntHandle& layer, bool hardLink);
    bool RemoveOwner(const PntHandle& owner, const PntHandle& layer);

    /// All that differ. When memory does not suffice to show the change, it is shown at the next update.
    void SetAll(const PntHandle& handle, const ContainerProperties& properties) noexcept;
};
