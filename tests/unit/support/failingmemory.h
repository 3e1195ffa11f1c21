#ifndef FAILINGMEMORY_H
#define FAILINGMEMORY_H

// While it lives, the first operator new of the program ends in std::bad_alloc; those after it are served.
// A program that uses it has its operator new replaced.
class FirstAllocationFails
{
public:
    FirstAllocationFails();
    ~FirstAllocationFails();
    FirstAllocationFails(const FirstAllocationFails &) = delete;
    FirstAllocationFails &operator=(const FirstAllocationFails &) = delete;

    // Whether there was one.
    bool hasHappened() const;
};

#endif // FAILINGMEMORY_H
