#pragma once

#include <cassert>
#include <utility>
#include <variant>

#include "core/Error.h"

namespace tavi {

// A value or the Error that prevented it.
template <class T>
class Result {
public:
    Result(T value) : state_(std::in_place_index<0>, std::move(value)) {}
    Result(Error error) : state_(std::in_place_index<1>, std::move(error)) {}
    Result(TranslationError error) : Result(Error(std::move(error))) {}
    Result(TransportError error) : Result(Error(std::move(error))) {}
    Result(JsonError error) : Result(Error(std::move(error))) {}

    bool ok() const { return state_.index() == 0; }
    explicit operator bool() const { return ok(); }

    T& value() & { assert(ok()); return std::get<0>(state_); }
    const T& value() const& { assert(ok()); return std::get<0>(state_); }
    T&& value() && { assert(ok()); return std::get<0>(std::move(state_)); }
    T* operator->() { return &value(); }
    const T* operator->() const { return &value(); }

    const Error& error() const { assert(!ok()); return std::get<1>(state_); }

private:
    std::variant<T, Error> state_;
};

// For operations that only succeed or fail.
struct Done {};
using Status = Result<Done>;

}  // namespace tavi
