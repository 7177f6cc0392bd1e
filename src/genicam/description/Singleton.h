// One instance of a class a process, made by the first call that asks for it and destroyed at process exit.
#pragma once

#include <mutex>

namespace tavo {

// getInstance() may be called from any thread at any time; what the instance itself allows is its own matter.
// Nobody may use the instance once static objects are being destroyed.
template<class T> class Singleton {
public:
    static T* getInstance() {
        static SingletonGuard guard;
        const std::lock_guard lock(guard.mutex);
        if (guard.instance == nullptr) {
            guard.instance = new T;
        }
        return guard.instance;
    }

    Singleton() = delete;

private:
    struct SingletonGuard {
        ~SingletonGuard() { delete instance; }

        std::mutex mutex;
        T* instance = nullptr; // guarded by mutex
    };
};

} // namespace tavo
