// A value with a signal that tells of its changes: what panels and settings are bound to. Owned by
// one thread, usually the main one; only connecting and disconnecting is safe from others. Fields
// of this kind begin with an underscore: `Observable<PixelSize> _size;`.
#pragma once

#include "Base/Signal.h"

#include <concepts>
#include <utility>

namespace ombrel {

template <typename T>
class Observable {
public:
    Observable() = default;
    explicit Observable(T value) : value_(std::move(value)) {}
    Observable(const Observable&) = delete;
    Observable& operator=(const Observable&) = delete;

    const T& get() const { return value_; }
    const T& operator*() const { return value_; }
    const T* operator->() const { return &value_; }

    /// Tells everybody, unless the new value equals the old one.
    void set(T value) {
        if constexpr (std::equality_comparable<T>) {
            if (value == value_) return;
        }
        value_ = std::move(value);
        notify();
    }
    Observable& operator=(T value) {
        set(std::move(value));
        return *this;
    }
    /// Changes the value in place and tells everybody, without comparing.
    template <std::invocable<T&> Change>
    void update(Change&& change) {
        std::forward<Change>(change)(value_);
        notify();
    }

    /// For owners that change several values before anybody hears of it: changes the value in
    /// place and leaves telling to tell(). Returns what `change` returns.
    template <std::invocable<T&> Change>
    decltype(auto) updateQuietly(Change&& change) {
        return std::forward<Change>(change)(value_);
    }
    void tell() { notify(); }

    /// Called after each change with the value of that change.
    Connection onChange(std::function<void(const T&)> callback) const {
        return changed_.connect(std::move(callback));
    }
    /// The same, and once at once with the present value.
    Connection observe(std::function<void(const T&)> callback) const {
        callback(value_);
        return onChange(std::move(callback));
    }

private:
    void notify() {
        if (!changed_.hasConnections()) return;
        // A callback may set again or destroy this object, so it gets a copy.
        const T value = value_;
        changed_.emit(value);
    }

    T value_{};
    mutable Signal<T> changed_;
};

/// An observable that everybody may read and only its owner changes.
template <typename Owner, typename T>
class ObservableOf : private Observable<T> {
public:
    using Observable<T>::get;
    using Observable<T>::operator*;
    using Observable<T>::operator->;
    using Observable<T>::onChange;
    using Observable<T>::observe;

private:
    friend Owner;
    using Observable<T>::Observable;
    using Observable<T>::operator=;
    using Observable<T>::set;
    using Observable<T>::update;
    using Observable<T>::updateQuietly;
    using Observable<T>::tell;
};

} // namespace ombrel
