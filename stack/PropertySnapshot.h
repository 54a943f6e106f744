#pragma once

#include "layers/ContainerProperties.h"
#include "stack/LayerStack.h"

/// Properties that one version of a document takes over from another, beside those that it has by itself.
class PropertyChanges {
public:
    /// Gives them to the version that they are for; once more, takes them back.
    void Swap() noexcept;

private:
    friend class PropertySnapshot;
    qs::vector<std::pair<LayerContainer*, ContainerProperties>> containers_;
    LayerStack* document_ = nullptr;
    DocumentProperties properties_;
};

/// The properties of a document and of all its containers at one moment. What was set since then, and is part of no
/// step, is found by it: each container by its handle, each property for itself.
class PropertySnapshot {
public:
    explicit PropertySnapshot(LayerStack& document);

    /// What differs in `now` from this snapshot, for `other`, another version of the document, to take over.
    PropertyChanges ChangesFor(LayerStack& other, LayerStack& now) const;

private:
    struct Entry {
        PntHandle handle;
        ContainerProperties properties;
    };
    qs::vector<Entry> containers_;  // flattened, the image folder first, the selection mask last
    DocumentProperties document_;
};

/// Tells the host of the containers whose name, opacity, visibility or activity is another than in `before`, the
/// version of the document whose place `now` has taken.
void TellOtherProperties(const LayerStack& now, const LayerStack& before);
