#pragma once

#include <memory>
#include <type_traits>
#include <utility>

template <class Signature>
class FunctionRef;

/// A borrowed callable, for the time of a call: unlike std::function it owns and allocates nothing.
template <class Result, class... Arguments>
class FunctionRef<Result(Arguments...)> {
public:
    template <class Callable>
    requires(!std::is_same_v<std::remove_cvref_t<Callable>, FunctionRef> &&
             std::is_invocable_r_v<Result, Callable&, Arguments...>) FunctionRef(Callable&& callable)
    noexcept
        : callable_(const_cast<void*>(static_cast<const void*>(std::addressof(callable)))),
          call_([](void* borrowed, Arguments... arguments) -> Result {
              return (*static_cast<std::add_pointer_t<Callable>>(borrowed))(std::forward<Arguments>(arguments)...);
          })
    {}

    Result operator()(Arguments... arguments) const { return call_(callable_, std::forward<Arguments>(arguments)...); }

private:
    void* callable_;
    Result (*call_)(void* callable, Arguments... arguments);
};
