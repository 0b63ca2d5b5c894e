// A value held by a shared pointer that is cloned on the first write while somebody else shares it:
// what makes copies of a layer tree cost the path to the changed node.
#pragma once

#include <memory>
#include <utility>

namespace ombrel {

template <typename T>
class CowPtr {
public:
    CowPtr() : value_(std::make_shared<T>()) {}
    CowPtr(T value) : value_(std::make_shared<T>(std::move(value))) {} // NOLINT: a value in a box

    const T& operator*() const { return *value_; }
    const T* operator->() const { return value_.get(); }
    const T* get() const { return value_.get(); }

    /// For changing in place; clones first when shared.
    T& write() {
        if (value_.use_count() != 1) value_ = std::make_shared<T>(*value_);
        return *value_;
    }

    bool isSameObject(const CowPtr& other) const { return value_ == other.value_; }
    bool operator==(const CowPtr& other) const {
        return value_ == other.value_ || *value_ == *other.value_;
    }

private:
    std::shared_ptr<T> value_;
};

} // namespace ombrel
