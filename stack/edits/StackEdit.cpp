#include "stack/edits/StackEdit.h"

#include "stack/StackPort.h"

#include <exception>

StackEdit::StackEdit(LayerStack& stack)
    : stack_(stack), kept_(stack.GetRefCount() > 0 ? &stack : nullptr), exceptions_(std::uncaught_exceptions()),
      hold_(*GetStackPort().notices)
{}

StackEdit::~StackEdit()
{
    if (std::uncaught_exceptions() > exceptions_)
        stack_.DistrustCaches();
}
