// A part of an object that is made when somebody first asks for it.
#pragma once

#include <atomic>

namespace tavo {

// get() and existing() may be called from any thread.
template<class T> class Lazy {
public:
    Lazy() = default;
    ~Lazy();
    Lazy(const Lazy&) = delete;
    Lazy& operator=(const Lazy&) = delete;

    T& get();
    // Null until somebody has asked.
    T* existing() const { return m_part.load(std::memory_order_acquire); }

private:
    std::atomic<T*> m_part{nullptr};
};

template<class T> Lazy<T>::~Lazy() {
    delete m_part.load(std::memory_order_acquire);
}

template<class T> T& Lazy<T>::get() {
    T* part = existing();
    if (part == nullptr) {
        T* const made = new T;
        if (m_part.compare_exchange_strong(part, made, std::memory_order_acq_rel)) {
            return *made;
        }
        delete made; // another thread was first
    }
    return *part;
}

} // namespace tavo
