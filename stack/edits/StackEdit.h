#pragma once

#include "platform/base/Notices.h"
#include "platform/base/Reference.h"
#include "stack/LayerStack.h"

/// One edit of a document, from its first change to the last: whoever listens hears of it when it is through, and may
/// edit then. Edits nest. Of one that ends by an exception the document trusts no cache any more.
class StackEdit {
public:
    explicit StackEdit(LayerStack& stack);
    StackEdit(const StackEdit&) = delete;
    StackEdit& operator=(const StackEdit&) = delete;
    ~StackEdit();

private:
    LayerStack& stack_;
    qs::Reference<LayerStack> kept_;  // a listener may let go of it; null before anybody else holds it
    int exceptions_;  // under way when it began
    Notices::Scope hold_;
};
