#ifndef FAILINGMEMORY_H
#define FAILINGMEMORY_H

// While an object exists, the program's next operator new throws std::bad_alloc once; later ones succeed. A
// program that uses it has its operator new replaced.
class FirstAllocationFails
{
public:
    FirstAllocationFails();
    ~FirstAllocationFails();
    FirstAllocationFails(const FirstAllocationFails &) = delete;
    FirstAllocationFails &operator=(const FirstAllocationFails &) = delete;

    // Whether the allocation has failed.
    bool hasHappened() const;
};

#endif // FAILINGMEMORY_H
