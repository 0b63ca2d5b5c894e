// A list of callbacks, called one after another when something happened. Connecting, disconnecting
// and destroying (the signal itself too) are safe at any moment, also from within a callback and
// from other threads; no lock is held while a callback runs. A callback connected during an
// emission is first called by the next one; one that was disconnected is called no more, except
// where it is running on another thread at that moment.
#pragma once

#include "Base/ThreadAnnotations.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace ombrel {

/// What a signal knows of one callback; see Connection.
class SignalSlot {
public:
    virtual ~SignalSlot() = default;
    virtual void disconnect() = 0;
    bool isConnected() const { return isConnected_.load(std::memory_order_acquire); }

protected:
    std::atomic<bool> isConnected_ = true;
};

/// Keeps a callback connected for as long as it lives.
class [[nodiscard]] Connection {
public:
    Connection() = default;
    explicit Connection(std::shared_ptr<SignalSlot> slot) : slot_(std::move(slot)) {}
    Connection(Connection&&) noexcept = default;
    Connection& operator=(Connection&& other) noexcept {
        std::swap(slot_, other.slot_);
        other.disconnect();
        return *this;
    }
    ~Connection() { disconnect(); }

    void disconnect() {
        if (const std::shared_ptr<SignalSlot> slot = std::exchange(slot_, nullptr)) {
            slot->disconnect();
        }
    }
    bool isConnected() const { return slot_ && slot_->isConnected(); }

private:
    std::shared_ptr<SignalSlot> slot_;
};

template <typename... Args>
class Signal {
public:
    using Callback = std::function<void(const Args&...)>;

    Signal() : list_(std::make_shared<List>()) {}
    ~Signal() { list_->close(); }
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;

    Connection connect(Callback callback) {
        auto slot = std::make_shared<Slot>(std::move(callback), list_);
        list_->add(slot);
        return Connection(std::move(slot));
    }

    /// Calls every callback, in the order of connection.
    void emit(const Args&... args) const {
        // The signal may be gone after any call: nothing of it is touched from here on.
        const std::shared_ptr<const Slots> slots = list_->current();
        if (!slots) return;
        for (const std::shared_ptr<Slot>& slot : *slots) {
            if (slot->isConnected()) slot->callback(args...);
        }
    }
    bool hasConnections() const {
        const std::shared_ptr<const Slots> slots = list_->current();
        return slots && !slots->empty();
    }

private:
    struct List;

    struct Slot final : SignalSlot {
        Slot(Callback call, std::weak_ptr<List> in)
            : callback(std::move(call)), list(std::move(in)) {}

        void disconnect() override {
            this->isConnected_.store(false, std::memory_order_release);
            if (const std::shared_ptr<List> alive = list.lock()) alive->remove(this);
        }
        void close() { this->isConnected_.store(false, std::memory_order_release); }

        const Callback callback;
        const std::weak_ptr<List> list;
    };
    using Slots = std::vector<std::shared_ptr<Slot>>;

    /// Emissions read an unchanging vector; every change makes a new one.
    struct List {
        std::shared_ptr<const Slots> current() const {
            const LockGuard lock(mutex);
            return slots;
        }
        void add(std::shared_ptr<Slot> slot) {
            const LockGuard lock(mutex);
            auto changed = slots ? std::make_shared<Slots>(*slots) : std::make_shared<Slots>();
            changed->push_back(std::move(slot));
            slots = std::move(changed);
        }
        void remove(const Slot* slot) {
            std::shared_ptr<const Slots> before; // callbacks are destroyed outside the lock
            const LockGuard lock(mutex);
            if (!slots) return;
            auto changed = std::make_shared<Slots>(*slots);
            std::erase_if(*changed, [&](const auto& other) { return other.get() == slot; });
            before = std::exchange(slots, std::move(changed));
        }
        void close() {
            std::shared_ptr<const Slots> before;
            {
                const LockGuard lock(mutex);
                before = std::exchange(slots, nullptr);
            }
            if (!before) return;
            for (const std::shared_ptr<Slot>& slot : *before)
                slot->close();
        }

        mutable Mutex mutex;
        std::shared_ptr<const Slots> slots OMBREL_GUARDED_BY(mutex);
    };

    std::shared_ptr<List> list_;
};

} // namespace ombrel
