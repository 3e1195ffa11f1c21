#ifndef PUBLISHONCE_H
#define PUBLISHONCE_H

#include <atomic>
#include <memory>

// Puts a finished object where all threads find it, unless another thread was faster: then this one is
// dropped. Returns the object that is there afterwards. The place owns it from then on.
template <class T>
T *publishOnce(std::atomic<T *> &place, std::unique_ptr<T> made)
{
    T *existing = nullptr;
    if (!place.compare_exchange_strong(existing, made.get()))
        return existing;
    return made.release();
}

#endif // PUBLISHONCE_H
