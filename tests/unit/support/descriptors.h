#ifndef DESCRIPTORS_H
#define DESCRIPTORS_H

// How many descriptors this process has open.
int openDescriptors();

// Takes away the descriptors that this process could still open, until it is destroyed.
class NoMoreDescriptors
{
public:
    NoMoreDescriptors();
    ~NoMoreDescriptors();
    NoMoreDescriptors(const NoMoreDescriptors &) = delete;
    NoMoreDescriptors &operator=(const NoMoreDescriptors &) = delete;

private:
    unsigned long m_before;
};

#endif // DESCRIPTORS_H
