#pragma once

#include "layers/ContainerProperties.h"
#include "layers/PntHandle.h"
#include "platform/base/Containers.h"
#include "platform/base/Reference.h"
#include "platform/os/Clock.h"

class LayerFolder;

/// Base of everything that can stand in a layer folder: identity, display name, lock flag and time stamp.
class PAINTLAYER_EXPORT LayerContainer : public qs::ReferenceCount {
public:
    /// A fresh handle, the name "NONE", unlocked, stamped with the current time.
    LayerContainer();
    explicit LayerContainer(const PntHandle& handle);

    /// Copies handle, name, lock flag and time stamp, so a copy equals its source until GenerateUUID().
    LayerContainer(const LayerContainer& other) = default;
    LayerContainer& operator=(const LayerContainer& other) = default;
    ~LayerContainer() override;

    /// A new container of the same kind, with count 0, that belongs to the caller.
    virtual LayerContainer* Clone() = 0;

    /// Ends the connection of this container's masks and stencils to `owner`; false when none was connected.
    virtual bool RemoveLayerFromOwnerLayer(LayerContainer* owner) = 0;

    virtual void SetStencilCompositeDirty(bool dirty) = 0;
    virtual bool isMask() const = 0;
    virtual bool isStencil() const = 0;
    virtual bool HasOwner(const PntHandle& owner) const = 0;
    virtual qs::vector<PntHandle> GetOwnerLayerArray() const = 0;

    /// This container as a folder; null for a layer. Cheaper than a cast, for whoever walks through hundreds.
    virtual LayerFolder* AsLayerFolder() { return nullptr; }

    /// Kept for callers of the interface; there is nothing to prepare.
    void initialize() {}

    /// Makes both parts of the handle anew: a new identity that belongs to no document.
    void GenerateUUID();
    const PntHandle& GetLayerContainerHandle() const { return handle_; }
    void SetLayerContainerHandle(const PntHandle& handle) { handle_ = handle; }

    /// At most 127 characters, valid until the name changes.
    const char* GetLayerContainerName() const { return properties_.name.data(); }

    /// Cuts longer names at 127 characters; a null pointer stores "__NULL LAYER NAME__".
    void SetLayerContainerName(const char* name);

    bool IsLocked() const { return properties_.isLocked; }
    void SetLocked(bool locked) { properties_.isLocked = locked; }

    const qsOS::FILETIME& GetTimeStamp() const { return timeStamp_; }
    void UpdateTimeStamp();

    /// All properties as they are stored. Who sets them so does what follows from a change.
    const ContainerProperties& GetProperties() const { return properties_; }
    void SetProperties(const ContainerProperties& properties) noexcept { properties_ = properties; }

protected:
    ContainerProperties properties_;

private:
    PntHandle handle_;
    qsOS::FILETIME timeStamp_;
};
