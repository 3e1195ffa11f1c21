#ifndef PUBLISHONCE_H
#define PUBLISHONCE_H

#include <atomic>
#include <memory>

// Puts a finished object where all threads find it; the place owns it from then on. False when another thread
// was faster: then that thread's object is there, and this one is gone.
template <class T>
bool publishOnce(std::atomic<T *> &place, std::unique_ptr<T> made)
{
    T *expected = nullptr;
    if (!place.compare_exchange_strong(expected, made.get()))
        return false;
    static_cast<void>(made.release());
    return true;
}

#endif // PUBLISHONCE_H
