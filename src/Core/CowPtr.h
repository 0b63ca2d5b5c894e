// A value held by a shared pointer that is cloned on the first write while somebody else shares it:
// what makes copies of a layer tree cost the path to the changed node. Copies go freely between
// threads; one CowPtr is changed by one thread at a time, as any value.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace ombrel {

template <typename T>
class CowPtr {
public:
    CowPtr() : box_(new Box{}) {}
    CowPtr(T value) : box_(new Box{.value = std::move(value)}) {} // NOLINT: a value in a box
    CowPtr(const CowPtr& other) : box_(other.box_) {
        box_->holders.fetch_add(1, std::memory_order_relaxed);
    }
    CowPtr(CowPtr&& other) noexcept : box_(std::exchange(other.box_, nullptr)) {}
    CowPtr& operator=(CowPtr other) noexcept {
        std::swap(box_, other.box_);
        return *this;
    }
    ~CowPtr() {
        if (box_ != nullptr && box_->holders.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete box_;
    }

    const T& operator*() const { return box_->value; }
    const T* operator->() const { return &box_->value; }
    const T* get() const { return &box_->value; }

    /// For changing in place; clones first when shared.
    T& write() {
        // Acquire: what others did with the value before they let go happened before this write.
        if (box_->holders.load(std::memory_order_acquire) != 1) *this = CowPtr(box_->value);
        return box_->value;
    }

    bool isSameObject(const CowPtr& other) const { return box_ == other.box_; }
    bool operator==(const CowPtr& other) const {
        return box_ == other.box_ || box_->value == other.box_->value;
    }

private:
    struct Box {
        std::atomic<std::uint32_t> holders{1};
        T value{};
    };

    Box* box_; ///< null only after a move
};

/// A CowPtr that may be absent: a large value that few have, in the room of two pointers.
template <typename T>
class CowOptional {
public:
    CowOptional() = default;
    CowOptional(std::nullopt_t) {}                                // NOLINT: as std::optional
    CowOptional(T value) : value_(CowPtr<T>(std::move(value))) {} // NOLINT: a value in a box
    CowOptional(std::optional<T> value) {                         // NOLINT: the same, boxed
        if (value) value_ = CowPtr<T>(std::move(*value));
    }

    bool has_value() const { return value_.has_value(); }
    explicit operator bool() const { return value_.has_value(); }
    const T& operator*() const { return **value_; }
    const T* operator->() const { return value_->get(); }

    /// For changing in place what is there; clones first when shared.
    T& write() { return value_->write(); }
    void reset() { value_.reset(); }

    bool operator==(const CowOptional&) const = default;

private:
    std::optional<CowPtr<T>> value_;
};

/// A list that copies share until one of them is changed; an empty one costs nothing.
template <typename T>
class CowList {
public:
    CowList() = default;
    CowList(std::vector<T> values) { // NOLINT: a value in a box
        if (!values.empty()) values_ = std::move(values);
    }

    const std::vector<T>& operator*() const { return values_ ? *values_ : none(); }
    const std::vector<T>* operator->() const { return &**this; }

    /// For changing in place; clones first when shared.
    std::vector<T>& write() {
        if (!values_) values_ = std::vector<T>();
        return values_.write();
    }

    bool operator==(const CowList& other) const { return &**this == &*other || **this == *other; }

private:
    static const std::vector<T>& none() {
        static const std::vector<T> empty;
        return empty;
    }

    CowOptional<std::vector<T>> values_;
};

} // namespace ombrel
