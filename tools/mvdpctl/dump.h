#ifndef DUMP_H
#define DUMP_H

#include "mvdpdatagram.h"

#include <QtCore/QString>

#include <cstddef>
#include <cstdint>

// Sixteen bytes a line with their offsets. A run of equal lines is shown once and then as "*".
QString hexLines(const std::uint8_t *bytes, std::size_t size);

// The fields of a datagram for people, one group a line, safe to print. Fields beyond `length` are left out.
QString fieldLines(const MvdpDatagram &datagram, std::size_t length);

#endif // DUMP_H
