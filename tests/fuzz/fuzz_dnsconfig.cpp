// Text through the record of the DNS section.

#include "recordmodels.h"
#include "recordreading.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    recordreading::check<DnsConfig>(data, size);
    return 0;
}
